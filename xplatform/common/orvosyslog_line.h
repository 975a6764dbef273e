// A line under construction in a buffer of fixed size: what does not fit is cut. Internal.
#pragma once

#include <charconv>
#include <cstdarg>
#include <cstddef>
#include <cstring>
#include <ctime>

namespace orvo::log {

// A line is this long with its terminator; the slack takes the mark that is written after a cut line.
constexpr size_t kLineSize = 10240;
constexpr size_t kLineSlack = 7;

// Prints the caller's message after the first `prefix` bytes of a buffer of kLineSize + kLineSlack bytes, cut to
// kLineSize with its terminator.
void print_message(char* buffer, size_t prefix, const char* format, va_list arguments);

// Prints local time as strftime() does, in the zone that holds now: the system's, and the environment's, is looked up
// again once a second.
size_t print_local_time(char* text, size_t size, const char* format, time_t time);

class Line {
  public:
    // `room` bytes at `buffer` are written at most; no terminator is.
    Line(char* buffer, size_t room) : begin_(buffer), at_(buffer), end_(buffer + room) {}

    size_t length() const { return static_cast<size_t>(at_ - begin_); }

    Line& append(const char* text, size_t length) {
        size_t room = static_cast<size_t>(end_ - at_);
        if (length > room) length = room;
        memcpy(at_, text, length);
        at_ += length;
        return *this;
    }
    Line& append(const char* text) { return append(text, strlen(text)); }

    template <class Integer>
    Line& append_number(Integer value) {
        char digits[24];
        auto last = std::to_chars(digits, digits + sizeof(digits), value).ptr;
        return append(digits, static_cast<size_t>(last - digits));
    }

  private:
    char* begin_;
    char* at_;
    char* end_;
};

}  // namespace orvo::log
