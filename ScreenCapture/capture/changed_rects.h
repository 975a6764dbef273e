// What of the frame that the host is being called with differs from the one before.
#pragma once

#include "ScreenCapture/platform/changes.h"

namespace orvo::capture {

// While one lives, the host's questions on this thread are answered from its changes.
class ChangesInCallback {
  public:
    explicit ChangesInCallback(const platform::Changes& changes) : before_(current_) { current_ = &changes; }
    ~ChangesInCallback() { current_ = before_; }
    ChangesInCallback(const ChangesInCallback&) = delete;
    ChangesInCallback& operator=(const ChangesInCallback&) = delete;

    static const platform::Changes* current() { return current_; }  // null outside of frame callbacks

  private:
    static inline thread_local const platform::Changes* current_ = nullptr;
    const platform::Changes* const before_;
};

}  // namespace orvo::capture
