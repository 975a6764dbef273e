// Processes that did not answer a question of the accessibility service in time. Each is left alone for a while: with a
// question per target and tick, waiting for the limit again and again would stop all capture.
#pragma once

#include <sys/types.h>

#include <chrono>
#include <map>
#include <mutex>

#include "xplatform/common/orvosyslog.h"

namespace orvo::platform::macos {

class SilentProcesses {
  public:
    bool isLeftAlone(pid_t pid) {
        std::lock_guard guard(lock_);
        const auto found = untilWhen_.find(pid);
        return found != untilWhen_.end() && Clock::now() < found->second;
    }
    // What became of a question to the process.
    void note(pid_t pid, bool isSilent) {
        std::lock_guard guard(lock_);
        if (!isSilent) {
            untilWhen_.erase(pid);
            return;
        }
        const bool isNew = untilWhen_.insert_or_assign(pid, Clock::now() + kPatience).second;
        if (isNew)
            syslog_ex(1, ESYSLOG_WARN, "macos", __LINE__,
                      "process %d does not answer the accessibility service (AXError -25204): it is asked again in 5 s",
                      static_cast<int>(pid));
    }

  private:
    using Clock = std::chrono::steady_clock;
    static constexpr std::chrono::seconds kPatience{5};

    std::mutex lock_;
    std::map<pid_t, Clock::time_point> untilWhen_;  // of those that were silent at their last question
};

// Never destroyed: questions may come while the process ends.
inline SilentProcesses& silentProcesses() {
    static SilentProcesses* const instance = new SilentProcesses;
    return *instance;
}

}  // namespace orvo::platform::macos
