// Bitmaps in memory of this process: image and pixel buffer in one object, so that wrapping one costs nothing.
#pragma once

#include <cstdint>
#include <vector>

#include "ScreenCapture/platform/image.h"
#include "common/utils/orvo_pixel_memory.h"

namespace orvo::platform::software {

// How much memory an image needs: a row more than its pixels. A host counts whole rows from the first byte on, which in
// the view of a part would lead beyond the last row.
constexpr size_t imageMemory(int height, size_t bytesPerRow) {
    return (static_cast<size_t>(height) + 1) * bytesPerRow;
}

// Common to everything whose pixels this process can read: 32-bit BGRA unless said otherwise.
class Bitmap : public Image, public PixelBuffer {
  public:
    int width() const final { return width_; }
    int height() const final { return height_; }
    size_t bytesPerRow() const final { return bytesPerRow_; }
    const uint8_t* bytes() const final { return pixels_; }
    void lock() final {}
    void unlock() final {}
    const void* baseAddress() const final { return pixels_; }
    const void* hostHandle() const final { return static_cast<const PixelBuffer*>(this); }
    PixelBuffer* pixelBuffer() final { return this; }

  protected:
    // pixels: the first byte of the top row, owned by the derived class.
    Bitmap(int width, int height, size_t bytesPerRow, uint8_t* pixels)
        : pixels_(pixels), bytesPerRow_(bytesPerRow), width_(width), height_(height) {}
    uint8_t* pixels() const { return pixels_; }

  private:
    uint8_t* pixels_;
    size_t bytesPerRow_;
    int width_;
    int height_;
};

// Owns its memory, aligned to 64 bytes. The maker writes every pixel; what lies behind the pixels of a row is zero, if
// it is longer than 32-bit pixels need, and stays so.
class MemoryBitmap final : public Bitmap {
  public:
    // Null when the size is empty or there is no memory for it.
    static Ref<MemoryBitmap> make(int width, int height, size_t bytesPerRow, int bitsPerPixel = 32);
    ~MemoryBitmap() override;

    int bitsPerPixel() const override { return bitsPerPixel_; }
    uint8_t* paint(const PixelRect&) override { return pixels(); }
    uint8_t* data() { return pixels(); }

  private:
    MemoryBitmap(int width, int height, size_t bytesPerRow, uint8_t* pixels, int bitsPerPixel)
        : Bitmap(width, height, bytesPerRow, pixels), bitsPerPixel_(bitsPerPixel) {}

    uint8_t* memory_ = nullptr;  // of the pool
    size_t memorySize_ = 0;
    ORVO::BASE::PaddedRows rows_;
    const int bitsPerPixel_;
};

// A rectangle of another image's pixels, which it keeps alive. It cannot be painted: the pixels are not its own.
class BitmapView final : public Bitmap {
  public:
    // area: inside the image, whose bytes can be read.
    BitmapView(const Ref<Image>& image, const PixelRect& area);
    uint8_t* paint(const PixelRect&) override { return nullptr; }

  private:
    Ref<Image> image_;
};

// One pixel 0xAARRGGBB with its colours multiplied by alpha, as pictures with alpha hold them; each value is 0 to 255.
constexpr uint32_t premultiplied(uint32_t alpha, uint32_t red, uint32_t green, uint32_t blue) {
    const auto times = [alpha](uint32_t value) { return (value * alpha + 127) / 255; };
    return alpha << 24 | times(red) << 16 | times(green) << 8 | times(blue);
}

// A picture of the same thing in several sizes, one point a pixel; the largest is the picture's own bitmap.
Picture pictureOf(const std::vector<Ref<Image>>& bitmaps);

}  // namespace orvo::platform::software
