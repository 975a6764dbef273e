// Threads of the library.
#pragma once

#include <functional>
#include <string_view>

namespace orvo::platform::software {

// Runs the body on a detached thread of its own. The thread is named after the last characters of the
// label and starts under a SignalBlock, so that the host's handlers stay on the host's threads. Throws when the system
// has no thread to give. What the body throws ends in the log.
void startThread(std::string_view label, std::function<void()> body);

// Whether startThread() made the calling thread.
bool isOwnThread();

}  // namespace orvo::platform::software
