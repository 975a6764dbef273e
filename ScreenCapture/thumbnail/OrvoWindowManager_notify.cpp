// Notifications to the host, always through the main queue. Nothing is posted when nobody is registered, so that a host
// that never drains its main queue does not grow.
#include <utility>

#include "ScreenCapture/capture/host_callbacks.h"
#include "ScreenCapture/thumbnail/OrvoWindowManager.h"
#include "ScreenCapture/thumbnail/window_info.h"

using namespace orvo::capture;
using orvo::platform::platform;
using orvo::platform::Rect;
using orvo::platform::truncated;
using orvo::thumbnail::WindowInfoPtr;

namespace {

// A target must have been missing for longer than this before it is reported, and before it is reported again.
constexpr double kMissingSeconds = 3.0;
// The only change of the captured process that is reported.
constexpr int kProcessWindowChange = 4;

uint32_t numberOf(const OrvoWindow* item) {
    return item ? item->windowID : 0;
}
Rect boundsOf(const OrvoWindow* item) {
    return item ? item->windowBounds : Rect();
}

// Hands an item over to the host, or frees it when nobody takes it.
void fireThumbnail(OrvoCaptureSettings& settings, int status, WindowInfoPtr info) {
    if (fire<kThumbnail>(settings, status, info.get())) static_cast<void>(info.release());
}

}  // namespace

// job(OrvoWindowManager&): runs on the main queue, where the callback is looked up again.
template <typename Job>
void OrvoWindowManager::post(int kind, Job job) {
    if (!m_settings->getCallback(kind).first) return;
    platform().dispatch().mainAsync([self = shared_from_this(), job = std::move(job)] { job(*self); });
}

void OrvoWindowManager::notifyCaptureError(int errorCode, const char* reason) {
    m_settings->statistics().note(reason);
    m_settings->statistics().failed(errorCode);
    post(kCaptureError, [errorCode](OrvoWindowManager& self) { fire<kCaptureError>(*self.m_settings, errorCode); });
}

void OrvoWindowManager::notifyWindowStatusChange(int status, const OrvoWindow* item) {
    post(kWindowStatus, [status, number = numberOf(item), rect = orvo::thumbnail::edges(boundsOf(item))](
                            OrvoWindowManager& self) { self.sendWindowStatus(status, number, rect); });
}

void OrvoWindowManager::sendWindowStatus(int status, uint32_t windowId, const OrvoScreenCaptureRect& rect) {
    if (!isRegistered(*m_settings, kWindowStatus)) return;
    const double now = platform().clock().absoluteSeconds();
    if (status == ORVO_WINDOW_STATUS_MISSING && now - lastErrorTime <= kMissingSeconds) return;
    lastErrorTime = now;
    fire<kWindowStatus>(*m_settings, status, windowId, rect);
}

void OrvoWindowManager::notifyWindowMoveChangeItem(const OrvoWindow* item) {
    post(kWindowMoved, [number = numberOf(item), bounds = boundsOf(item)](OrvoWindowManager& self) {
        fire<kWindowMoved>(*self.m_settings, number, truncated<int>(bounds.x), truncated<int>(bounds.y),
                           truncated<int>(bounds.width), truncated<int>(bounds.height));
    });
}

void OrvoWindowManager::notifyWindowChange(int change, const OrvoWindow* item) {
    post(kThumbnail, [change, record = item ? *item : OrvoWindow()](OrvoWindowManager& self) {
        fireThumbnail(*self.m_settings, change, orvo::thumbnail::makeWindowInfo(record));
    });
}

void OrvoWindowManager::notifyCaptureProcessWindowChange(const OrvoWindowProxy* proxy) {
    if (!proxy) return;
    OrvoScreenCaptureProcessWindow window{};
    orvo::thumbnail::copyTitle(window.title, proxy->title());
    window.windowID = proxy->windowID();
    post(kProcessWindow,
         [window](OrvoWindowManager& self) { fire<kProcessWindow>(*self.m_settings, kProcessWindowChange, window); });
}

void OrvoWindowManager::notifyWindowPicture(const OrvoWindow& item, bool isnotify) {
    const bool isWanted = isnotify && isRegistered(*m_settings, kThumbnail);
    WindowInfoPtr info = orvo::thumbnail::makeWindowInfo(item);
    info->imageThumbnail = imageForAppname(item.appName, &item).release();
    info->iconThumbnail = iconForAppname(item.appName).release();
    if (!isWanted) return;
    // A job can be copied, an owner cannot.
    post(kThumbnail, [owner = std::make_shared<WindowInfoPtr>(std::move(info))](OrvoWindowManager& self) {
        fireThumbnail(*self.m_settings, ORVO_THUMBNAIL_PICTURE, std::move(*owner));
    });
}
