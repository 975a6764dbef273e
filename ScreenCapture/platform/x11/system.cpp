// Clock, console and notifications inside the process.
#include "ScreenCapture/platform/x11/system.h"

#include <sys/uio.h>
#include <time.h>
#include <unistd.h>

#include "ScreenCapture/platform/x11/desktop_model.h"

namespace orvo::platform::x11 {
namespace {
constexpr double kSecondsFrom1970To2001 = 978307200;
}

double X11Clock::secondsSince1970() {
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) / 1e9;
}

double X11Clock::absoluteSeconds() {
    return secondsSince1970() - kSecondsFrom1970To2001;
}

void X11System::console(std::string_view line) {
    char end = '\n';
    const iovec parts[] = {{const_cast<char*>(line.data()), line.size()}, {&end, 1}};
    // One call, so that lines of several threads stay whole. A console that takes nothing is no reason to fail.
    [[maybe_unused]] const ssize_t written = writev(STDERR_FILENO, parts, 2);
}

PermissionState X11System::permission(Permission permission) {
    if (permission != Permission::screenRecording) return PermissionState::granted;
    const auto desktop = currentDesktop();
    const bool isWayland = desktop ? !desktop->monitors->areShown : whyUnreachable() == NoImage::wayland;
    return isWayland ? PermissionState::denied : PermissionState::granted;
}

void X11Notifications::postCoalescing(const char* /*name*/, const std::shared_ptr<void>& /*thing*/) {}

}  // namespace orvo::platform::x11
