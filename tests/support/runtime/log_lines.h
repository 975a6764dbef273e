// Captures what the base library logs.
#pragma once

#include <string>
#include <vector>

#include "xplatform/common/orvosyslog.h"

namespace support {

struct LogLine {
    int level;
    std::string module;
    int line;
    std::string message;
    std::string text;  // the whole line
    bool marked;       // the mark of a cut line stands behind the text's terminator
};

// Begins to capture every channel, with an empty list and all levels open. The log takes one hook in a process, so all
// tests share this one.
void capture_log();
// Hands the lines to another hook instead, until the next capture_log().
void route_log(syslog_text_hook hook);
// The lines since the last call.
std::vector<LogLine> take_log();
// The messages alone, each with its level: "1 out of memory!".
std::vector<std::string> take_messages(const std::string& module);
// An expression that matches what a failed assertion prints, in whichever order the system does; line 0 is any.
std::string assertion(const std::string& file, int line, const std::string& function, const std::string& text);

}  // namespace support
