// The window capture session: life, timer, settings and lists.
#include "ScreenCapture/window/OrvoWindowCaptureSession.h"

#include <utility>

#include "ScreenCapture/log/component_log.h"
#include "ScreenCapture/platform/version.h"

using namespace orvo::platform;

namespace {

// A number may be chosen before its window is there.
void logUnknown(uint32_t number) {
    syslog_ex(1, ESYSLOG_DEBUG, "unnamed", __LINE__, "no window on screen has the number %u", number);
}

}  // namespace

std::shared_ptr<OrvoWindowCaptureSession> OrvoWindowCaptureSession::initWithSettings(
    std::shared_ptr<OrvoCaptureSettings> settings) {
    return std::make_shared<OrvoWindowCaptureSession>(settings);
}

OrvoWindowCaptureSession::OrvoWindowCaptureSession(const std::shared_ptr<OrvoCaptureSettings>& settings)
    : captureQueue(platform().dispatch().makeSerialQueue("com.orvo.window.manager")),
      m_settings(settings),
      m_windowManager(std::make_shared<OrvoWindowManager>(settings)),
      m_options(CaptureOptions()) {}

OrvoWindowCaptureSession::~OrvoWindowCaptureSession() {
    if (captureTimer) captureTimer->cancel();
}

void OrvoWindowCaptureSession::setDelegate(std::weak_ptr<OrvoWindowCaptureSessionDelegate> delegate) {
    m_delegate.store(std::move(delegate));
}

void OrvoWindowCaptureSession::startCapture() {
    platform().dispatch().mainAsync([self = shared_from_this(), stops = m_stops.load()] {
        if (self->m_stops == stops) self->startOnMainQueue(stops);
    });
}

void OrvoWindowCaptureSession::startOnMainQueue(uint64_t stopsSeen) {
    stopTimer();
    COMPONENT_LOG("unnamed", "CaptureSession startCapture");
    captureQueue->async([self = shared_from_this()] { self->lastImage = nullptr; });
    if (m_fps < kMinFps || m_fps > kMaxFps) m_fps = kDefaultFps;
    const auto interval = truncated<uint64_t>(1.0 / m_fps * 1'000'000'000.0);
    std::lock_guard lock(m_timerMutex);
    if (m_stops != stopsSeen) return;  // a stop on another thread has just found no timer
    captureTimer = platform().dispatch().makeTimer(captureQueue, interval, [weak = weak_from_this()] {
        if (const auto self = weak.lock()) self->tick();
    });
}

void OrvoWindowCaptureSession::stopCapture() {
    withdrawStart();
    stopTimer();
}

void OrvoWindowCaptureSession::withdrawStart() {
    ++m_stops;
}

void OrvoWindowCaptureSession::stopTimer() {
    COMPONENT_LOG("unnamed", "CaptureSession will stopCapture");
    std::shared_ptr<Timer> timer;
    {
        std::lock_guard lock(m_timerMutex);
        timer = std::exchange(captureTimer, nullptr);
    }
    if (!timer) return;
    COMPONENT_LOG("unnamed", "CaptureSession stopCapture");
    timer->cancel();
}

bool OrvoWindowCaptureSession::isRunning() const {
    std::lock_guard lock(m_timerMutex);
    return captureTimer != nullptr;
}

// Every change of what a tick reads goes through here, so that no kept result outlives the options that it was made by.
template <typename Change>
void OrvoWindowCaptureSession::changeOptions(Change change) {
    m_options.update([&](CaptureOptions& options) {
        change(options);
        options.sequence = nextVersion();
    });
}

void OrvoWindowCaptureSession::setBVisible(bool visible) {
    changeOptions([=](CaptureOptions& options) { options.bVisible = visible; });
}

void OrvoWindowCaptureSession::setCursorVisible(bool visible) {
    captureQueue->async([self = shared_from_this(), visible] { self->setBVisible(visible); });
}

bool OrvoWindowCaptureSession::setTargetWindow(uint32_t windowID) {
    Numbers removed;
    changeOptions([&](CaptureOptions& options) { removed = std::exchange(options.targetWindows, {windowID}); });
    for (const uint32_t number : removed) m_windowManager->removeTargerWindow(number);
    m_windowManager->setTargetWindow(windowID);
    retarget({windowID});
    return true;
}

bool OrvoWindowCaptureSession::setExtraWindows(const uint32_t* windows, int count, bool add) {
    if (!windows || count < 1) return true;
    Numbers changed;
    changeOptions([&](CaptureOptions& options) {
        auto& targets = options.targetWindows;
        for (int i = 0; i < count; ++i) {
            if (contains(targets, windows[i]) == add) continue;
            if (add)
                targets.push_back(windows[i]);
            else
                std::erase(targets, windows[i]);
            changed.push_back(windows[i]);
        }
    });
    for (const uint32_t number : changed) {
        if (add)
            m_windowManager->setTargetWindow(number);
        else
            m_windowManager->removeTargerWindow(number);
    }
    retarget(add ? changed : Numbers());
    return true;
}

// The list is handed to the window manager again on every call, also an unchanged one.
bool OrvoWindowCaptureSession::setExcludeWindows(const uint32_t* windows, int count, bool add) {
    changeOptions([&](CaptureOptions& options) {
        for (int i = 0; windows && i < count; ++i) {
            if (add)
                options.excludeWindows.push_back(windows[i]);
            else
                std::erase(options.excludeWindows, windows[i]);
        }
    });
    m_windowManager->setExcludeWindows(excludeWindows());
    if (add && windows && count > 0) logUnknownOf({windows, windows + count});
    return true;
}

void OrvoWindowCaptureSession::logUnknownOf(Numbers numbers) {
    captureQueue->async([numbers = std::move(numbers)] {
        Numbers onScreen;
        platform().windowServer().onScreenNumbers(onScreen);
        for (const uint32_t number : numbers)
            if (!contains(onScreen, number)) logUnknown(number);
    });
}

// Prepares new targets before their first tick and lets go of old ones, also while nothing runs. A target that is
// chosen again is searched for again, whatever became of it before.
void OrvoWindowCaptureSession::retarget(Numbers added) {
    captureQueue->async([weak = weak_from_this(), added = std::move(added)] {
        const auto self = weak.lock();
        if (!self) return;
        const auto options = self->m_options.load();
        std::erase_if(self->m_frames, [&](const auto& entry) {
            return contains(added, entry.first) || !contains(options->targetWindows, entry.first);
        });
        for (const uint32_t number : added) {
            if (!contains(options->targetWindows, number)) continue;
            self->guardTarget(number, [&] {
                if (const auto item = self->m_windowManager->getItemWithTargetWindow(number))
                    self->frameOf(number, *item);
                else
                    logUnknown(number);
            });
        }
    });
}

void OrvoWindowCaptureSession::setTargetWindowMode(uint32_t mode) {
    changeOptions([=](CaptureOptions& options) { options.mode = mode; });
}

void OrvoWindowCaptureSession::setTargetWindowResolutionMode(uint32_t mode) {
    changeOptions([=](CaptureOptions& options) { options.resolutionMode = mode; });
}

void OrvoWindowCaptureSession::setResolutionWidth(int width, int height) {
    changeOptions([=](CaptureOptions& options) {
        options.resolutionSize = {static_cast<double>(width), static_cast<double>(height)};
    });
}

void OrvoWindowCaptureSession::setTargetWindowRectLeft(int left, int top, int width, int height) {
    const double scale = platform().displays().focusedScreenScale();
    changeOptions([=](CaptureOptions& options) {
        options.cropRect = {left * scale, top * scale, width * scale, height * scale};
    });
}

std::vector<uint32_t> OrvoWindowCaptureSession::excludeWindows() const {
    return m_options.load()->excludeWindows;
}
std::vector<uint32_t> OrvoWindowCaptureSession::targetWindows() const {
    return m_options.load()->targetWindows;
}

Ref<PixelBuffer> OrvoWindowCaptureSession::pixelBufferFromCGImage(const Ref<Image>& image) {
    return image ? platform().imaging().wrap(image) : nullptr;
}

Picture OrvoWindowCaptureSession::ImageFromPixelBuffer(PixelBuffer& buffer) {
    return platform().imaging().picture(buffer);
}
