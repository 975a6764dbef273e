// What only the macOS library exports: its own syslog beside the C library's. Names are looked up by library there, so
// a host's calls of syslog go on reaching the C library's.
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
