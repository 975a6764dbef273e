// Looks at pictures of windows, pixel by pixel.
#pragma once

#include <cstring>

#include "ScreenCapture/platform/platform.h"
#include "support/x11/x_windows.h"

namespace orvo::testing {

inline platform::WindowServer& windowServer() {
    return platform::platform().windowServer();
}

inline uint32_t pixel(const platform::Shot& shot, int x, int y) {
    if (!shot.image || x >= shot.image->width() || y >= shot.image->height()) return 0xDEAD;
    uint32_t value = 0;
    std::memcpy(&value, shot.image->bytes() + static_cast<size_t>(y) * shot.image->bytesPerRow() + x * 4, 4);
    return value;
}

// How many pixels of the picture are not what the painted pattern has there.
inline int wrongPixels(const platform::Shot& shot, int width, int height) {
    if (!shot.image || shot.image->width() != width || shot.image->height() != height) return -1;
    int wrong = 0;
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) wrong += pixel(shot, x, y) != (0xFF000000U | patternAt(x, y));
    return wrong;
}

}  // namespace orvo::testing
