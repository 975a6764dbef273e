// The displays: monitors in points, which are pixels here.
#pragma once

#include "ScreenCapture/platform/displays.h"

namespace orvo::platform::x11 {

class X11Displays final : public Displays {
  public:
    std::vector<Display> screens() override;
    uint32_t mainDisplay() override;
    Rect bounds(uint32_t display) override;
    uint32_t mainDisplayPixelsHigh() override;
    double focusedScreenScale() override;
};

}  // namespace orvo::platform::x11
