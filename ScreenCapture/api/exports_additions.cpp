// The exported additions: version, permissions, a window's owner, statistics, the log's level.
#include <algorithm>
#include <cstring>

#include "ScreenCapture/api/facade_call.h"
#include "ScreenCapture/api/sized_record.h"
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

// Sizes of the first versions of the records; they never change.
constexpr uint32_t kFirstWindowOwner = 264;
constexpr uint32_t kFirstStatistics = 160;

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
    if (!orvo::api::hasSize(owner, kFirstWindowOwner)) return false;
    OrvoScreenCaptureWindowOwner answer = ORVO_SCREENCAPTURE_WINDOW_OWNER_INIT;
    const bool found = ask(false, [&](OrvoScreenCaptureImpl&) {
        for (const auto& window : platform().windowServer().onScreenWindows()) {
            if (window.number != windowID) continue;
            answer.processID = window.ownerPID;
            orvo::thumbnail::copyTitle(answer.name, window.ownerName);
            return true;
        }
        return false;
    });
    orvo::api::fill(owner, answer);
    return found;
}

bool orvo_screencapture_get_statistics(OrvoScreenCaptureStatistics* statistics) {
    if (!orvo::api::hasSize(statistics, kFirstStatistics)) return false;
    OrvoScreenCaptureStatistics answer = ORVO_SCREENCAPTURE_STATISTICS_INIT;
    const bool found = ask(false, [&](OrvoScreenCaptureImpl& facade) {
        CaptureStatistics::Figures figures;
        if (!facade.GetStatistics(figures)) return false;
        answer.framesDelivered = figures.framesDelivered;
        answer.ticksMerged = figures.ticksMerged;
        answer.framesDropped = figures.framesDropped;
        answer.longestGapMilliseconds = static_cast<uint32_t>(std::min<uint64_t>(figures.longestGap, UINT32_MAX));
        answer.lastErrorCode = figures.lastErrorCode;
        std::strncpy(answer.lastErrorReason, figures.lastErrorReason.c_str(), sizeof(answer.lastErrorReason) - 1);
        return true;
    });
    orvo::api::fill(statistics, answer);
    return found;
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
