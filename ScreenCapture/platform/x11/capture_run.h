// One run of the device path on x11: its connection, and what a tick does on it.
#pragma once

#include <memory>
#include <vector>

#include "ScreenCapture/platform/software/display_stream.h"
#include "ScreenCapture/platform/x11/compositor.h"
#include "ScreenCapture/platform/x11/monitors.h"
#include "ScreenCapture/platform/x11/pointer_tracker.h"

namespace orvo::platform::x11 {

// The root's rectangle that a crop (points, origin at the display's bottom-left corner) of a display means, cut to the
// display; the whole display for an empty crop. Empty when the two do not meet.
PixelRect captureArea(const PixelRect& display, const Rect& crop);

// For one thread.
class CaptureRun final : public software::DisplaySource {
  public:
    explicit CaptureRun(std::unique_ptr<Connection> connection);

    // The display's picture now. A frame stays as it is while it is held outside; an unchanged scene gives the same
    // frame again.
    software::FrameResult next(const software::DisplaySettings& settings) override;

  private:
    void handle(const xcb_generic_event_t& event);
    bool findArea(const software::DisplaySettings& settings, PixelRect& area);
    software::FrameResult lost() const;
    void takeFrame();

    std::unique_ptr<Connection> x_;
    PointerTracker pointer_;
    RedirectedWindows windows_;
    Compositor compositor_;
    const std::vector<Layer> layers_;
    Monitor monitor_;
    bool monitorIsStale_ = true;
    Ref<software::Frame> frame_;
    PointerLook look_;                // what is painted on the frame
    std::vector<PixelRect> painted_;  // where that is
    ChangeFollower follower_;         // of the frames
    NoImage why_ = NoImage::none;
};

// Connects. Null with the reason when the server cannot be reached, or does not show the displays.
std::unique_ptr<software::DisplaySource> openDisplaySource(NoImage& why);

}  // namespace orvo::platform::x11
