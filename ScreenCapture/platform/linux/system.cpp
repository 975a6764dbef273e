// Clocks and console of a process on Linux.
#include "ScreenCapture/platform/linux/system.h"

#include <sys/uio.h>
#include <time.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>

#include "xplatform/common/orvosyslog.h"

namespace orvo::platform::linux {
namespace {
constexpr double kSecondsFrom1970To2001 = 978307200;
}

double LinuxClock::secondsSince1970() {
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) / 1e9;
}

double LinuxClock::absoluteSeconds() {
    return secondsSince1970() - kSecondsFrom1970To2001;
}

// A host's standard error is the host's, and the lines name the user's windows: they go to the log, like everything
// else that helps a developer. ORVO_CONSOLE=1 in the environment, read once, sends them to standard error instead.
void LinuxSystem::console(std::string_view line) {
    static const bool isOnStandardError = [] {
        const char* const wish = getenv("ORVO_CONSOLE");
        return wish && strcmp(wish, "1") == 0;
    }();
    if (!isOnStandardError) {
        syslog_ex(1, ESYSLOG_DEBUG, "Console", __LINE__, "%.*s", static_cast<int>(line.size()), line.data());
        return;
    }
    char end = '\n';
    const iovec parts[] = {{const_cast<char*>(line.data()), line.size()}, {&end, 1}};
    // One call, so that lines of several threads stay whole. A console that takes nothing is no reason to fail.
    [[maybe_unused]] const ssize_t written = writev(STDERR_FILENO, parts, 2);
}

}  // namespace orvo::platform::linux
