// The library in use: from init to uninit, with its frames and errors.
#pragma once

#include <atomic>
#include <functional>
#include <string>

#include "orvo/screencapture.h"

namespace orvocap {

// One frame as the library lends it; valid during the call only.
struct FrameView {
    const char* data;
    const OrvoScreenCaptureFrameFormat& format;
    unsigned long long time;  // milliseconds
    unsigned int target = 0;  // the number of the window target that it shows; 0 for a display or its rectangle
};

// What a code of ORVO_CAPTURE_ERROR_* means, for the user.
std::string captureErrorText(int code);

// Init on construction, stop and uninit on destruction. One at a time in a process.
class Capture {
  public:
    enum class Path { display, windows };  // window targets name themselves with every frame

    // onFrame and onError run on the library's threads; they must not block and must not throw.
    Capture(Path path, std::function<void(const FrameView&)> onFrame, std::function<void(int)> onError = {});
    ~Capture();
    Capture(const Capture&) = delete;
    Capture& operator=(const Capture&) = delete;

    void start();

    // Throws a Failure that says what happened if the library has reported an error.
    void check() const;

  private:
    std::function<void(const FrameView&)> onFrame_;
    std::function<void(int)> onError_;
    std::atomic<int> error_{0};  // one of ORVO_CAPTURE_ERROR_*, 0 for none
};

}  // namespace orvocap
