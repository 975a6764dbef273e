/*
 * Owned buffers for text and bytes (orvo::strutf8, orvo::strutf16, orvo::stream) and the conversions between UTF-8,
 * UTF-16LE and GBK. The conversions into heap buffers can be called from C; the classes are C++.
 *
 * Limits: a buffer holds at most 0x7FFFFFFF bytes. Asking for more, or running out of memory, ends the process with an
 * assertion; every other misuse (bad range, null argument) gives an empty or unchanged result, -1 or false.
 * Threads: no object is locked; use one from one thread at a time. The conversions may be called from any thread.
 */
#ifndef ORVO_STREAM_H
#define ORVO_STREAM_H

#include <stdbool.h>
#include <stddef.h>
#include <stdint.h>

#include "xplatform/common/orvobase.h"

/* One unit of UTF-16, in the machine's byte order (which is UTF-16LE on every machine that the library runs on). */
#ifdef __cplusplus
typedef char16_t orvo_char16;
extern "C" {
#else
typedef uint_least16_t orvo_char16;
#endif

/*
 * Conversions into a new heap buffer.
 *
 * source, length  the text and its length in units (bytes, or 16-bit units for UTF-16); a length of 0 converts to an
 *                 empty text.
 * result          receives the converted text, followed by a zero unit that its length does not count. The caller frees
 *                 it with free().
 * resultLength    receives its length in units; may be NULL.
 *
 * Result: false, with *result NULL and *resultLength 0, when source or result is NULL, or when the source is not valid,
 * ends in the middle of a character, or holds a character that the target cannot express.
 */
ORVO_API bool orvoutf82utf16(const char* source, unsigned int length, orvo_char16** result, unsigned int* resultLength);
ORVO_API bool orvoutf162utf8(const orvo_char16* source, unsigned int length, char** result, unsigned int* resultLength);
ORVO_API bool orvogbk2utf16(const char* source, unsigned int length, orvo_char16** result, unsigned int* resultLength);
ORVO_API bool orvoutf162gbk(const orvo_char16* source, unsigned int length, char** result, unsigned int* resultLength);

#ifdef __cplusplus
}

#include <cstring>
#include <utility>

namespace orvo {

class strutf8;
class strutf16;

// A length that means "up to the end", and the position that means "not found".
inline constexpr unsigned int npos = 0xFFFFFFFF;

// The storage that the three classes share: units of type T, a length, and a capacity that is a power of two.
//
// Whenever there is a buffer, length < capacity and a zero unit follows the last one, so data() is a terminated text;
// an empty object may have no buffer at all. Arguments may point into the object's own buffer.
template <typename T>
class storage {
  public:
    virtual ~storage();
    storage(const storage&) = delete;
    storage& operator=(const storage&) = delete;

    // The units, null when there is no buffer. Valid until the next change of the object.
    const T* data() const { return data_; }
    T* data() { return data_; }
    // The same, but never null: an empty text when there is no buffer.
    const T* c_str() const { return data_ != nullptr ? data_ : &empty_text; }
    // Length and capacity in units. The allocation is one unit more than the capacity.
    unsigned int size() const { return length_; }
    unsigned int length() const { return length_; }
    unsigned int capacity() const { return capacity_; }
    bool empty() const { return length_ == 0; }
    // The unit at a position; the position must be below size().
    const T& operator[](unsigned int position) const { return data_[position]; }
    T& operator[](unsigned int position) { return data_[position]; }

    // Makes the capacity twice the highest power of two not above n (5 gives 8, 8 gives 16): grow when it is smaller
    // now, shrink when it is larger. Shrinking below the length cuts the units off; shrink(0) frees the buffer.
    void grow(std::size_t n);
    void shrink(std::size_t n);
    // grow(n + 1) when the capacity is below n.
    void reserve(std::size_t n);
    // Sets the length; new units are zero. The buffer is kept.
    void resize(std::size_t n);
    // Frees the buffer.
    void clear() { shrink(0); }

    // Replaces the content by n units. Null or 0 frees the buffer. A buffer more than twice too large shrinks.
    void assign(const T* units, std::size_t n);
    // Adds n units at the end; null or 0 changes nothing.
    void append(const T* units, std::size_t n) {
        if (n >= capacity_ - length_ || units == nullptr) return append_growing(units, n);
        if (n == 1) {
            data_[length_] = *units;
        } else {
            std::memmove(data_ + length_, units, n * sizeof(T));
        }
        set_length(length_ + n);
    }
    // Replaces n units at a position by m others. False, and nothing changed, for a range beyond the end.
    bool replace(unsigned int position, unsigned int n, const T* units, unsigned int m);
    // Releases the buffer to the caller, who frees it with free(); the object is empty then. Null if there is none.
    [[nodiscard]] T* detach();

  protected:
    storage() = default;
    storage(const T* units, std::size_t n) { assign(units, n); }
    storage(storage&& other) noexcept { swap(other); }
    void swap(storage& other) noexcept {
        std::swap(data_, other.data_);
        std::swap(length_, other.length_);
        std::swap(capacity_, other.capacity_);
    }
    // Reserves room for n units in total.
    void ensure(std::size_t n) {
        if (capacity_ <= n) grow(n);
    }
    void set_length(std::size_t n) {
        length_ = static_cast<unsigned int>(n);
        data_[length_] = T();
    }
    bool owns(const T* units) const;

    T* data_ = nullptr;
    unsigned int length_ = 0;
    unsigned int capacity_ = 0;

  private:
    void append_growing(const T* units, std::size_t n);

    static constexpr T empty_text = T();
};
extern template class ORVO_API storage<char>;
extern template class ORVO_API storage<char16_t>;
extern template class ORVO_API storage<unsigned char>;

// Owned 8-bit text, UTF-8 by convention. Lengths and positions are in bytes.
class ORVO_API strutf8 : public storage<char> {
  public:
    strutf8() = default;
    // A copy of the text; a length of 0 means up to its zero unit. Null gives an empty string. UTF-16 is converted;
    // what cannot be converted gives an empty string.
    strutf8(const char* text, unsigned int length = 0);
    strutf8(const char16_t* units, unsigned int length = 0);
    strutf8(const strutf16& other);
    strutf8(const strutf8& other);
    strutf8(strutf8&& other) noexcept;
    ~strutf8() override;

    strutf8& operator=(const char* text);
    strutf8& operator=(const char16_t* units);
    strutf8& operator=(const strutf16& other);
    strutf8& operator=(const strutf8& other);
    strutf8& operator=(strutf8&& other) noexcept;

    // Appending. append(other, position, n) takes n bytes of the other from a position (npos: up to its end); a range
    // beyond its end changes nothing.
    using storage::append;
    strutf8& append(const char* text);
    strutf8& append(const strutf8& other);
    strutf8& append(const strutf8& other, unsigned int position, unsigned int n);
    strutf8& operator+=(const char* text) { return append(text); }
    strutf8& operator+=(const strutf8& other) { return append(other); }
    strutf8 operator+(const char* text) const;
    strutf8 operator+(const strutf8& other) const;

    // Replaces the content by a formatted text; the arguments may point into this string. A text of 524,288 bytes or
    // more does not fit (less when the string was longer than 1,024 bytes before: the first try has the length that the
    // string had, and sizes double only up to there). Then the string becomes empty and the result is false.
    bool format(const char* format, ...) __attribute__((format(printf, 2, 3)));

    // Removes tab, line feed, carriage return and space (only these) from the chosen ends. A string of nothing else
    // becomes empty and loses its buffer.
    void trim(bool right = true, bool left = true);
    // Changes the ASCII letters and steps over UTF-8 sequences of two and three bytes.
    void tolower();
    void toupper();

    // n bytes from a position. npos as n means to the end, for positions from 1 to size(); from position 0 it gives an
    // empty string (intended). A range beyond the end gives an empty string.
    strutf8 substr(unsigned int position, unsigned int n = npos) const;
    // The position of the first match at or behind start, or npos: null needle, start not inside the string, no match.
    // With ignoreCase, ASCII letters match in either case.
    unsigned int find(const char* needle, unsigned int start = 0, bool ignoreCase = false) const;
    // The position of the last match that begins at or before start (counted from the front; npos: anywhere), or npos.
    unsigned int reversefind(const char* needle, unsigned int start = npos, bool ignoreCase = false) const;
    // Compares n bytes at a position with a text, as strcmp does: -1, 0 or 1. -1 too for a range beyond the end or
    // null.
    int compare(unsigned int position, unsigned int n, const char* other) const;
    // Replaces n bytes at a position. False, and nothing changed, for a range beyond the end or a null text.
    using storage::replace;
    bool replace(unsigned int position, unsigned int n, const char* text);
    // Whether the string ends with the text; false for null.
    bool endswith(const char* text) const;
};

// Owned UTF-16 text. Lengths and positions are in 16-bit units.
class ORVO_API strutf16 : public storage<char16_t> {
  public:
    strutf16() = default;
    // As those of strutf8; 8-bit text is converted from UTF-8.
    strutf16(const char16_t* units, unsigned int length = 0);
    strutf16(const char* text, unsigned int length = 0);
    strutf16(const strutf8& other);
    strutf16(const strutf16& other);
    strutf16(strutf16&& other) noexcept;
    ~strutf16() override;

    strutf16& operator=(const char16_t* units);
    strutf16& operator=(const char* text);
    strutf16& operator=(const strutf8& other);
    strutf16& operator=(const strutf16& other);
    strutf16& operator=(strutf16&& other) noexcept;

    using storage::append;
    strutf16& append(const char16_t* units);
    strutf16& append(const strutf16& other);
    strutf16& operator+=(const char16_t* units) { return append(units); }
    strutf16& operator+=(const strutf16& other) { return append(other); }
    strutf16 operator+(const strutf16& other) const;

    // As those of strutf8.
    void trim(bool right = true, bool left = true);
    void tolower();
    void toupper();
    unsigned int find(const char16_t* needle, unsigned int start = 0) const;
};

// Owned bytes, also used as a set of bits. The n-th bit is bit n % 8 of byte n / 8, where bit 0 is the least
// significant one.
class ORVO_API stream : public storage<unsigned char> {
  public:
    stream() = default;
    // Copies of n bytes, of a C string without its zero byte, of UTF-16 units as they lie in memory (a length of 0
    // means up to the zero unit).
    stream(const void* bytes, unsigned int n);
    explicit stream(const char* text);
    explicit stream(const char16_t* units, unsigned int length = 0);
    stream(const stream& other);
    stream(stream&& other) noexcept;
    ~stream() override;

    stream& operator=(const stream& other);
    stream& operator=(stream&& other) noexcept;
    // The bytes of the text, not converted.
    stream& operator=(const strutf8& text);
    stream& operator=(const strutf16& text);

    // As those of the storage, from any bytes.
    void assign(const void* bytes, std::size_t n);
    void append(const void* bytes, std::size_t n);
    bool replace(unsigned int position, unsigned int n, const void* bytes, unsigned int m);

    // Takes ownership of n bytes from malloc, which may move; 0 bytes free them at once.
    void attach(void* buffer, unsigned int n);
    // detach() releases the bytes.

    // The n-th bit; false behind the end.
    bool bits(unsigned int n) const;
    // Sets the n-th bit; the stream grows (by zero bytes) to hold it.
    void bitset(unsigned int n, bool value);
    // Every bit or-ed with the other's; grows to the longer length. And-ed: bits that the other does not have become 0.
    void bitsmerge(const stream& other);
    void bitsand(const stream& other);
};

}  // namespace orvo

// The conversions into string objects: as those above; the result is empty on failure.
ORVO_API bool orvoutf82utf16(const char* source, unsigned int length, orvo::strutf16& result);
ORVO_API bool orvoutf162utf8(const char16_t* source, unsigned int length, orvo::strutf8& result);
ORVO_API bool orvogbk2utf16(const char* source, unsigned int length, orvo::strutf16& result);
ORVO_API bool orvoutf162gbk(const char16_t* source, unsigned int length, orvo::strutf8& result);

#endif /* __cplusplus */
#endif
