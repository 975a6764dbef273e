// The screen capture session's targets: every change runs as a step on its queue and restarts a running capture.
#include <utility>

#include "ScreenCapture/capture/OrvoCaptureSession.h"

#include "ScreenCapture/log/component_log.h"

using namespace orvo::platform;

namespace {

void logWindows(const char* method, const unsigned int* ids, int count, bool add) {
    for (int i = 0; ids && i < count; ++i)
        COMPONENT_LOG("CS", "%s %ld is %s", method, static_cast<long>(ids[i]), add ? "add" : "reduce");
}

// Changes that take effect together. One that throws must not leave the device in the middle of its configuration: it
// would refuse every later start.
template <typename Changes>
void configure(DisplayCapture* device, Changes&& changes) {
    if (!device) return changes();
    device->beginConfiguration();
    try {
        changes();
    } catch (...) {
        device->commitConfiguration();
        throw;
    }
    device->commitConfiguration();
}

// A crop without a size means the whole display.
bool liesBeside(const Rect& crop, const Size& display) {
    if (!(crop.width > 0) || !(crop.height > 0)) return false;
    return crop.x >= display.width || crop.y >= display.height || crop.x + crop.width <= 0 || crop.y + crop.height <= 0;
}

}  // namespace

void OrvoCaptureSession::setExcludeWindows(const unsigned int* ids, int count, bool add) {
    logWindows("setExcludeWindows", ids, count, add);
    if (!inited()) return;
    if (const auto windows = m_windowCaptureSession()) windows->setExcludeWindows(ids, count, add);
    if (add) enqueue([](OrvoCaptureSession& self, const PartsRef& parts) { self.noteExclusions(*parts); });
}

// The device path shows every window.
void OrvoCaptureSession::noteExclusions(const Parts& parts) {
    const auto& device = parts.screenCaptureSession;
    const auto& windows = parts.windowCaptureSession;
    if (!isOnDevicePath() || !device || !device->isRunning()) return;
    if (windows && !windows->excludeWindows().empty())
        m_settings->statistics().note("windows are excluded when the display is chosen again, not before");
}

bool OrvoCaptureSession::setExtraWindows(const unsigned int* ids, int count, bool add) {
    logWindows("setExtraWindows", ids, count, add);
    if (!inited()) return false;
    const auto windows = m_windowCaptureSession();
    return windows && windows->setExtraWindows(ids, count, add);
}

// Every change of target goes this way. While the host's call runs, the source changes: frames of the path that is left
// reach nobody from here on, though that path still runs. The rest is one step on the queue: it applies the setting,
// which calls stop() at the moment when a running capture has to end, and restarts what it has stopped. A setting that
// answers false was refused, and the capture goes on as it was.
//
// The source is set in the step once more, because another change may have been made between the call and the step: the
// order of the steps decides which one the restart begins with. A stop by the host counts m_stops up. The restart is a
// step of its own after those that are queued by then, and does nothing when the count is another than in the call:
// whether the host stopped before this step, between it and the restart, or on another thread meanwhile, its stop wins.
bool OrvoCaptureSession::enqueueRetarget(CaptureSource source, Setting setting) {
    if (!inited()) return false;
    captureSource = source;
    enqueue([source, setting = std::move(setting), stops = m_stops.load()](OrvoCaptureSession& self,
                                                                           const PartsRef& parts) {
        parts->refusal = nullptr;
        bool wasRunning = false;
        const auto stop = [&] {
            wasRunning = self.isCapture(parts);
            if (wasRunning) self.stopCaptureByself(*parts);
        };
        if (!setting(self, parts, stop)) return;
        self.captureSource = source;
        if (wasRunning) self.restart(parts, stops);
    });
    return true;
}

// Settings of the window path stand before the capture ends.
bool OrvoCaptureSession::enqueueWindowSetting(std::function<void(OrvoWindowCaptureSession&)> setting) {
    return enqueueRetarget(
        kWindow, [setting = std::move(setting)](OrvoCaptureSession&, const PartsRef& parts, const auto& stop) {
            if (parts->windowCaptureSession) setting(*parts->windowCaptureSession);
            stop();
            return true;
        });
}

bool OrvoCaptureSession::setTargetWindow(uint32_t windowID) {
    COMPONENT_LOG("CS", "%s, window handle: %d", "-[OrvoCaptureSession setTargetWindow:]", static_cast<int>(windowID));
    return enqueueWindowSetting([windowID](OrvoWindowCaptureSession& windows) { windows.setTargetWindow(windowID); });
}

bool OrvoCaptureSession::setTargetWindowMode(int mode) {
    COMPONENT_LOG("CS", "%s, window mode: %d", "-[OrvoCaptureSession setTargetWindowMode:]", mode);
    return enqueueWindowSetting(
        [mode](OrvoWindowCaptureSession& windows) { windows.setTargetWindowMode(static_cast<uint32_t>(mode)); });
}

bool OrvoCaptureSession::setTargetWindowResolutionMode(int mode) {
    COMPONENT_LOG("CS", "%s, ResolutionMode: %d", "-[OrvoCaptureSession setTargetWindowResolutionMode:]", mode);
    return enqueueWindowSetting([mode](OrvoWindowCaptureSession& windows) {
        windows.setTargetWindowResolutionMode(static_cast<uint32_t>(mode));
    });
}

bool OrvoCaptureSession::setTargetWindowRectLeft(int left, int top, int width, int height) {
    COMPONENT_LOG("CS", "%s, pos: (%d, %d), size: (%d, %d)",
                  "-[OrvoCaptureSession setTargetWindowRectLeft:top:width:height:]", left, top, width, height);
    return enqueueWindowSetting([=](OrvoWindowCaptureSession& windows) {
        COMPONENT_LOG("CS", "second %s, pos: (%d, %d), size: (%d, %d)",
                      "-[OrvoCaptureSession setTargetWindowRectLeft:top:width:height:]_block_invoke", left, top, width,
                      height);
        windows.setTargetWindowRectLeft(left, top, width, height);
    });
}

bool OrvoCaptureSession::setTargetScreen(uint32_t screenID) {
    COMPONENT_LOG("CS", "%s, screen id: %u", "-[OrvoCaptureSession setTargetScreen:]", screenID);
    return enqueueRetarget(kWholeDisplay,
                           [screenID](OrvoCaptureSession& self, const PartsRef& parts, const auto& stop) {
                               stop();
                               configure(parts->screenCaptureSession.get(), [&] {
                                   // The display that is chosen already keeps its input and with it an earlier crop
                                   // rectangle.
                                   if (screenID != parts->displayID) self.replaceInput(*parts, screenID);
                               });
                               return true;
                           });
}

// The new input has the platform's own cursor, click and crop defaults; only the frame rate is applied again. A number
// that is no display leaves no input.
void OrvoCaptureSession::replaceInput(const Parts& parts, uint32_t screenID) {
    parts.displayID = screenID;
    if (const auto& device = parts.screenCaptureSession) {
        if (parts.captureScreenInput) device->removeInput(parts.captureScreenInput);
        parts.captureScreenInput = device->makeInput(screenID);
        if (parts.captureScreenInput && device->canAddInput(parts.captureScreenInput))
            device->addInput(parts.captureScreenInput);
    }
    setFPS(parts.fps);
}

bool OrvoCaptureSession::setTargetRect(uint32_t screenID, int left, int top, int width, int height) {
    COMPONENT_LOG("CS", "first %s, screenID: %u, pos: (%d, %d), size: (%d, %d)",
                  "-[OrvoCaptureSession setTargetRect:left:top:width:height:]", screenID, left, top, width, height);
    return enqueueRetarget(kDisplayRect, [=](OrvoCaptureSession& self, const PartsRef& parts, const auto& stop) {
        constexpr const char* kBlock = "-[OrvoCaptureSession setTargetRect:left:top:width:height:]_block_invoke";
        COMPONENT_LOG("CS", "second %s, screenID: %u, pos: (%d, %d), size: (%d, %d)", kBlock, screenID, left, top,
                      width, height);
        const Rect bounds = platform().displays().bounds(screenID);
        COMPONENT_LOG("CS", "the screenSize is width:%f height:%f", bounds.width, bounds.height);
        if (wrappingSum(left, width) > bounds.width) {
            COMPONENT_LOG("CS", "the width is too large!!!!!! theScreenWidth is %f", bounds.width);
            return self.refuseRect(*parts,
                                   "the rectangle was refused: it reaches beyond the right edge of the display");
        }
        if (wrappingSum(top, height) > bounds.height) {
            COMPONENT_LOG("CS", "the height is too large!!!!!! theScreenHeight is %f", bounds.height);
            return self.refuseRect(*parts,
                                   "the rectangle was refused: it reaches beyond the bottom edge of the display");
        }
        stop();
        const Rect crop{static_cast<double>(left), bounds.height - top - height, static_cast<double>(width),
                        static_cast<double>(height)};
        COMPONENT_LOG("CS", "%s, screenID: %u,cropRect x:%f y:%f width:%f height:%f", kBlock, screenID, crop.x, crop.y,
                      crop.width, crop.height);
        configure(parts->screenCaptureSession.get(), [&] {
            if (parts->captureScreenInput) parts->captureScreenInput->setCropRect(crop);
        });
        if (liesBeside(crop, bounds.size()))
            self.m_settings->statistics().note("the rectangle lies beside the display");
        return true;
    });
}

// The display is captured as if nothing had been asked for; from a capture of windows it takes a start.
bool OrvoCaptureSession::refuseRect(const Parts& parts, const char* reason) {
    parts.refusal = reason;
    m_settings->statistics().note(reason);
    return false;
}
