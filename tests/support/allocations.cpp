// The test program's `new`.
#include "support/allocations.h"

#include <atomic>
#include <cstdlib>
#include <new>
#include <utility>

namespace {

constinit thread_local size_t toFail = 0;
constinit thread_local int count = 0;
constinit thread_local bool failed = false;
constinit thread_local bool paused = false;
constinit std::atomic<long> live{0};

void* allocate(size_t size) noexcept {
    if (toFail != 0 && !paused && --toFail == 0) {
        failed = true;
        return nullptr;
    }
    ++live;
    ++count;
    return std::malloc(size ? size : 1);
}

void* allocateOrThrow(size_t size) {
    if (void* block = allocate(size)) return block;
    throw std::bad_alloc();
}

void release(void* block) noexcept {
    if (block) --live;
    std::free(block);
}

}  // namespace

// All forms: a sanitizer has its own of those that are left out.
// clang-format off
void* operator new(size_t size) { return allocateOrThrow(size); }
void* operator new[](size_t size) { return allocateOrThrow(size); }
void* operator new(size_t size, const std::nothrow_t&) noexcept { return allocate(size); }
void* operator new[](size_t size, const std::nothrow_t&) noexcept { return allocate(size); }
void operator delete(void* block) noexcept { release(block); }
void operator delete[](void* block) noexcept { release(block); }
void operator delete(void* block, size_t) noexcept { release(block); }
void operator delete[](void* block, size_t) noexcept { release(block); }
// clang-format on

namespace orvo::test {

void failAllocation(size_t n) {
    toFail = n;
    failed = false;
}
bool allocationFailed() {
    return failed;
}
long liveBlocks() {
    return live;
}
int allocationsOfThread() {
    return count;
}

OwnWork::OwnWork() : before_(std::exchange(paused, true)) {}
OwnWork::~OwnWork() {
    paused = before_;
}

}  // namespace orvo::test
