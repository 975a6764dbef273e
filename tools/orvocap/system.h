// What each operating system does in its own way: the main queue, and what its window server reports about itself.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace orvocap {

// Runs the main queue on the calling thread for that long.
void runMainQueue(int milliseconds);

// So long at a time, in milliseconds, by a command that checks in between whether it is to end.
constexpr int mainQueueSlice = 20;

// The name of a screen's output; empty when it has none.
std::string screenName(uint32_t screen);

// Why the session's kind keeps screens from being captured, whatever its user does; empty when it does not.
std::string whyNoScreens();

// Pixels to the point.
double screenScale(uint32_t screen);

// For each window the names that its application gives to its kind; none for a number that is no window.
std::vector<std::vector<std::string>> windowClasses(const std::vector<uint32_t>& windows);

// Lets the user click one of these windows, or its frame. Nothing when the user chose none of them. Throws a Failure
// where this cannot be asked.
std::optional<uint32_t> pickWindow(const std::vector<uint32_t>& windows);

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

// Adds what the system's window server reports about itself. It is known to answer.
void examineServer(Findings& findings);

}  // namespace orvocap
