// One run of the device path, from start to stop: its connection, and what a tick does on it.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>

#include "ScreenCapture/platform/x11/display_grabber.h"
#include "ScreenCapture/platform/x11/display_input.h"
#include "ScreenCapture/platform/x11/monitors.h"
#include "ScreenCapture/platform/x11/pointer_tracker.h"

namespace orvo::platform::x11 {

// What a tick has to show.
struct CapturePlan {
    uint32_t display = 0;
    InputSettings settings;
};

enum class TickResult { frame, dropped, serverLost, displayGone };

// The root's rectangle that a crop (points, origin at the display's bottom-left corner) of a display means, cut to the
// display; the whole display for an empty crop. Empty when the two do not meet.
PixelRect captureArea(const PixelRect& display, const Rect& crop);

// For one thread.
class CaptureRun {
  public:
    explicit CaptureRun(std::unique_ptr<Connection> connection);

    // The display's picture now. A frame stays as it is while it is held outside; an unchanged scene gives the same
    // frame again.
    TickResult tick(const CapturePlan& plan);
    const Ref<software::Frame>& frame() const { return frame_; }
    NoImage whyDropped() const { return why_; }
    NoImage whyLost() const { return whyUnreachable(x_.get()); }

  private:
    void readEvents();
    bool findArea(const CapturePlan& plan, PixelRect& area);
    void takeFrame();

    std::unique_ptr<Connection> x_;
    PointerTracker pointer_;
    std::optional<DisplayGrabber> grabber_;
    Monitor monitor_;
    bool monitorIsStale_ = true;
    Ref<software::Frame> frame_;
    PointerLook look_;  // what is painted on the frame
    NoImage why_ = NoImage::none;
};

}  // namespace orvo::platform::x11
