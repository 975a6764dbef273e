// Signals as flags, and a wait that they end.
#include "process.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <csignal>
#include <initializer_list>
#include <thread>
#include <utility>

namespace orvocap {

namespace {

volatile std::sig_atomic_t requested = 0;
volatile std::sig_atomic_t toggled = 0;

// A second signal ends the process in the system's own way.
void onStop(int signal) {
    requested = 1;
    std::signal(signal, SIG_DFL);
}

void onToggle(int) {
    toggled = 1 - toggled;
}

}  // namespace

void listenForStop() {
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) std::signal(signal, onStop);
}

bool stopRequested() {
    return requested != 0;
}

void listenForPause() {
    struct sigaction action {};
    action.sa_handler = onToggle;
    action.sa_flags = SA_RESTART;
    sigaction(SIGUSR1, &action, nullptr);
}

bool isPauseToggled() {
    return toggled != 0;
}

void waitBefore(double seconds, const std::function<void(int left)>& onSecond) {
    using Clock = std::chrono::steady_clock;
    const auto end = Clock::now() + std::chrono::duration<double>(seconds);
    for (int announced = -1; !stopRequested();) {
        const double left = std::chrono::duration<double>(end - Clock::now()).count();
        if (left <= 0) return;
        if (const int whole = static_cast<int>(std::ceil(left)); whole != announced) onSecond(announced = whole);
        std::this_thread::sleep_for(std::chrono::duration<double>(std::min(left, 0.02)));
    }
}

}  // namespace orvocap
