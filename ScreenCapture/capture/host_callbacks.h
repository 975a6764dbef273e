// The one way out to the host: kind to signature, no lock held, exceptions kept in.
#pragma once

#include <cassert>

#include "ScreenCapture/capture/OrvoCaptureSettings.h"
#include "ScreenCapture/platform/snapshot_scope.h"
#include "orvo/screencapture.h"
#include "xplatform/common/orvosyslog.h"

namespace orvo::capture {

enum HostCallbackKind {
    kCaptureError = 1,
    kWindowMoved = 2,
    kFrame = 3,
    kWindowFrame = 4,
    kThumbnail = 5,
    kWindowStatus = 6,
    kProcessWindow = 8,
};

template <typename Signature>
struct CalledAs {
    using Function = Signature;
};
template <HostCallbackKind Kind>
struct HostCallback;
// clang-format off
template <> struct HostCallback<kCaptureError> : CalledAs<orvo_capture_error_callback> {};
template <> struct HostCallback<kWindowMoved> : CalledAs<orvo_window_moved_callback> {};
template <> struct HostCallback<kFrame> : CalledAs<orvo_frame_callback> {};
template <> struct HostCallback<kWindowFrame> : CalledAs<orvo_window_frame_callback> {};
template <> struct HostCallback<kThumbnail> : CalledAs<orvo_thumbnail_callback> {};
template <> struct HostCallback<kWindowStatus> : CalledAs<orvo_window_status_callback> {};
template <> struct HostCallback<kProcessWindow> : CalledAs<orvo_process_window_callback> {};
// clang-format on

inline bool isRegistered(const OrvoCaptureSettings& settings, HostCallbackKind kind) {
    return settings.getCallback(kind).first != nullptr;
}

// Calls the host's callback of a kind, if there is one, with the arguments and the host's pointer last. Answers whether
// it was called.
template <HostCallbackKind Kind, typename... Arguments>
bool fire(OrvoCaptureSettings& settings, Arguments... arguments) {
    assert(!platform::SnapshotScope::current());
    const auto [callback, userData] = settings.getCallback(Kind);
    if (!callback || !settings.beginCall()) return false;
    try {
        reinterpret_cast<typename HostCallback<Kind>::Function>(callback)(arguments..., userData);
    } catch (...) {
        if (settings.firstException())
            syslog_ex(1, 1, "CS", __LINE__, "a host callback of kind %d threw an exception", static_cast<int>(Kind));
    }
    settings.endCall();
    return true;
}

}  // namespace orvo::capture
