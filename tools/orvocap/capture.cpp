// The library in use: init, callbacks, stop, uninit; one frame of a target.
#include "capture.h"

#include <chrono>
#include <cstring>
#include <mutex>
#include <utility>

#include "application.h"
#include "process.h"
#include "system.h"

namespace orvocap {

void copyFrame(const FrameView& view, Frame& frame) {
    frame.width = view.format.width;
    frame.height = view.format.height;
    frame.time = view.time;
    frame.pixels.resize(frame.bytesPerRow() * static_cast<size_t>(frame.height));
    for (int row = 0; row < frame.height; ++row) {
        std::memcpy(frame.pixels.data() + row * frame.bytesPerRow(),
                    view.data + static_cast<ptrdiff_t>(row) * view.format.strides[0], frame.bytesPerRow());
    }
}

std::string captureErrorText(int code) {
    switch (code) {
        case ORVO_CAPTURE_ERROR_NO_SOURCE:
            return "nothing was chosen to capture";
        case ORVO_CAPTURE_ERROR_NO_CONTENT:
            return "the target shows nothing any more, or is gone";
        case ORVO_CAPTURE_ERROR_INTERRUPTED:
            return "the display went away or its server ended; start again when it is back";
        default:
            return "capture failed with code " + std::to_string(code);
    }
}

Capture::Capture(Path path, std::function<void(const FrameView&)> onFrame, std::function<void(int)> onError)
    : onFrame_(std::move(onFrame)), onError_(std::move(onError)) {
    orvo_screencapture_init();
    if (path == Path::display) {
        orvo_screencapture_reg_captured_frame_available_notify(
            [](const char* data, unsigned int, const OrvoScreenCaptureFrameFormat* format, unsigned long long time,
               unsigned int, void* self) {
                static_cast<Capture*>(self)->onFrame_({data, *format, time});
            },
            this);
    } else {
        orvo_screencapture_reg_mutiple_captured_frame_available_notify(
            [](const char* data, unsigned int, const OrvoScreenCaptureFrameFormat* format, unsigned long long time,
               unsigned int, unsigned int window, void* self) {
                static_cast<Capture*>(self)->onFrame_({data, *format, time, window});
            },
            this);
    }
    orvo_screencapture_reg_capture_error_notify(
        [](int code, void* context) {
            auto* self = static_cast<Capture*>(context);
            self->error_ = code;
            if (self->onError_) self->onError_(code);
        },
        this);
}

Capture::~Capture() {
    orvo_screencapture_stop_capture();
    orvo_screencapture_uninit();
}

void Capture::start() {
    orvo_screencapture_start_capture();
}

void Capture::check() const {
    if (const int code = error_)
        throw Failure(code == ORVO_CAPTURE_ERROR_NO_SOURCE ? exitNoTarget : exitFailure, captureErrorText(code));
}

namespace {

constexpr auto longestWait = std::chrono::seconds(5);
constexpr int frameRate = 15;

// The newest frame that was not taken yet.
class Latest {
  public:
    void put(const FrameView& view) {
        const std::lock_guard lock(mutex_);
        try {
            copyFrame(view, frame_);
            isNew_ = true;
        } catch (const std::bad_alloc&) {
            isNew_ = false;  // nothing may leave a callback; the caller misses the frame and says so
        }
    }

    bool take(std::optional<Frame>& frame) {
        const std::lock_guard lock(mutex_);
        if (!isNew_) return false;
        isNew_ = false;
        frame = std::move(frame_);
        return true;
    }

  private:
    std::mutex mutex_;
    Frame frame_;
    bool isNew_ = false;
};

}  // namespace

std::optional<Frame> takeStill(Capture::Path path, const std::function<void()>& choose,
                               const std::function<bool(const Frame&)>& isWanted) {
    Latest latest;
    std::optional<Frame> frame;
    Capture capture(path, [&](const FrameView& view) { latest.put(view); });
    choose();
    orvo_screencapture_set_fps(frameRate);
    capture.start();
    const auto deadline = std::chrono::steady_clock::now() + longestWait;
    while (std::chrono::steady_clock::now() < deadline && !stopRequested()) {
        runMainQueue(mainQueueSlice);
        if (latest.take(frame) && isWanted(*frame)) break;
        if (!frame) capture.check();
    }
    return frame;
}

}  // namespace orvocap
