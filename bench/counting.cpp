// Counts what this process asks of the C library, by standing in front of it: a program's functions come before those
// of its libraries.
#include "counting.h"

#include <dlfcn.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/uio.h>

#include <cstddef>

namespace bench {

std::atomic<uint64_t> allocations = 0, sends = 0, receives = 0;

namespace {

template <typename Function>
Function* next(const char* name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

// Lines for a console are written in the same way, and are no messages.
void countSend(int descriptor) {
    struct stat status {};
    if (fstat(descriptor, &status) == 0 && S_ISSOCK(status.st_mode)) sends.fetch_add(1, std::memory_order_relaxed);
}

}  // namespace
}  // namespace bench

extern "C" {

void* __libc_malloc(size_t);
void* __libc_calloc(size_t, size_t);
void* __libc_realloc(void*, size_t);

void* malloc(size_t size) {
    bench::allocations.fetch_add(1, std::memory_order_relaxed);
    return __libc_malloc(size);
}
void* calloc(size_t count, size_t size) {
    bench::allocations.fetch_add(1, std::memory_order_relaxed);
    return __libc_calloc(count, size);
}
void* realloc(void* memory, size_t size) {
    bench::allocations.fetch_add(1, std::memory_order_relaxed);
    return __libc_realloc(memory, size);
}

ssize_t writev(int descriptor, const iovec* parts, int count) {
    static auto* const real = bench::next<decltype(writev)>("writev");
    bench::countSend(descriptor);
    return real(descriptor, parts, count);
}
ssize_t sendmsg(int descriptor, const msghdr* message, int flags) {
    static auto* const real = bench::next<decltype(sendmsg)>("sendmsg");
    bench::countSend(descriptor);
    return real(descriptor, message, flags);
}
ssize_t recvmsg(int descriptor, msghdr* message, int flags) {
    static auto* const real = bench::next<decltype(recvmsg)>("recvmsg");
    const ssize_t got = real(descriptor, message, flags);
    if (got > 0) bench::receives.fetch_add(1, std::memory_order_relaxed);
    return got;
}
}
