// Owned UTF-16 text.
#include "xplatform/common/orvostream_text.h"

namespace orvo {

strutf16::strutf16(const char16_t* units, unsigned int length) : storage(units, measured(units, length)) {}
strutf16::strutf16(const char* text, unsigned int length) {
    orvoutf82utf16(text, static_cast<unsigned int>(measured(text, length)), *this);
}
strutf16::strutf16(const strutf8& other) {
    *this = other;
}
strutf16::strutf16(const strutf16& other) : storage(other.data_, other.length_) {}
strutf16::strutf16(strutf16&& other) noexcept = default;
strutf16::~strutf16() = default;

strutf16& strutf16::operator=(const char16_t* units) {
    assign(units, measured(units, 0));
    return *this;
}

strutf16& strutf16::operator=(const char* text) {
    return *this = strutf16(text);
}

strutf16& strutf16::operator=(const strutf8& other) {
    orvoutf82utf16(other.data(), other.size(), *this);
    return *this;
}

strutf16& strutf16::operator=(const strutf16& other) {
    assign(other.data_, other.length_);
    return *this;
}

strutf16& strutf16::operator=(strutf16&& other) noexcept {
    strutf16 taken(std::move(other));
    swap(taken);
    return *this;
}

strutf16& strutf16::append(const char16_t* units) {
    append(units, measured(units, 0));
    return *this;
}

strutf16& strutf16::append(const strutf16& other) {
    append(other.data_, other.length_);
    return *this;
}

strutf16 strutf16::operator+(const strutf16& other) const {
    return strutf16(*this).append(other);
}

void strutf16::trim(bool right, bool left) {
    trim_ends(*this, right, left);
}

void strutf16::tolower() {
    for (unsigned int i = 0; i < length_; ++i) data_[i] = lower_letters(data_[i]);
}

void strutf16::toupper() {
    for (unsigned int i = 0; i < length_; ++i) data_[i] = upper_letters(data_[i]);
}

unsigned int strutf16::find(const char16_t* needle, unsigned int start) const {
    if (needle == nullptr || start >= length_) return npos;
    const std::size_t length = measured(needle, 0), rest = length_ - start;
    if (length > rest) return npos;
    const std::size_t at = first_match(data_ + start, rest, needle, length, [](char16_t c) { return c; });
    return at == rest ? npos : static_cast<unsigned int>(start + at);
}

}  // namespace orvo
