// Asks for the pictures of one target again and again.
#pragma once

#include <memory>

#include "ScreenCapture/platform/window_server.h"
#include "ScreenCapture/platform/x11/compositor.h"
#include "ScreenCapture/platform/x11/window_list.h"

namespace orvo::platform::x11 {

struct Desktop;

// A target window is redirected from the start: what was covered has time to be painted again before the first picture.
// When the server has gone, so has a target window, and there is no picture of any kind; a display is found again on
// the next server.
class WindowGrabber final : public Grabber {
  public:
    WindowGrabber(uint32_t target, bool isScreen);
    ~WindowGrabber() override;

    Shot window() override;
    Shot area(const Rect& area) override;
    Shot composed(const Rect& bounds, const std::vector<uint32_t>& windows) override;
    Shot display() override;

  private:
    bool open(Server::Use& x);
    void close();
    void watchTarget(Server::Use& x);
    void noteGone();
    template <typename Take>
    Shot ask(Take&& take);

    const uint32_t target_;
    const bool isScreen_;
    uint64_t epoch_ = 0;  // of the server that the next two belong to
    std::unique_ptr<Compositor> compositor_;
    std::shared_ptr<RedirectedWindow> window_;  // the target
    std::vector<Layer> layers_;                 // of the picture that is taken
    bool gone_ = false;
};

}  // namespace orvo::platform::x11
