// What only the macOS library exports: its own syslog beside the C library's. A program binds a name to the first
// library of its link line that has it; the package files name the C library first.
#include <cstdarg>

#include "orvo/screencapture.h"
#include "xplatform/common/orvosyslog.h"

extern "C" ORVO_API void orvo_exported_syslog(int level, const char* module, int line, const char* format, ...)
    ORVO_SYMBOL("syslog");

void orvo_exported_syslog(int level, const char* module, int line, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    orvo_vsyslog(level, module, line, format, arguments);
    va_end(arguments);
}
