// The answer of a completion handler, which comes on whatever thread the system likes.
#pragma once

#include <Foundation/Foundation.h>
#include <dispatch/dispatch.h>

#include <mutex>
#include <utility>

namespace orvo::platform::macos {

// Shared with the handler: an answer that comes too late goes with it.
template <typename Value>
class Answer {
  public:
    void give(Value value, NSError* error) {
        {
            std::lock_guard guard(lock_);
            value_ = std::move(value);
            error_ = error;
        }
        dispatch_semaphore_signal(given_);
    }
    // False when none came within a second.
    bool wait() {
        return dispatch_semaphore_wait(given_, dispatch_time(DISPATCH_TIME_NOW, int64_t{NSEC_PER_SEC})) == 0;
    }
    Value value() {
        std::lock_guard guard(lock_);
        return value_;
    }
    NSError* error() {
        std::lock_guard guard(lock_);
        return error_;
    }

  private:
    const dispatch_semaphore_t given_ = dispatch_semaphore_create(0);
    std::mutex lock_;
    Value value_{};
    NSError* error_ = nil;
};

}  // namespace orvo::platform::macos
