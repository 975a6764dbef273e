// Clocks, sleeping, random numbers, and numbers from text and back.
#include "xplatform/common/orvoutil.h"

#include <sys/times.h>
#include <time.h>

#include <atomic>
#include <cerrno>
#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <type_traits>

#include "xplatform/common/orvofailure.h"
#include "xplatform/common/orvosys_thread.h"
#include "xplatform/common/orvothread.h"

namespace {

constexpr uint64_t kNanosecondsPerMillisecond = 1000000;
constexpr size_t kDecimalSize = 21;  // the digits of the largest 64-bit number and a terminator

uint64_t microseconds() {
    timeval now{};
    if (gettimeofday(&now, nullptr) != 0) return 0;
    return static_cast<uint64_t>(now.tv_sec) * 1000000 + static_cast<uint64_t>(now.tv_usec);
}

int digit(char c, bool hexadecimal) {
    if (c >= '0' && c <= '9') return c - '0';
    if (!hexadecimal) return -1;
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

const char* skip_blanks(const char* text) {
    while (*text == ' ') ++text;
    return text;
}

// The one parser behind the four. It gathers in the unsigned type, so that what wraps is defined; a signed number has
// left its range when its top bit is set.
template <class Number>
int parse(const char* text, Number* out) {
    using Unsigned = std::make_unsigned_t<Number>;
    constexpr auto kMax = static_cast<Unsigned>(std::numeric_limits<Number>::max());
    if (!out) return 0;
    *out = 0;
    if (!text || !*text) return 0;
    const char* at = skip_blanks(text);
    bool negative = std::is_signed_v<Number> && *at == '-';
    if (negative || *at == '+') ++at;
    bool hexadecimal = at[0] == '0' && (at[1] == 'x' || at[1] == 'X');
    if (hexadecimal) at += 2;
    const Unsigned base = hexadecimal ? 16 : 10;
    Unsigned value = 0;
    bool fits = true;
    for (int next; (next = digit(*at, hexadecimal)) >= 0; ++at) {
        if (value > (kMax - static_cast<Unsigned>(next)) / base) fits = false;
        value = static_cast<Unsigned>(value * base + static_cast<Unsigned>(next));
    }
    *out = static_cast<Number>(negative ? Unsigned{0} - value : value);
    return fits && *skip_blanks(at) == '\0' ? 1 : 0;
}

}  // namespace

extern "C" {

uint64_t orvo_gettickcount(void) {
    return orvo::sys::tick_nanoseconds() / kNanosecondsPerMillisecond;
}

uint64_t orvo_gettickcount64(void) {
    return orvo_gettickcount();
}

void orvo_msleep(int milliseconds) {
    if (milliseconds < 0) return;
    timespec wait{milliseconds / 1000, milliseconds % 1000 * 1000000L};
    nanosleep(&wait, nullptr);
}

int orvo_gettimeofday(struct timeval* now) {
    if (!now) return orvo::kInvalidArgument;
    return gettimeofday(now, nullptr) == 0 ? 0 : errno;
}

uint64_t orvo_gettimeofday_second(void) {
    time_t now = time(nullptr);
    return now < 0 ? 0 : static_cast<uint64_t>(now);
}

uint64_t orvo_gettimeofday_millisecond(void) {
    return microseconds() / 1000;
}

uint64_t orvo_gettimeofday_microsecond(void) {
    return microseconds();
}

int orvo_rand(void) {
    static std::atomic<uint32_t> state = [] {
        tms unused{};
        return static_cast<uint32_t>(times(&unused)) + 100u * static_cast<uint32_t>(orvothread_selfid());
    }();
    // Intended: two threads may draw the same number, so that no lock is needed.
    uint32_t next = state.load(std::memory_order_relaxed) * 214013u + 2531011u;
    state.store(next, std::memory_order_relaxed);
    return static_cast<int>(next >> 16 & 0x7FFF);
}

void* orvo_rand16(void) {
    auto* values = static_cast<int32_t*>(malloc(4 * sizeof(int32_t)));
    if (!values) return nullptr;
    for (int i = 0; i < 4; ++i) values[i] = orvo_rand();
    return values;
}

bool orvo_isalldigit(const char* text) {
    if (!text) return false;
    while (digit(*text, false) >= 0) ++text;
    return *text == '\0';
}

bool orvo_uint642str(uint64_t value, char** text, unsigned int* length) {
    if (!text || !length) return false;
    *text = static_cast<char*>(malloc(kDecimalSize));
    if (!*text) return false;
    *length = static_cast<unsigned int>(snprintf(*text, kDecimalSize, "%" PRIu64, value));
    return true;
}

int orvo_str2int(const char* text, int32_t* out) {
    return parse(text, out);
}
int orvo_str2uint32(const char* text, uint32_t* out) {
    return parse(text, out);
}
int orvo_str2int64(const char* text, int64_t* out) {
    return parse(text, out);
}
int orvo_str2uint64(const char* text, uint64_t* out) {
    return parse(text, out);
}

}  // extern "C"
