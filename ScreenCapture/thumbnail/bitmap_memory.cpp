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

constexpr size_t kMostBytes = size_t{24} << 20;    // 52 pictures of 400x300
constexpr size_t kLeastBlock = size_t{128} << 10;  // the heap has smaller ones without a fault

// Few sizes, so that what is kept fits windows of about the same proportions.
size_t rounded(size_t size) {
    return size < kLeastBlock ? size : (size + kLeastBlock - 1) / kLeastBlock * kLeastBlock;
}

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

// Whole pages only can be the system's to take. Where it does not want them they stay as they are.
void advise(const Block& block, int advice) {
    static const auto pageSize = static_cast<uintptr_t>(sysconf(_SC_PAGESIZE));
    const auto begin = reinterpret_cast<uintptr_t>(block.memory);
    const uintptr_t first = (begin + pageSize - 1) / pageSize * pageSize;
    const uintptr_t end = (begin + block.size) / pageSize * pageSize;
    if (first < end) madvise(block.memory + (first - begin), end - first, advice);
}

// The heap keeps the pages of free memory as long as anything above it is in use, so they are given back first: a list
// of hundreds of windows would stay in memory for good.
void release(const Block& block) {
    if (block) advise(block, MADV_DONTNEED);
    delete[] block.memory;
}

}  // namespace

unsigned char* takeMemory(size_t size) {
    unsigned char* memory = kept.take(rounded(size));
    return memory ? memory : new unsigned char[rounded(size)];
}

void giveMemory(unsigned char* memory, size_t size) {
    const Block block{memory, rounded(size)};
    // Before it is kept: another thread may take it from there and write it.
    if (memory && size >= kLeastBlock) advise(block, MADV_FREE);
    if (!memory || !kept.add(block)) release(block);
}

size_t freeKeptMemory() {
    size_t bytes = 0;
    while (const Block block = kept.takeAny()) {
        bytes += block.size;
        release(block);
    }
    return bytes;
}

}  // namespace orvo::thumbnail
