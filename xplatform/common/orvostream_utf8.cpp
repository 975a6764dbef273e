// Owned 8-bit text.
#include <algorithm>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <iterator>

#include "xplatform/common/orvostream_text.h"

namespace orvo {

strutf8::strutf8(const char* text, unsigned int length) : storage(text, measured(text, length)) {}
strutf8::strutf8(const char16_t* units, unsigned int length) {
    orvoutf162utf8(units, static_cast<unsigned int>(measured(units, length)), *this);
}
strutf8::strutf8(const strutf16& other) {
    *this = other;
}
strutf8::strutf8(const strutf8& other) : storage(other.data_, other.length_) {}
strutf8::strutf8(strutf8&& other) noexcept = default;
strutf8::~strutf8() = default;

strutf8& strutf8::operator=(const char* text) {
    assign(text, measured(text, 0));
    return *this;
}

strutf8& strutf8::operator=(const char16_t* units) {
    return *this = strutf8(units);
}

strutf8& strutf8::operator=(const strutf16& other) {
    orvoutf162utf8(other.data(), other.size(), *this);
    return *this;
}

strutf8& strutf8::operator=(const strutf8& other) {
    assign(other.data_, other.length_);
    return *this;
}

strutf8& strutf8::operator=(strutf8&& other) noexcept {
    strutf8 taken(std::move(other));
    swap(taken);
    return *this;
}

strutf8& strutf8::append(const char* text) {
    append(text, measured(text, 0));
    return *this;
}

strutf8& strutf8::append(const strutf8& other) {
    append(other.data_, other.length_);
    return *this;
}

strutf8& strutf8::append(const strutf8& other, unsigned int position, unsigned int n) {
    if (position > other.length_) return *this;
    const unsigned int rest = other.length_ - position;
    if (n == npos) n = rest;
    if (n <= rest && n != 0) append(other.data_ + position, n);
    return *this;
}

strutf8 strutf8::operator+(const char* text) const {
    return strutf8(*this).append(text);
}
strutf8 strutf8::operator+(const strutf8& other) const {
    return strutf8(*this).append(other);
}

bool strutf8::format(const char* format, ...) {
    constexpr std::size_t kFirstSize = 1024, kLastDoubled = 262144;
    strutf8 text;  // apart from the own buffer, which the arguments may point into
    std::size_t size = std::max<std::size_t>(kFirstSize, length_);
    for (bool fits = false; format != nullptr && !fits;) {
        text.grow(size);
        va_list arguments;
        va_start(arguments, format);
        const int written = std::vsnprintf(text.data_, size, format, arguments);
        va_end(arguments);
        const auto needed = static_cast<std::size_t>(written);
        fits = written >= 0 && needed < size;
        if (fits) {
            text.set_length(needed);
            swap(text);
            return true;
        }
        if (written < 0) break;
        while (size <= needed && size <= kLastDoubled) size *= 2;
        if (size <= needed) break;
    }
    clear();
    return false;
}

void strutf8::trim(bool right, bool left) {
    trim_ends(*this, right, left);
}

namespace {

// A byte with the high bit leads a sequence: of three bytes when its 0x20 bit is set, else of two. A sequence of four
// bytes is treated like one of three (intended). A zero byte ends a sequence that is cut short.
void map_letters(char* text, unsigned int length, const letter_table& letters) {
    for (unsigned int i = 0; i < length; ++i) {
        const auto byte = static_cast<unsigned char>(text[i]);
        if (byte < 0x80) {
            text[i] = letters(text[i]);
            continue;
        }
        for (int follow = (byte & 0x20) != 0 ? 2 : 1; follow > 0 && text[i + 1] != 0; --follow) ++i;
    }
}

// first_match with or without regard to case.
template <typename Text>
std::size_t match_bytes(Text text, std::size_t text_length, Text needle, std::size_t length, bool ignore_case) {
    if (ignore_case) return first_match(text, text_length, needle, length, lower_letters);
    return first_match(text, text_length, needle, length, [](char c) { return c; });
}

}  // namespace

void strutf8::tolower() {
    map_letters(data_, length_, lower_letters);
}
void strutf8::toupper() {
    map_letters(data_, length_, upper_letters);
}

strutf8 strutf8::substr(unsigned int position, unsigned int n) const {
    strutf8 result;
    // The sum wraps at 32 bits (intended): npos works from position 1 on and gives nothing at position 0.
    if (position + n > length_ || position > length_) return result;
    const unsigned int rest = length_ - position;
    if (n == npos) n = rest;
    if (n <= rest) result.append(data_ + position, n);
    return result;
}

unsigned int strutf8::find(const char* needle, unsigned int start, bool ignoreCase) const {
    if (needle == nullptr || start >= length_) return npos;
    const std::size_t length = std::strlen(needle), rest = length_ - start;
    if (length > rest) return npos;
    const std::size_t at = match_bytes<const char*>(data_ + start, rest, needle, length, ignoreCase);
    return at == rest ? npos : static_cast<unsigned int>(start + at);
}

unsigned int strutf8::reversefind(const char* needle, unsigned int start, bool ignoreCase) const {
    if (needle == nullptr || length_ == 0) return npos;
    if (start == npos) start = length_ - 1;
    if (start >= length_) return npos;
    const std::size_t length = std::strlen(needle);
    const std::size_t end = std::min<std::size_t>(length_, start + length);  // a match ends here at the latest
    if (length > end) return npos;
    using backwards = std::reverse_iterator<const char*>;
    const std::size_t at = match_bytes(backwards(data_ + end), end, backwards(needle + length), length, ignoreCase);
    if (at == end && length != 0) return npos;
    return static_cast<unsigned int>(end - at - length);
}

int strutf8::compare(unsigned int position, unsigned int n, const char* other) const {
    if (other == nullptr || std::size_t{position} + n > length_) return -1;
    const char* const text = c_str() + position;
    const std::size_t length = std::find(text, text + n, '\0') - text;  // strcmp stops at a zero byte inside
    const int difference = std::strncmp(text, other, length);
    if (difference != 0) return difference < 0 ? -1 : 1;
    return other[length] == 0 ? 0 : -1;
}

bool strutf8::replace(unsigned int position, unsigned int n, const char* text) {
    return text != nullptr && replace(position, n, text, static_cast<unsigned int>(std::strlen(text)));
}

bool strutf8::endswith(const char* text) const {
    if (text == nullptr) return false;
    const std::size_t length = std::strlen(text);
    return length <= length_ && std::memcmp(c_str() + length_ - length, text, length) == 0;
}

}  // namespace orvo
