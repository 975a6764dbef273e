// What the base runtime needs of Linux.
#include <assert.h>

#include "xplatform/common/orvoassert.h"

#ifdef NDEBUG
// <assert.h> hides the declaration from release builds; the C library always has the function.
extern "C" [[noreturn]] void __assert_fail(const char* text, const char* file, unsigned int line, const char* function);
#endif

void orvo_assert_failed(const char* function, const char* file, int line, const char* text) {
    __assert_fail(text, file, static_cast<unsigned int>(line), function);
}
