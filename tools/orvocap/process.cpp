// Termination signals as a flag, and standard error turned aside for a while.
#include "process.h"

#include <fcntl.h>
#include <unistd.h>
#include <csignal>
#include <initializer_list>

namespace orvocap {

namespace {

volatile std::sig_atomic_t requested = 0;

void onSignal(int signal) {
    requested = 1;
    std::signal(signal, SIG_DFL);
}

}  // namespace

void listenForStop() {
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) std::signal(signal, onSignal);
}

bool stopRequested() {
    return requested != 0;
}

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
