// The storage of the owned buffers, and the byte stream.
#include "xplatform/common/orvostream.h"

#include <algorithm>
#include <bit>
#include <cstdlib>
#include <cstring>
#include <functional>

#include "xplatform/common/orvoassert.h"
#include "xplatform/common/orvostream_text.h"

namespace orvo {

namespace {

// Twice the highest power of two not above n; 0 for 0.
unsigned int capacity_for(std::size_t n) {
    return static_cast<unsigned int>(2 * std::bit_floor(n));
}

template <typename T>
void reallocate(T*& data, unsigned int& capacity, unsigned int wanted) {
    data = static_cast<T*>(std::realloc(static_cast<void*>(data), (std::size_t{wanted} + 1) * sizeof(T)));
    ORVO_ASSERT(data != nullptr, "data");
    capacity = wanted;
}

template <typename T>
void growx(T*& data, unsigned int& capacity, std::size_t n) {
    ORVO_ASSERT(n <= 0x7FFFFFFF / sizeof(T), "_l <= 0x7FFFFFFF/sizeof(T)");
    if (capacity < capacity_for(n)) reallocate(data, capacity, capacity_for(n));
}

template <typename T>
void shrinkx(T*& data, unsigned int& capacity, std::size_t n) {
    ORVO_ASSERT(n <= 0x7FFFFFFF / sizeof(T), "_l <= 0x7FFFFFFF/sizeof(T)");
    if (n == 0) {
        std::free(data);
        data = nullptr;
        capacity = 0;
    } else if (capacity > capacity_for(n)) {
        reallocate(data, capacity, capacity_for(n));
    }
}

}  // namespace

template <typename T>
storage<T>::~storage() {
    std::free(data_);
}

template <typename T>
void storage<T>::grow(std::size_t n) {
    const bool had_buffer = data_ != nullptr;
    growx(data_, capacity_, n);
    if (!had_buffer && data_ != nullptr) data_[0] = T();
}

template <typename T>
void storage<T>::shrink(std::size_t n) {
    shrinkx(data_, capacity_, n);
    if (data_ == nullptr) {
        length_ = 0;
    } else if (length_ >= capacity_) {
        set_length(capacity_ - 1);
    }
}

template <typename T>
void storage<T>::reserve(std::size_t n) {
    if (capacity_ < n) grow(n + 1);
}

template <typename T>
void storage<T>::resize(std::size_t n) {
    if (n == length_) return;
    ensure(n);
    if (n > length_) std::fill(data_ + length_, data_ + n, T());
    set_length(n);
}

template <typename T>
bool storage<T>::owns(const T* units) const {
    return data_ != nullptr && !std::less<const T*>()(units, data_) && !std::less<const T*>()(data_ + capacity_, units);
}

template <typename T>
void storage<T>::assign(const T* units, std::size_t n) {
    if (units == nullptr || n == 0) return clear();
    const bool own = data_ != nullptr && owns(units);
    if (own) std::memmove(data_, units, n * sizeof(T));  // before the buffer moves
    if (n + 1 < capacity_ / 2) {
        shrink(n + 1);
    } else if (capacity_ <= n) {
        grow(n + 1);
    }
    if (!own) std::memcpy(data_, units, n * sizeof(T));  // NOLINT(clang-analyzer-core.NonNullParamChecker): n > 0
    set_length(n);
}

template <typename T>
void storage<T>::append_growing(const T* units, std::size_t n) {
    if (units == nullptr || n == 0) return;
    const std::ptrdiff_t inside = owns(units) ? units - data_ : -1;
    grow(std::max(n, length_ + n));  // the sum wraps for an n like -1
    append(inside >= 0 ? data_ + inside : units, n);
}

template <typename T>
bool storage<T>::replace(unsigned int position, unsigned int n, const T* units, unsigned int m) {
    if (std::size_t{position} + n > length_ || (units == nullptr && m != 0)) return false;
    if (n == 0 && m == 0) return true;
    if (owns(units)) {
        const storage copy(units, m);
        return replace(position, n, copy.data_, m);
    }
    const std::size_t tail = length_ - position - n, total = position + m + tail;
    ensure(total);
    T* const place = data_ + position;
    std::memmove(place + m, place + n, tail * sizeof(T));
    if (m != 0) std::memcpy(place, units, m * sizeof(T));
    set_length(total);
    return true;
}

template <typename T>
T* storage<T>::detach() {
    length_ = capacity_ = 0;
    return std::exchange(data_, nullptr);
}

template class storage<char>;
template class storage<char16_t>;
template class storage<unsigned char>;

stream::stream(const void* bytes, unsigned int n) {
    assign(bytes, n);
}
stream::stream(const char* text) {
    assign(text, measured(text, 0));
}
stream::stream(const char16_t* units, unsigned int length) {
    assign(units, 2 * measured(units, length));
}
stream::stream(const stream& other) : storage(other.data_, other.length_) {}
stream::stream(stream&& other) noexcept = default;
stream::~stream() = default;

stream& stream::operator=(const stream& other) {
    assign(other.data_, other.length_);
    return *this;
}

stream& stream::operator=(stream&& other) noexcept {
    stream taken(std::move(other));
    swap(taken);
    return *this;
}

stream& stream::operator=(const strutf8& text) {
    assign(text.data(), text.size());
    return *this;
}

stream& stream::operator=(const strutf16& text) {
    assign(text.data(), std::size_t{2} * text.size());
    return *this;
}

void stream::assign(const void* bytes, std::size_t n) {
    storage::assign(static_cast<const unsigned char*>(bytes), n);
}
void stream::append(const void* bytes, std::size_t n) {
    storage::append(static_cast<const unsigned char*>(bytes), n);
}
bool stream::replace(unsigned int position, unsigned int n, const void* bytes, unsigned int m) {
    return storage::replace(position, n, static_cast<const unsigned char*>(bytes), m);
}

void stream::attach(void* buffer, unsigned int n) {
    if (buffer != data_) clear();
    data_ = static_cast<unsigned char*>(buffer);
    length_ = capacity_ = 0;
    if (data_ == nullptr || n == 0) return clear();
    grow(n);  // the room for the zero after the bytes
    set_length(n);
}

bool stream::bits(unsigned int n) const {
    return n / 8 < length_ && (data_[n / 8] >> n % 8 & 1) != 0;
}

void stream::bitset(unsigned int n, bool value) {
    if (n / 8 >= length_) resize(n / 8 + 1);
    const unsigned int mask = 1u << n % 8;
    data_[n / 8] = static_cast<unsigned char>(value ? data_[n / 8] | mask : data_[n / 8] & ~mask);
}

void stream::bitsmerge(const stream& other) {
    if (other.length_ > length_) resize(other.length_);
    for (unsigned int i = 0; i < other.length_; ++i) data_[i] |= other.data_[i];
}

void stream::bitsand(const stream& other) {
    for (unsigned int i = 0; i < length_; ++i) data_[i] &= i < other.length_ ? other.data_[i] : 0;
}

}  // namespace orvo
