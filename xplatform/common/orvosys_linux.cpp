// What the base runtime needs of Linux.
#include <assert.h>
#include <sys/vfs.h>
#include <unistd.h>

#include "xplatform/common/orvoassert.h"
#include "xplatform/common/orvosys.h"

#ifdef NDEBUG
// <assert.h> hides the declaration from release builds; the C library always has the function.
extern "C" [[noreturn]] void __assert_fail(const char* text, const char* file, unsigned int line, const char* function);
#endif

void orvo_assert_failed(const char* function, const char* file, int line, const char* text) {
    __assert_fail(text, file, static_cast<unsigned int>(line), function);
}

namespace orvo::sys {

bool executable_path(char* path, std::size_t size) {
    const ssize_t length = readlink("/proc/self/exe", path, size);
    if (length <= 0 || static_cast<std::size_t>(length) >= size) return false;  // it may have been cut off
    path[length] = '\0';
    return true;
}

bool file_system_totals(const char* path, uint64_t* total, uint64_t* available) {
    struct statfs info;
    if (statfs(path, &info) != 0) return false;
    // In fragments: f_bsize is the size of a transfer.
    *total = uint64_t{info.f_blocks} * static_cast<uint64_t>(info.f_frsize);
    *available = uint64_t{info.f_bavail} * static_cast<uint64_t>(info.f_frsize);
    return true;
}

}  // namespace orvo::sys
