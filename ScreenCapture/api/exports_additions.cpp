// The exports beyond the common interface.
#include "orvo/screencapture_additions.h"

#include "ScreenCapture/api/facade_call.h"
#include "ScreenCapture/thumbnail/window_info.h"

bool orvo_screencapture_get_window_owner(unsigned int windowID, OrvoScreenCaptureWindowOwner* owner) {
    EXPORT_LOG("SC", "%s", __func__);
    if (!owner) return false;
    *owner = {};
    return orvo::api::ask(false, [=](OrvoScreenCaptureImpl&) {
        for (const auto& window : orvo::platform::platform().windowServer().onScreenWindows()) {
            if (window.number != windowID) continue;
            owner->processID = window.ownerPID;
            orvo::thumbnail::copyTitle(owner->name, window.ownerName);
            return true;
        }
        return false;
    });
}
