// The exported registrations: each writes its name and stores the callback under its kind.
#include "ScreenCapture/api/facade_call.h"
#include "ScreenCapture/capture/host_callbacks.h"

using namespace orvo::capture;

namespace {

template <HostCallbackKind Kind>
void store(typename HostCallback<Kind>::Function callback, void* userData) {
    orvo::api::call([=](OrvoScreenCaptureImpl& facade) {
        facade.registerCallback(Kind, reinterpret_cast<void*>(callback), userData);
    });
}

}  // namespace

void orvo_screencapture_reg_capture_error_notify(orvo_capture_error_callback callback, void* userData) {
    COMPONENT_LOG("SC", "%s", __func__);
    store<kCaptureError>(callback, userData);
}

// The one registration with C++ linkage.
void orvo_screencapture_reg_captured_window_moved_notify(orvo_window_moved_callback callback, void* userData) {
    COMPONENT_LOG("SC", "%s", __func__);
    store<kWindowMoved>(callback, userData);
}

void orvo_screencapture_reg_captured_frame_available_notify(orvo_frame_callback callback, void* userData) {
    COMPONENT_LOG("SC", "%s", __func__);
    store<kFrame>(callback, userData);
}

void orvo_screencapture_reg_mutiple_captured_frame_available_notify(orvo_window_frame_callback callback,
                                                                    void* userData) {
    COMPONENT_LOG("SC", "%s", __func__);
    store<kWindowFrame>(callback, userData);
}

void orvo_screencapture_reg_captured_window_status_change_notify(orvo_window_status_callback callback, void* userData) {
    COMPONENT_LOG("SC", "%s", __func__);
    store<kWindowStatus>(callback, userData);
}

void orvo_screencapture_reg_capture_process_window_change_notify(orvo_process_window_callback callback,
                                                                 void* userData) {
    COMPONENT_LOG("SC", "%s", __func__);
    store<kProcessWindow>(callback, userData);
}

void orvo_windowthumbnail_reg_window_status_change_notify(orvo_thumbnail_callback callback, void* userData) {
    COMPONENT_LOG("Thumbnail", "%s", __func__);
    store<kThumbnail>(callback, userData);
}
