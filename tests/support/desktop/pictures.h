// Images with known pixels, and the buffers made of them.
#pragma once

#include <array>
#include <atomic>
#include <memory>
#include <vector>

#include "ScreenCapture/platform/image.h"

namespace orvo::test {

using Pixel = std::array<uint8_t, 4>;  // as it lies in memory: B, G, R, A
constexpr Pixel nothing{0, 0, 0, 0};

// Every window and display shows this pattern: a pixel tells whose it is and where it lies, modulo 256.
constexpr Pixel patternPixel(uint32_t number, int x, int y) {
    return {static_cast<uint8_t>(x), static_cast<uint8_t>(y), static_cast<uint8_t>(number), 0xFF};
}

// Rows are aligned to 64 bytes, so that most images have padding.
class Bitmap final : public platform::Image {
  public:
    Bitmap(int width, int height, int bitsPerPixel = 32, int bitsPerComponent = 8);

    int width() const override { return width_; }
    int height() const override { return height_; }
    size_t bytesPerRow() const override { return bytesPerRow_; }
    int bitsPerPixel() const override { return bitsPerPixel_; }
    int bitsPerComponent() const override { return bitsPerComponent_; }
    const uint8_t* bytes() const override { return hidesBytes ? nullptr : first(); }
    uint8_t* paint(const platform::PixelRect&) override { return hidesBytes ? nullptr : first(); }
    uint64_t version() const override { return versionNumber; }

    Pixel at(int x, int y) const;
    void set(int x, int y, const Pixel& pixel);

    bool hidesBytes = false;
    uint64_t versionNumber = 0;

  private:
    uint8_t* first() const { return pixels_.get(); }

    int width_;
    int height_;
    int bitsPerPixel_;
    int bitsPerComponent_;
    size_t bytesPerRow_;
    std::unique_ptr<uint8_t[]> pixels_;
};

platform::Ref<Bitmap> filled(int width, int height, const Pixel& pixel);
platform::Ref<Bitmap> pattern(uint32_t number, int width, int height);

// A picture of one bitmap whose size in points is its size in pixels divided by the scale.
platform::Picture pictureOf(platform::Ref<platform::Image> image, double scale = 1);

// What a frame is handed over in. Tests may give it planes, a display size and rows of their own.
class FrameBuffer final : public platform::PixelBuffer {
  public:
    explicit FrameBuffer(platform::Ref<platform::Image> image) : image_(std::move(image)) {}

    int width() const override { return image_->width(); }
    int height() const override { return image_->height(); }
    platform::Size displaySize() const override;
    size_t bytesPerRow() const override { return image_->bytesPerRow(); }
    size_t planeCount() const override { return planes.empty() ? 0 : planes.size() - 1; }
    void lock() override { ++locks; }
    void unlock() override { ++unlocks; }
    const void* baseAddress() const override { return image_->bytes(); }
    const void* baseAddressOfPlane(size_t plane) const override { return planes.at(plane); }
    const void* hostHandle() const override { return this; }

    std::vector<const void*> planes;  // addresses; one more than there are planes
    platform::Size shown;             // display size; zero: the buffer's own
    std::atomic<int> locks{0};
    std::atomic<int> unlocks{0};

  private:
    platform::Ref<platform::Image> image_;
};

}  // namespace orvo::test
