// The windows on screen and their pictures.
#pragma once

#include "ScreenCapture/platform/window_server.h"

namespace orvo::platform::x11 {

class X11WindowServer final : public WindowServer {
  public:
    std::vector<WindowInfo> onScreenWindows() override;
    std::vector<uint32_t> onScreenNumbers() override;
    Shot windowPicture(uint32_t window) override;
    Shot displayPicture(uint32_t display) override;
    std::unique_ptr<Grabber> grabber(uint32_t target, bool isScreen) override;
};

}  // namespace orvo::platform::x11
