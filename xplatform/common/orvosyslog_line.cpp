// The end of a line: the caller's message, and what happens when it does not fit.
#include "xplatform/common/orvosyslog_line.h"

#include <cstdio>

namespace orvo::log {

namespace {

// Intended: the mark of a cut line goes behind the terminator that the cut has set, so nobody sees it. It would move
// forward for a UTF-8 sequence in the last bytes, but the last of them is that terminator.
void mark_cut(char* buffer) {
    size_t at = kLineSize;
    if (static_cast<unsigned char>(buffer[at - 1]) & 0x80) {
        --at;
        if (static_cast<unsigned char>(buffer[at - 1]) & 0x80) --at;
    }
    memcpy(buffer + at, "...", 4);
}

}  // namespace

void print_message(char* buffer, size_t prefix, const char* format, va_list arguments) {
    char* text = buffer + prefix;
    size_t room = kLineSize - prefix;
    va_list again;
    va_copy(again, arguments);
    int length = vsnprintf(text, room, format ? format : "", arguments);
    if (length < 0) {
        // A failing vsnprintf says nothing about its end: printed once more over zeroes, what it wrote is terminated.
        memset(text, 0, room);
        vsnprintf(text, room - 1, format, again);
    }
    va_end(again);
    if (length < 0 || static_cast<size_t>(length) >= room) mark_cut(buffer);
}

}  // namespace orvo::log
