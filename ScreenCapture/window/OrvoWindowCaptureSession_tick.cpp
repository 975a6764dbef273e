// One tick of the window capture session: for every target a picture, the cursor, crop, scale, delivery.
#include "ScreenCapture/window/OrvoWindowCaptureSession.h"

#include <optional>

#include "ScreenCapture/platform/snapshot_scope.h"

using namespace orvo::platform;

namespace {

constexpr uint32_t kModeArea = 3;
constexpr uint32_t kModeApplication = 5;
constexpr int kMinImageWidth = 2;  // pixels
constexpr const char* kTooNarrow = "the picture is narrower than two pixels";
constexpr double kPatience = 3.0;  // seconds without a good picture before it is reported to the delegate
constexpr double kMillisecondsPerSecond = 1000.0;

// Why there is no record of a target.
NoImage whyUnknown() {
    const NoImage why = platform().windowServer().whyUnreachable();
    return why == NoImage::none ? NoImage::gone : why;
}

bool isGood(const Shot& shot) {
    return shot.image && shot.image->width() >= kMinImageWidth;
}

}  // namespace

// One tick's question for the picture of one target.
struct OrvoWindowCaptureSession::TargetTick {
    OrvoWindowCaptureSession& session;
    TargetFrame& frame;
    const OrvoWindow& item;
    const CaptureOptions& options;

    Shot getImageWithOrvowindow() const;

  private:
    Shot getWindowImageWithOrvoWindow() const;
    Shot getDeskImageWithOrvoWindow() const;
    Shot getExcludeWindowsImageWithOrvoWindow() const;
};

void OrvoWindowCaptureSession::tick() {
    const auto options = m_options.load();  // what one tick reads does not change under it
    for (const uint32_t windowID : options->targetWindows) {
        CaptureStatistics& statistics = m_settings->statistics();
        const auto shoot = [&] { createShotImageWithWindowID(windowID, *options); };
        if (!guardTarget(windowID, shoot)) statistics.dropped(windowID);
    }
}

void OrvoWindowCaptureSession::createShotImageWithWindowID(uint32_t windowID, const CaptureOptions& options) {
    std::optional<SnapshotScope> scope(std::in_place);
    const OrvoWindowRef record = m_windowManager->getItemWithTargetWindow(windowID);
    const OrvoWindow* item = record.get();
    if (!checkScreenIsValidWithOrvowindow(item)) return;

    // What cannot be found has no picture; its frame begins when it is first seen.
    TargetFrame* const frame = item ? &frameOf(windowID, *item) : nullptr;
    if (frame) frame->grabber().setUse({m_fps, options.bVisible});
    const Shot shot = frame ? TargetTick{*this, *frame, *item, options}.getImageWithOrvowindow() : whyUnknown();
    const bool withCursor = isGood(shot) && options.bVisible;
    const CursorMark cursor = withCursor ? windowCursor.appendMouseCursor(*shot.image, item) : CursorMark();
    scope.reset();  // from here on the host may be called
    if (!checkImageIsValidWithCGImage(shot, windowID)) return;
    const Shot result = frame->cropAndScale(shot.image, options, cursor);
    if (notifySuccessWithCGImage(result, item->windowID, frame->changes())) frame->delivered();
}

// Checks the target and notifies the host of what changed. A display that is gone ends the capture; a window that is
// not normal is captured all the same, and its picture normally fails.
bool OrvoWindowCaptureSession::checkScreenIsValidWithOrvowindow(const OrvoWindow* item) {
    // What was not found is not searched for again in the same tick.
    if (!item || m_windowManager->checkTargetWindowStatusIsNormal(item->windowID, true) || !item->isScreen) return true;
    stopCapture();
    return false;
}

Shot OrvoWindowCaptureSession::TargetTick::getImageWithOrvowindow() const {
    if ((item.isWindowMinimized || item.isWindowMoving) && session.lastImage) return session.lastImage;
    return item.isScreen ? getDeskImageWithOrvoWindow() : getWindowImageWithOrvoWindow();
}

Shot OrvoWindowCaptureSession::TargetTick::getWindowImageWithOrvoWindow() const {
    switch (options.mode) {
        case kModeApplication:
            return getExcludeWindowsImageWithOrvoWindow();
        case kModeArea:
            return frame.grabber().area(item.windowBounds);
        default:
            return frame.grabber().window();
    }
}

Shot OrvoWindowCaptureSession::TargetTick::getDeskImageWithOrvoWindow() const {
    return options.excludeWindows.empty() ? frame.grabber().display() : getExcludeWindowsImageWithOrvoWindow();
}

// Without windows of the application nothing is filtered but the excluded ones; that is intended.
Shot OrvoWindowCaptureSession::TargetTick::getExcludeWindowsImageWithOrvoWindow() const {
    static const Numbers none;
    const bool isFiltered = options.mode == kModeApplication;
    const Numbers& appWindows = isFiltered ? frame.applicationWindows(*session.m_windowManager) : none;
    Numbers& shown = session.m_shownWindows;
    platform().windowServer().onScreenNumbers(shown);
    std::erase_if(shown, [&](uint32_t number) {
        return contains(options.excludeWindows, number) || (!appWindows.empty() && !contains(appWindows, number));
    });
    return frame.grabber().composed(item.deskBounds(), shown);
}

// The time of the last good picture is left alone by a bad one: once the patience is over every bad picture is
// reported, and the first one at once when none was ever good.
bool OrvoWindowCaptureSession::checkImageIsValidWithCGImage(const Shot& shot, uint32_t windowID) {
    const double now = platform().clock().absoluteSeconds();
    if (isGood(shot)) {
        lastErrorTime = now;
        return true;
    }
    m_settings->statistics().dropped(windowID, shot.image ? kTooNarrow : describe(shot.why));
    const auto delegate = m_delegate.load();
    if (const auto receiver = delegate ? delegate->lock() : nullptr; receiver && now - lastErrorTime > kPatience)
        receiver->captureSessionRuntimeErrorOccur();
    lastImage = nullptr;
    return false;
}

// Answers whether the host got the frame.
bool OrvoWindowCaptureSession::notifySuccessWithCGImage(const Shot& shot, uint32_t windowID, const Changes& changes) {
    const Ref<PixelBuffer> buffer = shot.image ? platform().imaging().wrap(shot.image) : nullptr;
    lastImage = nullptr;
    if (!buffer)
        m_settings->statistics().dropped(windowID, shot.why == NoImage::noBuffer
                                                       ? describe(shot.why)
                                                       : "the picture does not fit the crop or the output size");
    const uint64_t recordTime =
        uOffset + truncated<uint64_t>(platform().clock().secondsSince1970() * kMillisecondsPerSecond);
    const auto delegate = m_delegate.load();
    const auto receiver = delegate ? delegate->lock() : nullptr;
    return receiver && buffer && receiver->onCapturedWindowImage(*buffer, windowID, recordTime, changes);
}

TargetFrame& OrvoWindowCaptureSession::frameOf(uint32_t windowID, const OrvoWindow& item) {
    const auto found = m_frames.find(windowID);
    if (found != m_frames.end() && found->second.isScreen() == item.isScreen) return found->second;
    return m_frames.insert_or_assign(windowID, TargetFrame(windowID, item.isScreen)).first->second;
}
