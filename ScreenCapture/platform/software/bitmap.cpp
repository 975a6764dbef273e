// Bitmaps in memory of this process, and the few idle blocks that the next ones are made of.
#include "ScreenCapture/platform/software/bitmap.h"

#include <cstdlib>
#include <cstring>
#include <mutex>
#include <new>
#include <utility>

#include "ScreenCapture/platform/software/region.h"

namespace orvo::platform::software {
namespace {

constexpr size_t kAlignment = 64;
constexpr size_t kMaxIdleBlock = size_t{36} << 20;  // a frame of 3840x2160

// What lies behind the pixels of padded rows was zero from the start and is not written, so such a block returns to
// bitmaps of the same shape only. Any other serves a smaller bitmap too, within reason.
bool serves(const PixelBlock& block, const PixelBlock& wanted) {
    if (block.bytesPerRow == wanted.bytesPerRow && block.width == wanted.width && block.size == wanted.size)
        return true;
    return !block.isPadded() && !wanted.isPadded() && block.size >= wanted.size && block.size / 2 <= wanted.size;
}

// A fresh block of a frame's size costs a page fault every 4096 bytes, more than scaling into it does. A capture goes
// back and forth between two blocks, so two are kept.
struct IdleBlocks {
    std::mutex mutex;
    PixelBlock blocks[2];
    size_t oldest = 0;
};
constinit IdleBlocks idle;

// The block that was given back last is the one that a cache may still have.
PixelBlock takeBlock(PixelBlock wanted) {
    {
        std::lock_guard lock(idle.mutex);
        for (const size_t i : {idle.oldest ^ 1, idle.oldest})
            if (idle.blocks[i].bytes && serves(idle.blocks[i], wanted)) {
                idle.oldest = i;
                wanted.size = idle.blocks[i].size;
                wanted.bytes = std::exchange(idle.blocks[i], {}).bytes;
                return wanted;
            }
    }
    wanted.bytes = static_cast<uint8_t*>(std::aligned_alloc(kAlignment, wanted.size));
    if (wanted.bytes && wanted.isPadded()) std::memset(wanted.bytes, 0, wanted.size);
    return wanted;
}

void giveBlock(PixelBlock block) {
    if (block.size <= kMaxIdleBlock) {
        std::lock_guard lock(idle.mutex);
        std::swap(block, idle.blocks[idle.oldest]);
        idle.oldest ^= 1;
    }
    std::free(block.bytes);
}

size_t blockSize(int height, size_t bytesPerRow) {
    return (imageMemory(height, bytesPerRow) + kAlignment - 1) / kAlignment * kAlignment;
}

}  // namespace

Ref<MemoryBitmap> MemoryBitmap::make(int width, int height, size_t bytesPerRow, int bitsPerPixel) {
    if (width <= 0 || height <= 0 || bytesPerRow > SIZE_MAX / 4 / (static_cast<size_t>(height) + 1)) return nullptr;
    const PixelBlock block = takeBlock({nullptr, blockSize(height, bytesPerRow), bytesPerRow, width});
    if (!block.bytes) return nullptr;
    auto* bitmap = new (std::nothrow) MemoryBitmap(block, height, bitsPerPixel);
    if (!bitmap) giveBlock(block);
    return Ref<MemoryBitmap>::adopt(bitmap);
}

MemoryBitmap::~MemoryBitmap() {
    giveBlock(block_);
}

void MemoryBitmap::clear(const PixelRect& area) {
    const PixelRect inside = intersection(area, {0, 0, width(), height()});
    if (inside.empty()) return;
    uint8_t* row = data() + static_cast<size_t>(inside.y) * bytesPerRow() + static_cast<size_t>(inside.x) * 4;
    for (int y = 0; y < inside.height; ++y, row += bytesPerRow())
        std::memset(row, 0, static_cast<size_t>(inside.width) * 4);
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
