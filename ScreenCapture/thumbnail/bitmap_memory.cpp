// Memory for the pixels that a host is given.
#include "ScreenCapture/thumbnail/bitmap_memory.h"

#include <sys/mman.h>
#include <unistd.h>

#include <array>
#include <cstdint>
#include <mutex>
#include <utility>

namespace orvo::thumbnail {
namespace {

constexpr size_t kMostBytes = size_t{32} << 20;    // 69 pictures of 400x300
constexpr size_t kLeastBlock = size_t{128} << 10;  // the heap has smaller ones without a fault

struct Block {
    unsigned char* memory = nullptr;
    size_t size = 0;
    explicit operator bool() const { return memory != nullptr; }
};

struct KeptBlocks {
    std::mutex mutex;
    std::array<Block, kMostBytes / kLeastBlock> blocks;
    size_t count = 0;
    size_t bytes = 0;

    unsigned char* take(size_t size) {
        std::lock_guard lock(mutex);
        for (size_t i = count; i-- > 0;) {
            if (blocks[i].size == size) return takeAt(i).memory;
        }
        return nullptr;
    }
    Block takeAny() {
        std::lock_guard lock(mutex);
        return count > 0 ? takeAt(count - 1) : Block{};
    }
    bool add(const Block& block) {
        std::lock_guard lock(mutex);
        if (block.size < kLeastBlock || block.size > kMostBytes - bytes) return false;
        blocks[count++] = block;
        bytes += block.size;
        return true;
    }

  private:
    Block takeAt(size_t i) {
        bytes -= blocks[i].size;
        return std::exchange(blocks[i], blocks[--count]);
    }
};
constinit KeptBlocks kept;

// Whole pages only can be the system's to take.
void offerPages(const Block& block) {
    static const auto pageSize = static_cast<uintptr_t>(sysconf(_SC_PAGESIZE));
    const auto begin = reinterpret_cast<uintptr_t>(block.memory);
    const uintptr_t first = (begin + pageSize - 1) / pageSize * pageSize;
    const uintptr_t end = (begin + block.size) / pageSize * pageSize;
    // Where the system does not want them they stay as they are.
    if (first < end) madvise(block.memory + (first - begin), end - first, MADV_FREE);
}

}  // namespace

unsigned char* takeMemory(size_t size) {
    unsigned char* memory = kept.take(size);
    return memory ? memory : new unsigned char[size];
}

void giveMemory(unsigned char* memory, size_t size) {
    const Block block{memory, size};
    if (memory && size >= kLeastBlock) offerPages(block);
    if (!memory || !kept.add(block)) delete[] memory;
}

size_t freeKeptMemory() {
    size_t bytes = 0;
    while (const Block block = kept.takeAny()) {
        bytes += block.size;
        delete[] block.memory;
    }
    return bytes;
}

}  // namespace orvo::thumbnail
