// Threads of the library.
#include "ScreenCapture/platform/software/threads.h"

#include <signal.h>

#include <algorithm>
#include <string>
#include <thread>
#include <utility>

#include "ScreenCapture/platform/software/thread_setup.h"

namespace orvo::platform::software {
namespace {
constexpr size_t kNameLength = 15;  // the system refuses longer ones
}

void startThread(std::string_view label, std::function<void()> body) {
    std::string name(label.substr(label.size() - std::min(label.size(), kNameLength)));
    sigset_t all;
    sigset_t before;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before);  // the new thread inherits it
    std::thread([name = std::move(name), body = std::move(body)] {
        setUpThread(name.c_str());
        body();
    }).detach();
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

}  // namespace orvo::platform::software
