// Memory for pixels: one pool of the blocks that came back.
#include "common/utils/orvo_pixel_memory.h"

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <mutex>
#include <new>

namespace ORVO::BASE {
namespace {

constexpr size_t kMinBlock = size_t{128} << 10;    // the heap has smaller ones without a fault
constexpr size_t kMaxBlock = size_t{36} << 20;     // a frame of 3840x2160
constexpr size_t kMaxOldBytes = size_t{24} << 20;  // 52 pictures of 400x300
constexpr size_t kNewBlocks = 2;

// Few sizes, so that what is kept fits windows of about the same proportions.
size_t rounded(size_t size) {
    return size < kMinBlock ? size : (size + kMinBlock - 1) / kMinBlock * kMinBlock;
}

struct Block {
    unsigned char* memory = nullptr;
    size_t size = 0;
    PaddedRows rows;
};

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
    if (block.memory && block.size >= kMinBlock) advise(block, MADV_DONTNEED);
    delete[] block.memory;
}

// The blocks in the order in which they came back. Those before firstNew_ are old: their pages are the system's to
// take. A block is taken out while its pages are given up, for another thread could take and write it meanwhile.
class Pool {
  public:
    unsigned char* take(size_t size, const PaddedRows& rows) {
        std::lock_guard lock(mutex_);
        for (size_t i = count_; i-- > 0;)
            if (blocks_[i].size == size && blocks_[i].rows == rows) return takeAt(i).memory;
        return nullptr;
    }

    void give(const Block& block) {
        if (block.size < kMinBlock || block.size > kMaxBlock) return release(block);
        Block aged;
        {
            std::lock_guard lock(mutex_);
            if (count_ - firstNew_ == kNewBlocks) aged = takeAt(firstNew_);
            blocks_[count_++] = block;
        }
        // What the gaps of padded rows hold would be lost with the pages.
        if (!aged.memory || aged.rows != PaddedRows()) return release(aged);
        advise(aged, MADV_FREE);
        {
            std::lock_guard lock(mutex_);
            if (aged.size <= kMaxOldBytes - oldBytes_) {
                std::copy_backward(&blocks_[firstNew_], &blocks_[count_], &blocks_[count_ + 1]);
                blocks_[firstNew_++] = aged;
                count_++;
                oldBytes_ += aged.size;
                return;
            }
        }
        release(aged);
    }

    Block takeAny() {
        std::lock_guard lock(mutex_);
        return count_ > 0 ? takeAt(count_ - 1) : Block();
    }

  private:
    Block takeAt(size_t i) {
        const Block block = blocks_[i];
        std::copy(&blocks_[i + 1], &blocks_[count_], &blocks_[i]);
        count_--;
        if (i < firstNew_) {
            firstNew_--;
            oldBytes_ -= block.size;
        }
        return block;
    }

    std::mutex mutex_;
    std::array<Block, kMaxOldBytes / kMinBlock + kNewBlocks> blocks_;
    size_t count_ = 0;
    size_t firstNew_ = 0;
    size_t oldBytes_ = 0;
};
constinit Pool pool;

}  // namespace

unsigned char* takePixelMemory(size_t size, const PaddedRows& rows) noexcept {
    if (size > SIZE_MAX - kMinBlock) return nullptr;
    size = rounded(size);
    if (unsigned char* const memory = pool.take(size, rows)) return memory;
    auto* const memory = new (std::nothrow) unsigned char[size];
    if (memory && rows != PaddedRows()) std::memset(memory, 0, size);
    return memory;
}

void givePixelMemory(unsigned char* memory, size_t size, const PaddedRows& rows) noexcept {
    if (memory) pool.give({memory, rounded(size), rows});
}

size_t freeKeptPixelMemory() noexcept {
    size_t bytes = 0;
    for (Block block = pool.takeAny(); block.memory; block = pool.takeAny()) {
        bytes += block.size;
        release(block);
    }
    return bytes;
}

}  // namespace ORVO::BASE
