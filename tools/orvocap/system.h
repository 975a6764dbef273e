// What each operating system does in its own way: the main queue, and what its window server tells of itself.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace orvocap {

// Runs the main queue on the calling thread for that long.
void runMainQueue(int milliseconds);

// So long at a time, in milliseconds, by a command that looks in between whether it is to end.
constexpr int mainQueueSlice = 20;

struct ServerProcess {
    int pid = 0;             // 0: not known
    std::string whyUnknown;  // in words
};

// The server of the display in use; asks for it through a connection of its own.
ServerProcess findServerProcess();

// The processor time that a process has used, in seconds; nothing when it cannot be read. pid: 0 is none.
std::optional<double> cpuSecondsOf(int pid);

struct Finding {
    enum class State { works, limited, broken };
    std::string subject;
    State state;
    std::string text;    // what is so
    std::string advice;  // what to do about it; empty when it works
};

using Findings = std::vector<Finding>;

// Adds what the system's window server tells about itself. It is known to answer.
void examineServer(Findings& findings);

}  // namespace orvocap
