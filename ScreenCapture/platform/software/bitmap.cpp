// Bitmaps in memory of this process.
#include "ScreenCapture/platform/software/bitmap.h"

#include <new>

namespace orvo::platform::software {

using namespace ORVO::BASE;

namespace {

constexpr size_t kAlignment = 64;

// The pool's memory is aligned for any type only, so what is taken is longer than the pixels by one alignment.
uint8_t* aligned(uint8_t* memory) {
    const auto address = reinterpret_cast<uintptr_t>(memory);
    return memory + ((address + kAlignment - 1) / kAlignment * kAlignment - address);
}

}  // namespace

Ref<MemoryBitmap> MemoryBitmap::make(int width, int height, size_t bytesPerRow, int bitsPerPixel) {
    if (width <= 0 || height <= 0 || bytesPerRow > SIZE_MAX / 4 / (static_cast<size_t>(height) + 1)) return nullptr;
    const size_t pixelBytes = static_cast<size_t>(width) * 4;
    const PaddedRows rows = bytesPerRow > pixelBytes ? PaddedRows{bytesPerRow, pixelBytes} : PaddedRows();
    const size_t size = imageMemory(height, bytesPerRow) + kAlignment;
    uint8_t* const memory = takePixelMemory(size, rows);
    if (!memory) return nullptr;
    auto* bitmap = new (std::nothrow) MemoryBitmap(width, height, bytesPerRow, aligned(memory), bitsPerPixel);
    if (!bitmap) {
        givePixelMemory(memory, size, rows);
        return nullptr;
    }
    bitmap->memory_ = memory;
    bitmap->memorySize_ = size;
    bitmap->rows_ = rows;
    return Ref<MemoryBitmap>::adopt(bitmap);
}

MemoryBitmap::~MemoryBitmap() {
    givePixelMemory(memory_, memorySize_, rows_);
}

BitmapView::BitmapView(const Ref<Image>& image, const PixelRect& area)
    : Bitmap(area.width, area.height, image->bytesPerRow(),
             const_cast<uint8_t*>(image->bytes()) + static_cast<size_t>(area.y) * image->bytesPerRow() +
                 static_cast<size_t>(area.x) * 4),
      image_(image) {}

Picture pictureOf(const std::vector<Ref<Image>>& bitmaps) {
    Picture picture;
    for (const Ref<Image>& bitmap : bitmaps) {
        const Size size{static_cast<double>(bitmap->width()), static_cast<double>(bitmap->height())};
        picture.representations.push_back({size, bitmap});
        if (picture.image && size.width <= picture.size.width) continue;
        picture.size = size;
        picture.image = bitmap;
    }
    return picture;
}

}  // namespace orvo::platform::software
