// Standard error turned aside for a while.
#include "quiet_console.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>

namespace orvocap {

QuietConsole::QuietConsole() : kept_(dup(STDERR_FILENO)) {
    const int nowhere = open("/dev/null", O_WRONLY);
    if (kept_ >= 0 && nowhere >= 0) {
        std::fflush(stderr);
        dup2(nowhere, STDERR_FILENO);
    }
    if (nowhere >= 0) close(nowhere);
}

QuietConsole::~QuietConsole() {
    if (kept_ < 0) return;
    std::fflush(stderr);
    dup2(kept_, STDERR_FILENO);
    close(kept_);
}

}  // namespace orvocap
