// Termination signals as a flag. A second one ends the process in the system's own way.
#include "stop_request.h"

#include <csignal>
#include <initializer_list>

namespace {

volatile std::sig_atomic_t requested = 0;

void onSignal(int signal) {
    requested = 1;
    std::signal(signal, SIG_DFL);
}

}  // namespace

void orvocap::listenForStop() {
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) std::signal(signal, onSignal);
}

bool orvocap::stopRequested() {
    return requested != 0;
}
