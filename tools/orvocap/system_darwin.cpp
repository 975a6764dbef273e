// macOS: the main thread's run loop; the window server belongs to the system and needs no optional part.
#include <CoreFoundation/CoreFoundation.h>
#include <CoreGraphics/CoreGraphics.h>

#include "application.h"
#include "system.h"

namespace orvocap {

void runMainQueue(int milliseconds) {
    CFRunLoopRunInMode(kCFRunLoopDefaultMode, milliseconds / 1000.0, false);
}

std::string screenName(uint32_t) {
    return {};
}

std::string whyNoScreens() {
    return {};
}

double screenScale(uint32_t screen) {
    CGDisplayModeRef const mode = CGDisplayCopyDisplayMode(screen);
    if (!mode) return 1;
    const auto pixels = static_cast<double>(CGDisplayModeGetPixelWidth(mode));
    const auto points = static_cast<double>(CGDisplayModeGetWidth(mode));
    CGDisplayModeRelease(mode);
    return points > 0 ? pixels / points : 1;
}

// Windows have no classes here: --class compares the application's name.
std::vector<std::vector<std::string>> windowClasses(const std::vector<uint32_t>& windows) {
    return std::vector<std::vector<std::string>>(windows.size());
}

std::optional<uint32_t> pickWindow(const std::vector<uint32_t>&) {
    throw Failure(exitUsage, "windows cannot be picked by a click on this system; name one by its title");
}

ServerProcess findServerProcess() {
    return {0, "the system does not tell a user of its window server"};
}

std::optional<double> cpuSecondsOf(int) {
    return std::nullopt;
}

void examineServer(Findings&) {}

}  // namespace orvocap
