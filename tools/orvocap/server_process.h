// The process that the window server is.
#pragma once

#include <optional>
#include <string>

namespace orvocap {

struct ServerProcess {
    int pid = 0;             // 0: not known
    std::string whyUnknown;  // in words
};

// The server of the display in use; asks for it through a connection of its own.
ServerProcess findServerProcess();

// The processor time that a process has used, in seconds; nothing when it cannot be read. pid: 0 is none.
std::optional<double> cpuSecondsOf(int pid);

}  // namespace orvocap
