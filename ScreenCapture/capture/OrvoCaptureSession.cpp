// The screen capture session: life, start and stop, plain parameters. Method names in log lines are literals.
#include "ScreenCapture/capture/OrvoCaptureSession.h"

#include <utility>

#include "ScreenCapture/capture/host_callbacks.h"
#include "ScreenCapture/log/component_log.h"
#include "ScreenCapture/platform/contained.h"

using namespace orvo::platform;
using orvo::capture::fire;

namespace {

constexpr uint64_t kMainQueuePatience = 3'000'000'000;  // nanoseconds
constexpr const char* kMainQueueIsSilent = "the main queue is not run";

}  // namespace

// A platform call that fails ends its step; nothing leaves the queue.
template <typename Work>
bool OrvoCaptureSession::guarded(Work&& work) {
    return contained(work, [this](const char* name, const char* reason) {
        COMPONENT_LOG("CS", "error name:%s   error reason:%s", name, reason);
        m_settings->statistics().note(reason);
    });
}

std::shared_ptr<OrvoCaptureSession> OrvoCaptureSession::initWithSettings(
    std::shared_ptr<OrvoCaptureSettings> settings) {
    COMPONENT_LOG("CS", "%s", "-[OrvoCaptureSession initWithSettings:]");
    return std::make_shared<OrvoCaptureSession>(std::move(settings));
}

OrvoCaptureSession::OrvoCaptureSession(std::shared_ptr<OrvoCaptureSettings> settings)
    : m_settings(std::move(settings)) {
    Parts parts;
    parts.mainTaskQueue = platform().dispatch().makeSerialQueue("com.orvo.screencapture.main.queue");
    m_parts.store(std::move(parts));
}

std::shared_ptr<OrvoWindowCaptureSession> OrvoCaptureSession::m_windowCaptureSession() const {
    const auto parts = m_parts.load();
    return parts ? parts->windowCaptureSession : nullptr;
}

bool OrvoCaptureSession::initCaptureSession() {
    COMPONENT_LOG("CS", "%s", "-[OrvoCaptureSession initCaptureSession]");
    if (isInited) {
        COMPONENT_LOG("CS", "CaptureSession is  inited");
        return true;
    }
    return guarded([this] {
        const PartsRef before = m_parts.load();
        if (!before) return;  // another thread has ended the session already
        const PartsRef parts = makeParts(*before);
        m_parts.exchange(parts);
        captureSource = kNoSource;
        isInited = true;
        if (const char* why = platform().dispatch().whyNoMainQueue()) m_settings->statistics().note(why);
        setFPS(kDefaultFps);
        setCursorVisible(true);
        enableMouseClickAnimation(false);
        if (parts->screenCaptureSession) parts->screenCaptureSession->observeFailures(weak_from_this());
    });
}

OrvoCaptureSession::PartsRef OrvoCaptureSession::makeParts(const Parts& before) {
    auto parts = std::make_shared<Parts>();
    parts->mainTaskQueue = before.mainTaskQueue;
    parts->fps = kDefaultFps;
    parts->screenCaptureSession = platform().makeDisplayCapture();
    parts->displayID = platform().displays().mainDisplay();
    if (auto& device = parts->screenCaptureSession) {
        parts->captureScreenInput = device->makeInput(parts->displayID);
        if (parts->captureScreenInput && device->canAddInput(parts->captureScreenInput))
            device->addInput(parts->captureScreenInput);
        device->addOutput(weak_from_this());
    }
    parts->windowCaptureSession = OrvoWindowCaptureSession::initWithSettings(m_settings);
    parts->windowCaptureSession->setDelegate(weak_from_this());
    return parts;
}

// Releases without stopping; what a queued step still needs it holds itself. isInited stays as it was.
void OrvoCaptureSession::unInitCaptureSession() {
    COMPONENT_LOG("CS", "%s", "-[OrvoCaptureSession unInitCaptureSession]");
    m_parts.exchange(nullptr);
}

bool OrvoCaptureSession::inited() const {
    if (!isInited) COMPONENT_LOG("CS", "CaptureSession is not inited");
    return isInited;
}

void OrvoCaptureSession::enqueue(const PartsRef& parts, Step step) {
    if (!parts) return;
    parts->mainTaskQueue->async(
        [self = shared_from_this(), parts, step = std::move(step)] { self->guarded([&] { step(*self, parts); }); });
}

bool OrvoCaptureSession::refuseWithoutSource() {
    COMPONENT_LOG("CS", "%s", "-[OrvoCaptureSession startCapture]");
    if (captureSource != kNoSource) return false;
    COMPONENT_LOG("CS", "%s no capture source.", "-[OrvoCaptureSession startCapture]");
    m_settings->statistics().failed(ORVO_CAPTURE_ERROR_NO_SOURCE, "no capture source was chosen");
    fire<orvo::capture::kCaptureError>(*m_settings, static_cast<int>(ORVO_CAPTURE_ERROR_NO_SOURCE));
    return true;
}

void OrvoCaptureSession::startCapture() {
    if (refuseWithoutSource()) return;
    enqueue([](OrvoCaptureSession& self, const PartsRef& parts) { self.startStep(parts); });
}

// The start that ends a change of target which found the capture running.
void OrvoCaptureSession::restart(const PartsRef& parts, uint64_t stopsSeen) {
    if (refuseWithoutSource()) return;
    enqueue(parts, [stopsSeen](OrvoCaptureSession& self, const PartsRef& current) {
        if (self.m_stops == stopsSeen) self.startStep(current);
    });
}

void OrvoCaptureSession::stopCapture() {
    COMPONENT_LOG("CS", "%s", "-[OrvoCaptureSession stopCapture]");
    ++m_stops;
    enqueue([](OrvoCaptureSession& self, const PartsRef& parts) { self.stopCaptureByself(*parts); });
}

void OrvoCaptureSession::startStep(const PartsRef& parts) {
    // Uninitialised since: its stop has run or is about to.
    if (m_parts.load() != parts) return;
    parts->refusal = nullptr;
    m_otherPathReportedAt = 0;
    isOnDevicePath() ? startDevice(*parts) : startWindows(*parts);
    if (const char* why = platform().windowServer().whyIncomplete()) m_settings->statistics().note(why);
    watchMainQueue(parts);
}

void OrvoCaptureSession::startDevice(const Parts& parts) {
    const auto& device = parts.screenCaptureSession;
    const auto& windows = parts.windowCaptureSession;
    if (!device) return m_settings->statistics().note("the capture device could not be made");
    if (device->isRunning()) {
        COMPONENT_LOG("CS", "ScreenCaptureSession already running");
        return;
    }
    if (windows && windows->isRunning()) windows->stopCapture();
    if (windows) windows->withdrawStart();
    m_settings->statistics().begin();
    device->startRunning();
    COMPONENT_LOG("CS", "ScreenCaptureSession is started");
    // Where there is no display at all the device says so itself.
    if (!parts.captureScreenInput && !platform().displays().screens().empty())
        m_settings->statistics().note("no display has the number " + std::to_string(parts.displayID));
    noteExclusions(parts);
}

void OrvoCaptureSession::startWindows(const Parts& parts) {
    const auto& device = parts.screenCaptureSession;
    const auto& windows = parts.windowCaptureSession;
    if (!windows) return;
    if (windows->isRunning()) {
        COMPONENT_LOG("CS", "WindowCaptureSession already running");
        return;
    }
    if (device && device->isRunning()) device->stopRunning();
    m_settings->statistics().begin();
    windows->startCapture();
    COMPONENT_LOG("CS", "WindowCaptureSession is started");
    if (windows->targetWindows().empty()) m_settings->statistics().note("no window is chosen");
}

// Display frames, and the start of the window path itself, wait for the main queue: a job posted there has to run
// within the patience, or the statistics say that the host does not run its main queue. The job ends the timer.
void OrvoCaptureSession::watchMainQueue(const PartsRef& parts) {
    m_isMainQueueSilent = false;
    Dispatch& dispatch = platform().dispatch();
    const auto onTick = [weak = weak_from_this(), watched = std::weak_ptr(parts), isFirst = true]() mutable {
        if (std::exchange(isFirst, false)) return;  // it comes at once
        const auto self = weak.lock();
        const auto current = watched.lock();
        if (!self || !current) return;
        current->mainQueueWatch = nullptr;
        self->m_isMainQueueSilent = true;
        self->m_settings->statistics().note(kMainQueueIsSilent);
    };
    parts->mainQueueWatch = dispatch.makeTimer(parts->mainTaskQueue, kMainQueuePatience, onTick);
    dispatch.mainAsync([weak = weak_from_this(), timer = std::weak_ptr(parts->mainQueueWatch)] {
        if (const auto self = weak.lock()) self->m_isMainQueueSilent = false;
        if (const auto watch = timer.lock()) watch->cancel();
    });
}

void OrvoCaptureSession::stopCaptureByself(const Parts& parts) {
    const auto& device = parts.screenCaptureSession;
    const auto& windows = parts.windowCaptureSession;
    parts.mainQueueWatch = nullptr;
    // A start of the window path that still waits for the main queue is void from here on.
    if (windows) windows->withdrawStart();
    if (captureSource == kNoSource) {
        COMPONENT_LOG("CS", "no capture source");
    } else if (captureSource == kWholeDisplay || captureSource == kDisplayRect) {
        if (!device || !device->isRunning()) return;
        COMPONENT_LOG("CS", "try to stop ScreenCaptureSession");
        device->stopRunning();
    } else if (windows && windows->isRunning()) {
        COMPONENT_LOG("CS", "try to stop WindowCaptureSession");
        windows->stopCapture();
    }
}

bool OrvoCaptureSession::isCapture() {
    return isCapture(m_parts.load());
}

bool OrvoCaptureSession::isCapture(const PartsRef& parts) {
    COMPONENT_LOG("CS", "%s", "-[OrvoCaptureSession isCapture]");
    if (!inited()) return false;
    bool running = false;
    if (captureSource == kNoSource) {
        COMPONENT_LOG("CS", "no capture source");
        return false;
    }
    if (!parts) {
        running = false;
    } else if (captureSource == kWholeDisplay || captureSource == kDisplayRect) {
        running = parts->screenCaptureSession && parts->screenCaptureSession->isRunning();
    } else {
        running = parts->windowCaptureSession && parts->windowCaptureSession->isRunning();
    }
    COMPONENT_LOG("CS", "running state: %d", running);
    return running;
}

void OrvoCaptureSession::setFPS(int fps) {
    COMPONENT_LOG("CS", "%s fps: %d", "-[OrvoCaptureSession setFPS:]", fps);
    if (!inited()) return;
    enqueue([fps](OrvoCaptureSession& self, const PartsRef& parts) {
        parts->fps = fps;
        self.m_settings->statistics().setFps(fps);
        if (parts->captureScreenInput) parts->captureScreenInput->setMinFrameDuration({1, fps});
        if (parts->windowCaptureSession) parts->windowCaptureSession->setFps(fps);
    });
}

void OrvoCaptureSession::setCursorVisible(bool visible) {
    COMPONENT_LOG("CS", "%s, visible state: %d", "-[OrvoCaptureSession setCursorVisible:]", visible);
    if (!inited()) return;
    enqueue([visible](OrvoCaptureSession&, const PartsRef& parts) {
        if (parts->captureScreenInput) parts->captureScreenInput->setCapturesCursor(visible);
        if (parts->windowCaptureSession) parts->windowCaptureSession->setBVisible(visible);
    });
}

void OrvoCaptureSession::enableMouseClickAnimation(bool enable) {
    COMPONENT_LOG("CS", "%s, animation state: %d", "-[OrvoCaptureSession enableMouseClickAnimation:]", enable);
    if (!inited()) return;
    enqueue([enable](OrvoCaptureSession&, const PartsRef& parts) {
        if (parts->captureScreenInput) parts->captureScreenInput->setCapturesMouseClicks(enable);
    });
}

void OrvoCaptureSession::setTimeStampOffset(uint64_t offset) {
    COMPONENT_LOG("CS", "%s, timestamp offset %llu", "-[OrvoCaptureSession setTimeStampOffset:]",
                  static_cast<unsigned long long>(offset));
    uOffset = offset;
    if (const auto windows = m_windowCaptureSession()) windows->setTimeStampOffset(offset);
}

void OrvoCaptureSession::setResolutionWidth(int width, int height) {
    if (const auto windows = m_windowCaptureSession()) windows->setResolutionWidth(width, height);
}

void OrvoCaptureSession::captureSessionRuntimeErrorOccur() {
    m_settings->statistics().failed(ORVO_CAPTURE_ERROR_NO_CONTENT);
    fire<orvo::capture::kCaptureError>(*m_settings, static_cast<int>(ORVO_CAPTURE_ERROR_NO_CONTENT));
}

void OrvoCaptureSession::onDropped(NoImage why) {
    const bool isSilent = why == NoImage::hostBusy && m_isMainQueueSilent;
    m_settings->statistics().dropped(0, isSilent ? kMainQueueIsSilent : describe(why));
}
void OrvoCaptureSession::onRuntimeError(const CaptureFailure& failure) {
    captureSessionRuntimeErrorDidOccur(failure);
}
void OrvoCaptureSession::onInterruption(const CaptureFailure& failure) {
    captureSessionRuntimeErrorDidOccur(failure);
}

// The session is not started again: that is the host's choice.
void OrvoCaptureSession::captureSessionRuntimeErrorDidOccur(const CaptureFailure& failure) {
    const std::string& words = failure.recoverySuggestion.empty() ? failure.failureReason : failure.recoverySuggestion;
    platform().system().console("ERROR: " + (words.empty() ? "(null)" : words));
    m_settings->statistics().note(words.empty() ? "the capture device failed" : words);
    m_settings->statistics().failed(ORVO_CAPTURE_ERROR_INTERRUPTED);
    fire<orvo::capture::kCaptureError>(*m_settings, static_cast<int>(ORVO_CAPTURE_ERROR_INTERRUPTED));
}
