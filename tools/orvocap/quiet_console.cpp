// Standard error turned aside for a while.
#include "quiet_console.h"

#include <fcntl.h>
#include <unistd.h>

namespace orvocap {

namespace {

std::FILE* openCopy(int descriptor) {
    const int copy = fcntl(descriptor, F_DUPFD_CLOEXEC, 0);
    std::FILE* const file = copy < 0 ? nullptr : fdopen(copy, "w");
    if (!file && copy >= 0) close(copy);
    return file;
}

}  // namespace

QuietConsole::QuietConsole() : console_(openCopy(STDERR_FILENO), &std::fclose) {
    const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
    if (console_ && nowhere >= 0) {
        std::fflush(stderr);
        dup2(nowhere, STDERR_FILENO);
    }
    if (nowhere >= 0) close(nowhere);
}

QuietConsole::~QuietConsole() {
    if (!console_) return;
    std::fflush(stderr);
    std::fflush(console_.get());
    dup2(fileno(console_.get()), STDERR_FILENO);
}

}  // namespace orvocap
