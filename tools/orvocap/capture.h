// The library in use: from init to uninit, with its frames and errors; frames of our own, and one still picture.
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "orvo/screencapture.h"

namespace orvocap {

// One frame as the library lends it; valid during the call only.
struct FrameView {
    const char* data;
    const OrvoScreenCaptureFrameFormat& format;
    unsigned long long time;  // milliseconds
    unsigned int target = 0;  // the number of the window target that it shows; 0 for a display or its rectangle
};

// A frame of our own: 32-bit BGRA pixels without padding, the top row first.
struct Frame {
    int width = 0;
    int height = 0;
    unsigned long long time = 0;  // milliseconds
    std::vector<uint8_t> pixels;

    [[nodiscard]] size_t bytesPerRow() const { return static_cast<size_t>(width) * 4; }
};

// Empty places become black, as a video shows them.
inline void makeOpaque(std::vector<uint8_t>& pixels) {
    for (size_t i = 3; i < pixels.size(); i += 4) pixels[i] = 255;
}

// The pixels without padding; frame's memory is used again.
void copyFrame(const FrameView& view, Frame& frame);

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

    // The error that the library has reported last; 0 for none.
    [[nodiscard]] int error() const { return error_; }
    void forgetError() { error_ = 0; }

  private:
    std::function<void(const FrameView&)> onFrame_;
    std::function<void(int)> onError_;
    std::atomic<int> error_{0};  // one of ORVO_CAPTURE_ERROR_*, 0 for none
};

// Captures until a frame is wanted, at most five seconds. choose: hands the target to the library. Result: the last
// frame, nothing when none came. Throws a Failure when capture fails before the first frame.
std::optional<Frame> takeStill(Capture::Path path, const std::function<void()>& choose,
                               const std::function<bool(const Frame&)>& isWanted);

}  // namespace orvocap
