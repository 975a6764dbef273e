// Threads of the library.
#include "ScreenCapture/platform/software/threads.h"

#include <algorithm>
#include <string>
#include <thread>
#include <utility>

#include "ScreenCapture/platform/contained.h"
#include "ScreenCapture/platform/software/thread_setup.h"
#include "common/utils/orvo_signal_block.h"

namespace orvo::platform::software {
namespace {
constexpr size_t kNameLength = 15;  // the system refuses longer ones
constinit thread_local bool ownThread = false;
}  // namespace

bool isOwnThread() {
    return ownThread;
}

void startThread(std::string_view label, std::function<void()> body) {
    std::string name(label.substr(label.size() - std::min(label.size(), kNameLength)));
    const ORVO::BASE::SignalBlock block;
    std::thread([name = std::move(name), body = std::move(body)] {
        ownThread = true;
        setUpThread(name.c_str());
        runJob(body);
    }).detach();
}

}  // namespace orvo::platform::software
