// What only the Linux library exports: its own syslog beside libc's, the main queue for hosts without a GLib loop, the
// questions to a pixel buffer.
#include <cstdarg>

#include "ScreenCapture/api/facade_call.h"
#include "ScreenCapture/platform/image.h"
#include "ScreenCapture/platform/linux/main_queue.h"
#include "orvo/screencapture_linux.h"
#include "xplatform/common/orvosyslog.h"

using orvo::platform::PixelBuffer;

// The base version, hidden: dlsym on this library finds it, while a host that links, preloads or opens the library
// keeps libc's function of the same name.
extern "C" ORVO_API void orvo_exported_syslog(int level, const char* module, int line, const char* format, ...);
__asm__(".symver orvo_exported_syslog,syslog@");

void orvo_exported_syslog(int level, const char* module, int line, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    orvo_vsyslog(level, module, line, format, arguments);
    va_end(arguments);
}

int orvo_screencapture_run_main_queue(int milliseconds) {
    return orvo::api::ask(0, [=](OrvoScreenCaptureImpl&) { return orvo::platform::linux::runMainQueue(milliseconds); });
}

namespace {

PixelBuffer* bufferOf(OrvoPixelBufferRef handle) {
    return reinterpret_cast<PixelBuffer*>(handle);
}

}  // namespace

OrvoPixelBufferRef orvo_pixelbuffer_retain(OrvoPixelBufferRef buffer) {
    if (buffer) bufferOf(buffer)->retain();
    return buffer;
}

void orvo_pixelbuffer_release(OrvoPixelBufferRef buffer) {
    if (buffer) bufferOf(buffer)->release();
}

size_t orvo_pixelbuffer_get_width(OrvoPixelBufferRef buffer) {
    return buffer ? bufferOf(buffer)->width() : 0;
}
size_t orvo_pixelbuffer_get_height(OrvoPixelBufferRef buffer) {
    return buffer ? bufferOf(buffer)->height() : 0;
}

size_t orvo_pixelbuffer_get_bytes_per_row(OrvoPixelBufferRef buffer) {
    return buffer ? bufferOf(buffer)->bytesPerRow() : 0;
}

int orvo_pixelbuffer_lock(OrvoPixelBufferRef buffer) {
    if (buffer) bufferOf(buffer)->lock();
    return 0;
}

int orvo_pixelbuffer_unlock(OrvoPixelBufferRef buffer) {
    if (buffer) bufferOf(buffer)->unlock();
    return 0;
}

const void* orvo_pixelbuffer_get_base_address(OrvoPixelBufferRef buffer) {
    return buffer ? bufferOf(buffer)->baseAddress() : nullptr;
}
