// macOS: the main thread's run loop; the window server belongs to the system and needs no optional part.
#include <CoreFoundation/CoreFoundation.h>

#include "system.h"

namespace orvocap {

void runMainQueue(int milliseconds) {
    CFRunLoopRunInMode(kCFRunLoopDefaultMode, milliseconds / 1000.0, false);
}

ServerProcess findServerProcess() {
    return {0, "the system does not tell a user of its window server"};
}

std::optional<double> cpuSecondsOf(int) {
    return std::nullopt;
}

void examineServer(Findings&) {}

}  // namespace orvocap
