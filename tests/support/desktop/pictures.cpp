// Images with known pixels.
#include "support/desktop/pictures.h"

#include <algorithm>
#include <cstring>

namespace orvo::test {
namespace {

size_t rowBytes(int width, int bits) {
    return (static_cast<size_t>(width) * static_cast<size_t>(bits) / 8 + 63) / 64 * 64;
}

}  // namespace

Bitmap::Bitmap(int width, int height, int bits, int component, bool hidesBytes)
    : platform::software::Bitmap(
          width, height, rowBytes(width, bits),
          hidesBytes ? nullptr : new uint8_t[platform::software::imageMemory(height, rowBytes(width, bits))]()),
      bitsPerPixel_(bits),
      bitsPerComponent_(component) {}

Bitmap::~Bitmap() {
    delete[] pixels();
}

Pixel Bitmap::at(int x, int y) const {
    Pixel pixel;
    std::memcpy(pixel.data(), bytes() + static_cast<size_t>(y) * bytesPerRow() + static_cast<size_t>(x) * 4, 4);
    return pixel;
}

void Bitmap::set(int x, int y, const Pixel& pixel) {
    std::memcpy(pixels() + static_cast<size_t>(y) * bytesPerRow() + static_cast<size_t>(x) * 4, pixel.data(), 4);
}

std::pair<platform::Rect, Pixel> opaquePart(const Pixels& pixels) {
    int left = pixels.width, top = pixels.height, right = 0, bottom = 0;
    Pixel first{};
    for (int y = 0; y < pixels.height; ++y) {
        for (int x = 0; x < pixels.width; ++x) {
            Pixel pixel;
            std::memcpy(pixel.data(), static_cast<const char*>(pixels.bytes) + y * pixels.bytesPerRow + x * 4, 4);
            if (pixel[3] == 0) continue;
            if (right == 0) first = pixel;
            left = std::min(left, x);
            top = std::min(top, y);
            right = std::max(right, x + 1);
            bottom = y + 1;
        }
    }
    if (right == 0) return {};
    return {{1.0 * left, 1.0 * top, 1.0 * (right - left), 1.0 * (bottom - top)}, first};
}

platform::Picture pictureOf(platform::Ref<platform::Image> image, double scale) {
    const platform::Size size{image->width() / scale, image->height() / scale};
    return {size, image, {{size, image}}};
}

}  // namespace orvo::test
