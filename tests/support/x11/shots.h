// Looks at pictures of windows, pixel by pixel.
#pragma once

#include <cstring>

#include "ScreenCapture/platform/platform.h"
#include "support/x11/x_windows.h"

namespace orvo::testing {

inline platform::WindowServer& windowServer() {
    return platform::platform().windowServer();
}

// A picture's pixels, rows packed.
inline std::vector<uint8_t> copyOf(const platform::Image& image) {
    std::vector<uint8_t> pixels;
    for (int y = 0; y < image.height(); y++) {
        const uint8_t* const row = image.bytes() + static_cast<size_t>(y) * image.bytesPerRow();
        pixels.insert(pixels.end(), row, row + static_cast<size_t>(image.width()) * 4);
    }
    return pixels;
}

// What the server shows, as a picture has it.
inline std::vector<uint8_t> shownBy(Windows& client, const Area& area) {
    auto root = client.read(area);
    for (size_t i = 3; i < root.size(); i += 4) root[i] = 0xFF;
    return root;
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
