// Bitmaps in memory of this process, and the few idle blocks that the next ones are made of.
#include "ScreenCapture/platform/software/bitmap.h"

#include <cstdlib>
#include <mutex>
#include <new>
#include <utility>

namespace orvo::platform::software {
namespace {

constexpr size_t kAlignment = 64;
constexpr size_t kLargestIdleBlock = size_t{64} << 20;

struct Block {
    uint8_t* bytes = nullptr;
    size_t size = 0;
};

// A fresh block of a frame's size costs a page fault every 4096 bytes, more than scaling into it does. A capture goes
// back and forth between two blocks, so two are kept.
struct IdleBlocks {
    std::mutex mutex;
    Block blocks[2];
    size_t oldest = 0;
};
constinit IdleBlocks idle;

Block takeBlock(size_t size) {
    {
        std::lock_guard lock(idle.mutex);
        for (Block& block : idle.blocks)
            if (block.size == size) return std::exchange(block, {});
    }
    return {static_cast<uint8_t*>(std::aligned_alloc(kAlignment, size)), size};
}

void giveBlock(Block block) {
    if (block.size <= kLargestIdleBlock) {
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
    const Block block = takeBlock(blockSize(height, bytesPerRow));
    if (!block.bytes) return nullptr;
    auto* bitmap = new (std::nothrow) MemoryBitmap(width, height, bytesPerRow, bitsPerPixel, block.bytes);
    if (!bitmap) giveBlock(block);
    return Ref<MemoryBitmap>::adopt(bitmap);
}

MemoryBitmap::~MemoryBitmap() {
    giveBlock({pixels(), blockSize(height(), bytesPerRow())});
}

BitmapView::BitmapView(const Ref<Image>& image, const PixelRect& area)
    : Bitmap(area.width, area.height, image->bytesPerRow(),
             const_cast<uint8_t*>(image->bytes()) + static_cast<size_t>(area.y) * image->bytesPerRow() +
                 static_cast<size_t>(area.x) * 4),
      image_(image) {}

}  // namespace orvo::platform::software
