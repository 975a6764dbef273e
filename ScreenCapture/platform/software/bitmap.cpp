// Bitmaps in memory of this process, and the few idle blocks that the next ones are made of.
#include "ScreenCapture/platform/software/bitmap.h"

#include <cstdlib>
#include <cstring>
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
    size_t bytesPerRow = 0;
    int width = 0;

    bool isLike(const Block& other) const {
        return size == other.size && bytesPerRow == other.bytesPerRow && width == other.width;
    }
};

// A fresh block of a frame's size costs a page fault every 4096 bytes, more than scaling into it does. A capture goes
// back and forth between two blocks, so two are kept. What lies behind the rows' pixels was zero from the start and is
// not written, so a block returns to bitmaps of the same shape only.
struct IdleBlocks {
    std::mutex mutex;
    Block blocks[2];
    size_t oldest = 0;
};
constinit IdleBlocks idle;

// The block that was given back last is the one that a cache may still have.
Block takeBlock(Block wanted) {
    {
        std::lock_guard lock(idle.mutex);
        for (const size_t i : {idle.oldest ^ 1, idle.oldest})
            if (idle.blocks[i].bytes && idle.blocks[i].isLike(wanted)) {
                idle.oldest = i;
                return std::exchange(idle.blocks[i], {});
            }
    }
    wanted.bytes = static_cast<uint8_t*>(std::aligned_alloc(kAlignment, wanted.size));
    if (wanted.bytes && wanted.bytesPerRow > static_cast<size_t>(wanted.width) * 4)
        std::memset(wanted.bytes, 0, wanted.size);
    return wanted;
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
    const Block block = takeBlock({nullptr, blockSize(height, bytesPerRow), bytesPerRow, width});
    if (!block.bytes) return nullptr;
    auto* bitmap = new (std::nothrow) MemoryBitmap(width, height, bytesPerRow, bitsPerPixel, block.bytes);
    if (!bitmap) giveBlock(block);
    return Ref<MemoryBitmap>::adopt(bitmap);
}

MemoryBitmap::~MemoryBitmap() {
    giveBlock({pixels(), blockSize(height(), bytesPerRow()), bytesPerRow(), width()});
}

BitmapView::BitmapView(const Ref<Image>& image, const PixelRect& area)
    : Bitmap(area.width, area.height, image->bytesPerRow(),
             const_cast<uint8_t*>(image->bytes()) + static_cast<size_t>(area.y) * image->bytesPerRow() +
                 static_cast<size_t>(area.x) * 4),
      image_(image) {}

}  // namespace orvo::platform::software
