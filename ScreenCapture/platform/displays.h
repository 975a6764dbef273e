// The displays.
#pragma once

#include <cstdint>
#include <vector>

#include "ScreenCapture/platform/values.h"

namespace orvo::platform {

struct Display {
    uint32_t number = 0;
    Rect frame;               // points, origin at the main display's bottom-left corner, y upwards
    double backingScale = 0;  // pixels per point
};

class Displays {
  public:
    virtual ~Displays() = default;
    virtual std::vector<Display> screens() = 0;    // in the system's order; empty without a display
    virtual uint32_t mainDisplay() = 0;            // its number; 0 without a display
    virtual Rect bounds(uint32_t display) = 0;     // points, global, origin top-left; all zero for an unknown number
    virtual uint32_t mainDisplayPixelsHigh() = 0;  // pixels; 0 without a display
    virtual double focusedScreenScale() = 0;       // backing scale of the screen with focus; 0 without one
};

}  // namespace orvo::platform
