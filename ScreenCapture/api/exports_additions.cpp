// The exported additions: version, permissions, a window's owner, statistics, the log's level.
#include <algorithm>
#include <cstring>

#include "ScreenCapture/api/facade_call.h"
#include "ScreenCapture/capture/changed_rects.h"
#include "ScreenCapture/log/orvo_log.h"
#include "ScreenCapture/thumbnail/window_info.h"
#include "orvo/screencapture_additions.h"

using orvo::api::ask;
using orvo::platform::Permission;
using orvo::platform::PermissionState;
using orvo::platform::platform;
using orvo::platform::System;

namespace {

int32_t published(PermissionState state) {
    switch (state) {
        case PermissionState::neverAsked:
            return ORVO_PERMISSION_NEVER_ASKED;
        case PermissionState::denied:
            return ORVO_PERMISSION_DENIED;
        case PermissionState::granted:
            return ORVO_PERMISSION_GRANTED;
        case PermissionState::restartNeeded:
            return ORVO_PERMISSION_RESTART_NEEDED;
    }
    return ORVO_PERMISSION_DENIED;
}

OrvoScreenCapturePermissionState askSystem(OrvoScreenCapturePermission permission,
                                           PermissionState (System::*question)(Permission)) {
    return ask<int32_t>(ORVO_PERMISSION_DENIED, [=](OrvoScreenCaptureImpl&) -> int32_t {
        if (permission != ORVO_PERMISSION_SCREEN_RECORDING && permission != ORVO_PERMISSION_ACCESSIBILITY)
            return ORVO_PERMISSION_DENIED;
        return published((platform().system().*question)(
            permission == ORVO_PERMISSION_SCREEN_RECORDING ? Permission::screenRecording : Permission::accessibility));
    });
}

}  // namespace

const char* orvo_screencapture_version(void) {
    return ORVO_VERSION_TEXT;
}

OrvoScreenCapturePermissionState orvo_screencapture_get_permission(OrvoScreenCapturePermission permission) {
    return askSystem(permission, &System::permission);
}

OrvoScreenCapturePermissionState orvo_screencapture_request_permission(OrvoScreenCapturePermission permission) {
    return askSystem(permission, &System::requestPermission);
}

bool orvo_screencapture_get_window_owner(unsigned int windowID, OrvoScreenCaptureWindowOwner* owner) {
    COMPONENT_LOG("SC", "%s", __func__);
    if (!owner) return false;
    *owner = {};
    return ask(false, [=](OrvoScreenCaptureImpl&) {
        for (const auto& window : platform().windowServer().onScreenWindows()) {
            if (window.number != windowID) continue;
            owner->processID = window.ownerPID;
            orvo::thumbnail::copyTitle(owner->name, window.ownerName);
            return true;
        }
        return false;
    });
}

bool orvo_screencapture_get_statistics(OrvoScreenCaptureStatistics* statistics) {
    if (!statistics) return false;
    *statistics = {};
    return ask(false, [=](OrvoScreenCaptureImpl& facade) {
        CaptureStatistics::Figures figures;
        if (!facade.GetStatistics(figures)) return false;
        statistics->framesDelivered = figures.framesDelivered;
        statistics->ticksMerged = figures.ticksMerged;
        statistics->framesDropped = figures.framesDropped;
        statistics->longestGapMilliseconds = static_cast<uint32_t>(std::min<uint64_t>(figures.longestGap, UINT32_MAX));
        statistics->lastErrorCode = figures.lastErrorCode;
        std::strncpy(statistics->lastErrorReason, figures.lastErrorReason.c_str(),
                     sizeof(statistics->lastErrorReason) - 1);
        return true;
    });
}

int orvo_screencapture_get_changed_rects(OrvoScreenCaptureRect* rects, int capacity) {
    const orvo::platform::Changes* const inCallback = orvo::capture::ChangesInCallback::current();
    if (!inCallback || !inCallback->isKnown()) return -1;
    orvo::platform::Changes changes = *inCallback;
    if (!rects || capacity < 1) return static_cast<int>(changes.size());
    if (changes.size() > static_cast<size_t>(capacity)) {
        changes = orvo::platform::Changes::nothing();
        changes.add(inCallback->bounds());
    }
    for (const orvo::platform::PixelRect& rect : changes)
        *rects++ = {rect.x, rect.y, rect.x + rect.width, rect.y + rect.height};
    return static_cast<int>(changes.size());
}

void orvo_screencapture_change_log_level(int level) {
    COMPONENT_LOG("SC", "%s log level:%d", __func__, level);
    orvo::api::call([=](OrvoScreenCaptureImpl&) { ORVO::ScreenCapture::set_log_level(level); });
}
