// What the base runtime needs of macOS.
#include <assert.h>
#include <mach-o/dyld.h>
#include <sys/mount.h>
#include <sys/param.h>

#include "xplatform/common/orvoassert.h"
#include "xplatform/common/orvosys.h"

#ifdef NDEBUG
extern "C" [[noreturn]] void __assert_rtn(const char* function, const char* file, int line, const char* text);
#endif

void orvo_assert_failed(const char* function, const char* file, int line, const char* text) {
    __assert_rtn(function, file, line, text);
}

namespace orvo::sys {

bool executable_path(char* path, std::size_t size) {
    uint32_t capacity = static_cast<uint32_t>(size);
    return _NSGetExecutablePath(path, &capacity) == 0;
}

bool file_system_totals(const char* path, uint64_t* total, uint64_t* available) {
    struct statfs info;
    if (statfs(path, &info) != 0) return false;
    *total = info.f_blocks * uint64_t{info.f_bsize};
    *available = info.f_bavail * uint64_t{info.f_bsize};
    return true;
}

}  // namespace orvo::sys
