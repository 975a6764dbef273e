// Scaling of 32-bit pixels in memory.
#pragma once

#include <cstddef>
#include <cstdint>

#include "ScreenCapture/platform/values.h"

namespace orvo::platform::software {

// 32-bit pixels that somebody else owns, row 0 on top.
struct Pixels {
    uint8_t* bytes = nullptr;
    int width = 0;
    int height = 0;
    size_t bytesPerRow = 0;

    uint8_t* row(int y) const { return bytes + static_cast<size_t>(y) * bytesPerRow; }
    Pixels part(const PixelRect& area) const {
        return {bytes + static_cast<size_t>(area.y) * bytesPerRow + static_cast<size_t>(area.x) * 4, area.width,
                area.height, bytesPerRow};
    }
};

// Draws the source scaled to `placement` (pixels of the target, origin top-left) and answers the part of the target
// that it covers; every other pixel stays as it was. The edges of a fractional placement go to the nearest whole pixel,
// a placement thinner than a pixel still covers one; what lies outside the target is left out.
PixelRect drawScaled(const Pixels& source, const Pixels& target, const Rect& placement);

// Sets every pixel of the target that is not in one rectangle to zero bytes. What lies behind the pixels of a row is
// zero already.
void clearOutside(const Pixels& target, const PixelRect& kept);

}  // namespace orvo::platform::software
