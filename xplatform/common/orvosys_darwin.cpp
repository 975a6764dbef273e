// What the base runtime needs of macOS.
#include <assert.h>

#include "xplatform/common/orvoassert.h"

#ifdef NDEBUG
extern "C" [[noreturn]] void __assert_rtn(const char* function, const char* file, int line, const char* text);
#endif

void orvo_assert_failed(const char* function, const char* file, int line, const char* text) {
    __assert_rtn(function, file, line, text);
}
