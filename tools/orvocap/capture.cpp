// The library in use: init, callbacks, stop, uninit.
#include "capture.h"

#include <utility>

#include "failure.h"

namespace orvocap {

Capture::Capture(std::function<void(const FrameView&)> onFrame) : onFrame_(std::move(onFrame)) {
    orvo_screencapture_init();
    orvo_screencapture_reg_captured_frame_available_notify(
        [](const char* data, unsigned int, const OrvoScreenCaptureFrameFormat* format, unsigned long long time,
           unsigned int, void* self) {
            static_cast<Capture*>(self)->onFrame_({data, *format, time});
        },
        this);
    orvo_screencapture_reg_capture_error_notify(
        [](int code, void* self) { static_cast<Capture*>(self)->error_ = code; }, this);
}

Capture::~Capture() {
    orvo_screencapture_stop_capture();
    orvo_screencapture_uninit();
}

void Capture::start() {
    orvo_screencapture_start_capture();
}

void Capture::check() const {
    switch (const int code = error_) {
        case 0:
            return;
        case ORVO_CAPTURE_ERROR_NO_SOURCE:
            throw Failure(exitNoTarget, "nothing was chosen to capture");
        case ORVO_CAPTURE_ERROR_NO_CONTENT:
            throw Failure(exitFailure, "the target shows nothing any more, or is gone");
        case ORVO_CAPTURE_ERROR_INTERRUPTED:
            throw Failure(exitFailure, "the display went away or its server ended; start again when it is back");
        default:
            throw Failure(exitFailure, "capture failed with code " + std::to_string(code));
    }
}

}  // namespace orvocap
