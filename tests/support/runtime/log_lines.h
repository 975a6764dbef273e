// Captures what the base library logs.
#pragma once

#include <string>
#include <vector>

namespace support {

struct LogLine {
    int level;
    std::string module;
    int line;
    std::string message;
};

// Begins to capture, with an empty list. The log takes one hook in a process: use it in tests that own theirs.
void capture_log();
// The lines since the last call.
std::vector<LogLine> take_log();
// The messages alone, each with its level: "1 out of memory!".
std::vector<std::string> take_messages(const std::string& module);

}  // namespace support
