// Images with known pixels, and the buffers of the device path made of them.
#pragma once

#include <array>
#include <atomic>
#include <vector>

#include "ScreenCapture/platform/software/bitmap.h"

namespace orvo::test {

using Pixel = std::array<uint8_t, 4>;  // as it lies in memory: B, G, R, A

// Every window and display shows this pattern: a pixel tells whose it is and where it lies, modulo 256.
constexpr Pixel patternPixel(uint32_t number, int x, int y) {
    return {static_cast<uint8_t>(x), static_cast<uint8_t>(y), static_cast<uint8_t>(number), 0xFF};
}

// Rows are aligned to 64 bytes, so that most images have padding.
class Bitmap final : public platform::software::Bitmap {
  public:
    Bitmap(int width, int height, int bits = 32, int component = 8, bool hidesBytes = false);
    ~Bitmap() override;

    int bitsPerPixel() const override { return bitsPerPixel_; }
    int bitsPerComponent() const override { return bitsPerComponent_; }
    uint8_t* paint(const platform::PixelRect&) override { return pixels(); }
    uint64_t version() const override { return versionNumber; }
    const std::vector<platform::PixelRect>* changed() const override { return since != 0 ? &changes : nullptr; }
    uint64_t changedSince() const override { return since; }

    Pixel at(int x, int y) const;
    void set(int x, int y, const Pixel& pixel);

    uint64_t versionNumber = 0;
    uint64_t since = 0;  // the version that the changes are relative to
    std::vector<platform::PixelRect> changes;

  private:
    const int bitsPerPixel_;
    const int bitsPerComponent_;
};

template <typename Paint>
platform::Ref<Bitmap> painted(int width, int height, Paint paint) {
    auto bitmap = platform::makeCounted<Bitmap>(width, height);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) bitmap->set(x, y, paint(x, y));
    return bitmap;
}
inline platform::Ref<Bitmap> filled(int width, int height, const Pixel& pixel) {
    return painted(width, height, [&](int, int) { return pixel; });
}
inline platform::Ref<Bitmap> pattern(uint32_t number, int width, int height) {
    return painted(width, height, [=](int x, int y) { return patternPixel(number, x, y); });
}

// A picture of one bitmap whose size in points is its size in pixels divided by the scale.
platform::Picture pictureOf(platform::Ref<platform::Image> image, double scale = 1);

// The smallest rectangle around what is not transparent, and its first pixel.
struct Pixels {
    Pixels(const void* first, int w, int h, int stride) : bytes(first), width(w), height(h), bytesPerRow(stride) {}
    Pixels(const Bitmap& image) : Pixels(image.bytes(), image.width(), image.height(), int(image.bytesPerRow())) {}
    const void* bytes;
    int width, height, bytesPerRow;
};
std::pair<platform::Rect, Pixel> opaquePart(const Pixels& pixels);

// What a frame of the device is handed over in. Tests may give it planes and a display size of their own.
class FrameBuffer final : public platform::PixelBuffer {
  public:
    explicit FrameBuffer(platform::Ref<Bitmap> image) : image_(std::move(image)) {}

    int width() const override { return image_->width(); }
    int height() const override { return image_->height(); }
    platform::Size displaySize() const override { return shown.width > 0 ? shown : PixelBuffer::displaySize(); }
    size_t bytesPerRow() const override { return image_->bytesPerRow(); }
    size_t planeCount() const override { return planes.empty() ? 0 : planes.size() - 1; }
    void lock() override { ++locks; }
    void unlock() override { --locks; }
    const void* baseAddress() const override { return locks > 0 ? image_->bytes() : nullptr; }
    const void* baseAddressOfPlane(size_t plane) const override { return planes.at(plane); }
    const void* hostHandle() const override { return this; }

    std::vector<const void*> planes;  // addresses; one more than there are planes
    platform::Size shown;             // display size; zero: the buffer's own
    std::atomic<int> locks{0};        // held now

  private:
    platform::Ref<Bitmap> image_;
};

}  // namespace orvo::test
