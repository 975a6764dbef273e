// The library in use: from init to uninit, with its frames and errors.
#pragma once

#include <atomic>
#include <functional>

#include "orvo/screencapture.h"

namespace orvocap {

// One frame as the library lends it; valid during the call only.
struct FrameView {
    const char* data;
    const OrvoScreenCaptureFrameFormat& format;
    unsigned long long time;  // milliseconds
};

// Init on construction, stop and uninit on destruction. One at a time in a process.
class Capture {
  public:
    // onFrame runs on the library's threads; it must not block and must not throw.
    explicit Capture(std::function<void(const FrameView&)> onFrame);
    ~Capture();
    Capture(const Capture&) = delete;
    Capture& operator=(const Capture&) = delete;

    void start();

    // Throws a Failure that says what happened if the library has reported an error.
    void check() const;

  private:
    std::function<void(const FrameView&)> onFrame_;
    std::atomic<int> error_{0};  // one of ORVO_CAPTURE_ERROR_*, 0 for none
};

}  // namespace orvocap
