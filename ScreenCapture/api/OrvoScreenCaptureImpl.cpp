// The facade: life, capture, parameters and targets.
#include "ScreenCapture/api/OrvoScreenCaptureImpl.h"

#include <algorithm>
#include <utility>

#include "ScreenCapture/log/component_log.h"
#include "ScreenCapture/log/orvo_log.h"
#include "common/utils/orvo_pixel_memory.h"

using orvo::platform::Display;
using orvo::platform::platform;

namespace {

bool isDisplay(unsigned int screenID) {
    const auto screens = platform().displays().screens();
    return std::any_of(screens.begin(), screens.end(),
                       [=](const Display& display) { return display.number == screenID; });
}

}  // namespace

std::shared_ptr<OrvoCaptureSession> OrvoScreenCaptureImpl::session() const {
    std::lock_guard lock(m_mutex);
    return m_captureSession;
}

std::shared_ptr<OrvoCaptureSettings> OrvoScreenCaptureImpl::settings() const {
    std::lock_guard lock(m_mutex);
    return m_settings;
}

std::shared_ptr<OrvoCaptureSession> OrvoScreenCaptureImpl::existingSession() const {
    auto existing = session();
    if (!existing) COMPONENT_LOG("Impl", "Capture Session not exists");
    return existing;
}

std::shared_ptr<OrvoWindowManager> OrvoScreenCaptureImpl::windowManager() const {
    const auto current = session();
    const auto windows = current ? current->m_windowCaptureSession() : nullptr;
    return windows ? windows->windowManager() : nullptr;
}

void OrvoScreenCaptureImpl::Init() {
    COMPONENT_LOG("Impl", "%s", "Init");
    if (session()) {
        COMPONENT_LOG("Impl", "%s already init", "Init");
        return;
    }
    StartThreadIfNeeded();
    const auto registry = std::make_shared<OrvoCaptureSettings>();
    const auto created = OrvoCaptureSession::initWithSettings(registry);
    {
        std::lock_guard lock(m_mutex);
        if (m_captureSession) return;  // another thread was faster
        m_settings = registry;
        m_captureSession = created;
    }
    if (created->initCaptureSession()) return;
    // The next Init makes a new one; the registry with the reason stays.
    std::lock_guard lock(m_mutex);
    if (m_captureSession == created) m_captureSession = nullptr;
}

void OrvoScreenCaptureImpl::UnInit() {
    COMPONENT_LOG("Impl", "%s", "UnInit");
    StopCapture();
    if (const auto current = existingSession()) current->unInitCaptureSession();
    const auto registry = settings();
    {
        std::lock_guard lock(m_mutex);
        m_captureSession = nullptr;
    }
    // The registry stays, but from here on nothing of this session reaches the host.
    if (registry) registry->shut();
    ORVO::BASE::freeKeptPixelMemory();
    ORVO::ScreenCapture::flush_log();
}

void OrvoScreenCaptureImpl::StartCapture() {
    COMPONENT_LOG("Impl", "%s", "StartCapture");
    ORVO::BASE::freeKeptPixelMemory();  // the user has chosen
    if (const auto current = existingSession()) current->startCapture();
    COMPONENT_LOG("Impl", "CaptureSession is started");
}

void OrvoScreenCaptureImpl::StopCapture() {
    COMPONENT_LOG("Impl", "%s", "StopCapture");
    if (const auto current = existingSession()) current->stopCapture();
}

bool OrvoScreenCaptureImpl::IsCapture() const {
    COMPONENT_LOG("Impl", "%s", "IsCapture");
    const auto current = existingSession();
    const bool running = current && current->isCapture();
    COMPONENT_LOG("Impl", "provider running state: %d", running);
    return running;
}

void OrvoScreenCaptureImpl::SetFPS(int fps) {
    COMPONENT_LOG("Impl", "%s fps: %d", "SetFPS", fps);
    if (fps < kMinFps || fps > kMaxFps) {
        COMPONENT_LOG("Impl", "Fps out of range");
        return;
    }
    if (const auto current = existingSession()) current->setFPS(fps);
}

void OrvoScreenCaptureImpl::SetTimeStampOffset(unsigned long long offset) {
    COMPONENT_LOG("Impl", "%s, timestamp offset: %llu", "SetTimeStampOffset", offset);
    if (const auto current = session()) current->setTimeStampOffset(offset);
}

void OrvoScreenCaptureImpl::SetResolution(int width, int height) {
    COMPONENT_LOG("Impl", "%s,SetResolutionwidth %d , height%d", "SetResolution", width, height);
    if (const auto current = session()) current->setResolutionWidth(width, height);
}

void OrvoScreenCaptureImpl::SetCursorVisible(bool visible) {
    COMPONENT_LOG("Impl", "%s, visible state: %d", "SetCursorVisible", visible);
    if (const auto current = existingSession()) current->setCursorVisible(visible);
}

void OrvoScreenCaptureImpl::EnableMouseClickAnimation(bool enable) {
    COMPONENT_LOG("Impl", "%s, animation state: %d", "EnableMouseClickAnimation", enable);
    if (const auto current = existingSession()) current->enableMouseClickAnimation(enable);
}

void OrvoScreenCaptureImpl::SetCatureVideoPixelFormat(OrvoScreenCaptureVideoPixelFormat format) {
    if (const auto current = existingSession()) current->setFormat(format);
}

bool OrvoScreenCaptureImpl::SetTargetWindow(unsigned int windowID) {
    COMPONENT_LOG("Impl", "%s, window handle: %u", "SetTargetWindow", windowID);
    const auto current = existingSession();
    return current && current->setTargetWindow(windowID);
}

bool OrvoScreenCaptureImpl::SetExtraWindows(unsigned int* windows, int count, bool add) {
    const auto current = existingSession();
    return current && current->setExtraWindows(windows, count, add);
}

bool OrvoScreenCaptureImpl::SetTargetWindowMode(OrvoScreenCaptureWindowMode mode) {
    COMPONENT_LOG("Impl", "%s, window mode: %u", "SetTargetWindowMode", static_cast<unsigned int>(mode));
    const auto current = existingSession();
    return current && current->setTargetWindowMode(mode);
}

bool OrvoScreenCaptureImpl::SetTargetWindowResolutionMode(OrvoScreenCaptureResolutionMode mode) {
    COMPONENT_LOG("Impl", "%s, ResolutionMode: %u", "SetTargetWindowResolutionMode", static_cast<unsigned int>(mode));
    const auto current = existingSession();
    return current && current->setTargetWindowResolutionMode(mode);
}

bool OrvoScreenCaptureImpl::SetTargetWindowRect(int left, int top, int width, int height) {
    const auto current = existingSession();
    return current && current->setTargetWindowRectLeft(left, top, width, height);
}

void OrvoScreenCaptureImpl::SetExcludeWindows(unsigned int* windows, int count, bool add) {
    if (const auto current = existingSession()) current->setExcludeWindows(windows, count, add);
}

size_t OrvoScreenCaptureImpl::excludedWindows() const {
    const auto manager = windowManager();
    return manager ? manager->excludeWindows().size() : 0;
}

// With excluded windows a display can only be captured by the window path, which takes its number like a window's.
bool OrvoScreenCaptureImpl::SetTargetRect(unsigned int screenID, int left, int top, int width, int height) {
    COMPONENT_LOG("Impl", "%s, screenID: %u, pos:(%d, %d), size:(%d, %d)", "SetTargetRect", screenID, left, top, width,
                  height);
    const auto current = existingSession();
    if (!current) return false;
    const bool display = isDisplay(screenID);
    const bool excluding = excludedWindows() != 0;
    if (!excluding && display) {
        current->setTargetScreen(screenID);
        current->setTargetRect(screenID, left, top, width, height);
        return true;
    }
    current->setTargetWindow(screenID);
    current->setTargetWindowRectLeft(left, top, width, height);
    COMPONENT_LOG("Impl", excluding ? "excludeWindows count is exists" : "screenID is not screen");
    return true;
}

bool OrvoScreenCaptureImpl::SetTargetScreen(unsigned int screenID) {
    COMPONENT_LOG("Impl", "%s, screen name: %u", "SetTargetScreen", screenID);
    const auto current = existingSession();
    if (!current) return false;
    if (excludedWindows() != 0) {
        current->setTargetWindow(screenID);
        COMPONENT_LOG("Impl", "excludeWindows count is exists");
    } else {
        current->setTargetScreen(screenID);
    }
    return true;
}

// Before Init there is no registry, and the registration is lost.
void OrvoScreenCaptureImpl::registerCallback(int kind, void* callback, void* userData) {
    StartThreadIfNeeded();
    COMPONENT_LOG("Impl", "%s, callback:%p user data:%p", "registerCallback", callback, userData);
    if (const auto registry = settings()) registry->registerCallback(kind, callback, userData);
}

bool OrvoScreenCaptureImpl::GetStatistics(CaptureStatistics::Figures& figures) const {
    const auto registry = settings();
    if (!registry || registry->isShut()) return false;
    figures = registry->statistics().figures();
    return true;
}
