// Images with known pixels, and the buffers made of them.
#include "support/desktop/pictures.h"

#include <cstring>

#include "ScreenCapture/platform/software/bitmap.h"

namespace orvo::test {

Bitmap::Bitmap(int width, int height, int bitsPerPixel, int bitsPerComponent)
    : width_(width),
      height_(height),
      bitsPerPixel_(bitsPerPixel),
      bitsPerComponent_(bitsPerComponent),
      bytesPerRow_((static_cast<size_t>(width) * static_cast<size_t>(bitsPerPixel) / 8 + 63) / 64 * 64),
      // A row more: a host counts whole rows from the first byte of a part on.
      pixels_(std::make_unique<uint8_t[]>(bytesPerRow_ * (static_cast<size_t>(height) + 1))) {}

Pixel Bitmap::at(int x, int y) const {
    Pixel pixel;
    std::memcpy(pixel.data(), first() + static_cast<size_t>(y) * bytesPerRow_ + static_cast<size_t>(x) * 4, 4);
    return pixel;
}

void Bitmap::set(int x, int y, const Pixel& pixel) {
    std::memcpy(first() + static_cast<size_t>(y) * bytesPerRow_ + static_cast<size_t>(x) * 4, pixel.data(), 4);
}

platform::Ref<Bitmap> filled(int width, int height, const Pixel& pixel) {
    auto bitmap = platform::makeCounted<Bitmap>(width, height);
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) bitmap->set(x, y, pixel);
    }
    return bitmap;
}

platform::Ref<Bitmap> pattern(uint32_t number, int width, int height) {
    auto bitmap = platform::makeCounted<Bitmap>(width, height);
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) bitmap->set(x, y, patternPixel(number, x, y));
    }
    return bitmap;
}

platform::Picture pictureOf(platform::Ref<platform::Image> image, double scale) {
    const platform::Size size{image->width() / scale, image->height() / scale};
    return {size, image, {{size, image}}};
}

platform::Size FrameBuffer::displaySize() const {
    return shown == platform::Size{} ? PixelBuffer::displaySize() : shown;
}

}  // namespace orvo::test
