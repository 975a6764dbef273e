// What has become of a target since the last check.
#include "ScreenCapture/thumbnail/OrvoWindowManager.h"
#include "ScreenCapture/thumbnail/slide_show.h"
#include "ScreenCapture/thumbnail/window_info.h"

using orvo::platform::platform;
using orvo::platform::Rect;
using orvo::platform::truncated;
using orvo::thumbnail::SlideShowProgram;

// The check runs on every tick. What it compares with the record (activity, hidden state, bounds, whether the window is
// there) are facts of the desktop, so it can find nothing new while the desktop's version is the one of the last check
// that found everything normal: unchangedAt holds that version. Then the check asks the system nothing and reports what
// an unchanged window reports.
//
// Checks that end otherwise never set unchangedAt: a hidden window and one that is gone are not normal, a minimised one
// is reported again on every tick, and so is the slide show of a presentation program while there is one. Only checks
// with isNotify use it, for only they compare with the registered record.
bool OrvoWindowManager::checkTargetWindowStatusIsNormal(uint32_t windowId, bool isNotify) {
    const OrvoWindowRef record = isNotify ? getItemWithTargetWindow(windowId) : getOrvoWindowWithWindowId(windowId);
    if (!record) return false;
    const uint64_t version = platform().windowServer().desktopVersion();
    if (isNotify && version != 0 && record->unchangedAt == version) return reportUnchanged(*record);
    record->unchangedAt = 0;
    if (!record->isScreen) return checkWindowStatusIsNormal(*record, isNotify);
    record->isWindowMinimized = false;
    if (!checkScreenIsValid(record->windowID)) return false;
    record->unchangedAt = version;
    return true;
}

// What a check does that finds everything as the last one left it.
bool OrvoWindowManager::reportUnchanged(OrvoWindow& record) {
    if (record.isScreen) return true;
    record.isWindowMoving = false;
    lastErrorTime = platform().clock().absoluteSeconds();
    notifyWindowStatusChange(ORVO_WINDOW_STATUS_NORMAL, &record);
    return true;
}

bool OrvoWindowManager::checkScreenIsValid(uint32_t displayId) {
    for (const auto& screen : platform().displays().screens()) {
        if (screen.number == displayId) return true;
    }
    const auto why = platform().windowServer().whyUnreachable();
    notifyCaptureError(ORVO_CAPTURE_ERROR_NO_CONTENT,
                       why == orvo::platform::NoImage::none ? "the display is gone" : describe(why));
    return false;
}

bool OrvoWindowManager::checkWindowStatusIsNormal(OrvoWindow& window, bool isNotify) {
    const auto app = OrvoAppProxy::initWithPID(window.ownerPID);
    window.isWindowMoving = false;
    window.isWindowMinimized = false;
    if (!app->app()) {
        platform().system().console("Error: failed to obtain UIElement for appID : " + std::to_string(window.ownerPID));
        if (isNotify) {
            notifyWindowChange(ORVO_THUMBNAIL_HIDDEN_OR_GONE, &window);
            notifyWindowStatusChange(ORVO_WINDOW_STATUS_MISSING, &window);
        }
        return false;
    }
    if (!app->canBeAsked()) return false;
    if (isNotify) compareActivity(window, app->isActive());
    const bool isHidden = app->isHidden();
    if (isNotify) compareHidden(window, isHidden);
    if (isHidden) return false;

    const auto found = app->findWindow(window.windowID);
    if (found.proxy) return checkFoundWindow(window, *app, *found.proxy, isNotify);
    if (!found.isCertain) return false;
    const bool isReplaced = checkProcessWindowStatus(*app, window);
    if (isNotify && isReplaced) return true;
    // Also without isNotify; that is intended.
    notifyWindowStatusChange(ORVO_WINDOW_STATUS_MISSING, &window);
    return false;
}

void OrvoWindowManager::compareActivity(OrvoWindow& window, bool isActive) {
    if (window.isActive == isActive) return;
    window.isActive = isActive;
    notifyWindowStatusChange(isActive ? ORVO_WINDOW_STATUS_ACTIVE : ORVO_WINDOW_STATUS_INACTIVE, &window);
}

void OrvoWindowManager::compareHidden(OrvoWindow& window, bool isHidden) {
    if (window.isHidden == isHidden) return;
    window.isHidden = isHidden;
    if (isHidden) notifyWindowChange(ORVO_THUMBNAIL_HIDDEN_OR_GONE, &window);
    notifyWindowStatusChange(isHidden ? ORVO_WINDOW_STATUS_HIDDEN : ORVO_WINDOW_STATUS_SHOWN, &window);
}

bool OrvoWindowManager::checkFoundWindow(OrvoWindow& window, const OrvoAppProxy& app, const OrvoWindowProxy& proxy,
                                         bool isNotify) {
    lastErrorTime = platform().clock().absoluteSeconds();
    const std::optional<Rect> frame = proxy.answeredFrame();
    if (!frame) return false;  // where it is, its process did not say: nothing has changed for all that is known
    if (isNotify && proxy.isWindowMinimized()) {
        notifyMinimized(window);
        return false;
    }
    if (isNotify) compareBounds(window, *frame);
    // A slide show is searched for each time.
    if (orvo::thumbnail::slideShowProgram(app.name()) != SlideShowProgram::none)
        checkProcessWindowStatus(app, window);
    else if (isNotify)
        window.unchangedAt = platform().windowServer().desktopVersion();
    return true;
}

// Reported again at every check; that is intended. The host sees no bounds while the window is minimised.
void OrvoWindowManager::notifyMinimized(OrvoWindow& window) {
    OrvoWindow minimized;
    minimized.windowID = window.windowID;
    minimized.isWindowMinimized = true;
    window.isWindowMoving = true;
    notifyWindowMoveChangeItem(&minimized);
    notifyWindowStatusChange(ORVO_WINDOW_STATUS_MINIMIZED, &minimized);
    window.isWindowMinimized = true;
}

void OrvoWindowManager::compareBounds(OrvoWindow& window, const Rect& frame) {
    if (frame != window.windowBounds) {
        window.isWindowMoving = true;
        window.windowBounds = frame;
        notifyWindowMoveChangeItem(&window);
        notifyWindowStatusChange(ORVO_WINDOW_STATUS_MOVED, &window);
    }
    notifyWindowStatusChange(ORVO_WINDOW_STATUS_NORMAL, &window);
}

bool OrvoWindowManager::checkProcessWindowStatus(const OrvoAppProxy& app, const OrvoWindow& window) {
    const SlideShowProgram program = orvo::thumbnail::slideShowProgram(app.name());
    if (program == SlideShowProgram::none) return false;
    OrvoWindowProxyRef candidate;
    for (const auto& proxy : app.allWindows()) {
        if (!checkIsNewFullScreenPPT(*proxy, window)) continue;
        if (program == SlideShowProgram::listedWindow && !checkNewProcessIsNormal(*proxy)) continue;
        candidate = proxy;
        platform().system().console("tempWindow title " + proxy->title() +
                                    ", windowID : " + std::to_string(proxy->windowID()) + " ,\n windowTitle " +
                                    window.windowName + " ,windowID " + std::to_string(window.windowID));
    }
    if (!candidate || candidate->windowID() == 0 || !checkNewProcessIsNormal(*candidate)) return false;
    notifyCaptureProcessWindowChange(candidate.get());
    return true;
}

bool OrvoWindowManager::checkIsNewFullScreenPPT(const OrvoWindowProxy& proxy, const OrvoWindow& window) {
    const orvo::thumbnail::SlideShowWindow show{.number = proxy.windowID(),
                                                .coversScreen = proxy.isFullScreen() || proxy.isMatchScreen(),
                                                .title = proxy.title()};
    return orvo::thumbnail::isSlideShow(show, window.windowID, window.windowName);
}

bool OrvoWindowManager::checkNewProcessIsNormal(const OrvoWindowProxy& proxy) {
    return getOrvoWindowWithWindowId(proxy.windowID()) != nullptr;
}

bool OrvoWindowManager::showTargetWindow(uint32_t windowId, int cmd) {
    const OrvoWindowRef record = getOrvoWindowWithWindowId(windowId);
    const auto app = OrvoAppProxy::initWithPID(record ? record->ownerPID : 0);
    const auto proxy = app->windowWithWindowId(windowId);
    if (!proxy) return false;
    if (cmd == ORVO_SHOW_WINDOW_HIDE) return app->hide();
    if (cmd != ORVO_SHOW_WINDOW_FRONT) return false;
    const bool isFocused = proxy->focusWindow();
    if (record && !record->isScreen) app->focus();
    return isFocused;
}

OrvoScreenCaptureRect OrvoWindowManager::getRectWithTargetWindow(uint32_t windowId) {
    const OrvoWindowRef record = getOrvoWindowWithWindowId(windowId);
    if (!record) return {};
    if (record->isScreen) {
        // Width and height stand where a window has its right and bottom edges; that is intended.
        const Rect& frame = record->windowBounds;
        return {truncated<int32_t>(frame.x), truncated<int32_t>(frame.y), truncated<int32_t>(frame.width),
                truncated<int32_t>(frame.height)};
    }
    const auto proxy = OrvoAppProxy::initWithPID(record->ownerPID)->windowWithWindowId(windowId);
    return proxy ? orvo::thumbnail::edges(proxy->frame()) : OrvoScreenCaptureRect{};
}
