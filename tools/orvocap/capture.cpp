// The library in use: init, callbacks, stop, uninit.
#include "capture.h"

#include <utility>

#include "failure.h"

namespace orvocap {

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

}  // namespace orvocap
