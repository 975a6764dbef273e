// The windows on screen and their pictures.
#pragma once

#include "ScreenCapture/platform/window_server.h"

namespace orvo::platform::x11 {

class X11WindowServer final : public WindowServer {
  public:
    std::vector<WindowInfo> onScreenWindows() override;
    void onScreenNumbers(std::vector<uint32_t>& numbers) override;
    uint64_t desktopVersion() override;
    NoImage whyUnreachable() override;
    Shot windowPicture(uint32_t window) override;
    std::unique_ptr<PictureBatch> pictures(const std::vector<uint32_t>& windows) override;
    Shot displayPicture(uint32_t display, int width) override;
    std::unique_ptr<Grabber> grabber(uint32_t target, bool isScreen) override;
};

}  // namespace orvo::platform::x11
