// Parts of a line: local time, and the caller's message, also when it does not fit.
#include "xplatform/common/orvosyslog_line.h"

#include <atomic>
#include <cstdio>

namespace orvo::log {

namespace {

constinit std::atomic<time_t> g_zone_looked_up{0};

// Intended: the mark of a cut line goes after the terminator that the cut has set, so nobody sees it. It would move
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

size_t print_local_time(char* text, size_t size, const char* format, time_t time) {
    // localtime_r() alone keeps the zone of its first call.
    const time_t now = ::time(nullptr);
    if (g_zone_looked_up.exchange(now, std::memory_order_relaxed) != now) tzset();
    tm local{};
    if (localtime_r(&time, &local) == nullptr) local = tm{};
    return strftime(text, size, format, &local);
}

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
