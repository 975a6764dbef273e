// Holds what is reported of a frame's changes against the frames.
#pragma once

#include <algorithm>
#include <vector>

#include "ScreenCapture/platform/changes.h"

namespace orvo::testing {

// Whether two pictures of a width are equal outside of what is said to have changed.
inline bool isReported(const platform::Changes& changes, std::vector<uint8_t> before, const std::vector<uint8_t>& now,
                       int width) {
    if (!changes.isKnown()) return true;
    for (const platform::PixelRect& rect : changes)
        for (int y = rect.y; y < rect.y + rect.height; y++) {
            const auto row = (ptrdiff_t{y} * width + rect.x) * 4;
            std::copy_n(now.begin() + row, rect.width * 4, before.begin() + row);
        }
    return before == now;
}

}  // namespace orvo::testing
