// Conversions between character sets through iconv.
#include <iconv.h>

#include <cerrno>
#include <type_traits>

#include "xplatform/common/orvostream.h"

namespace {

// Converts the source into the target's units piece by piece. False for input that is invalid or cut short, or when
// the system does not know the sets. The target is only touched after the source was read, which may be its own data.
template <typename From, typename String, typename To = std::remove_pointer_t<decltype(String().data())>>
bool convert(const char* to, const char* from, const From* source, unsigned int length, String& target) {
    String result;
    iconv_t descriptor = source == nullptr ? iconv_t(-1) : iconv_open(to, from);
    bool valid = descriptor != iconv_t(-1);
    char* in = reinterpret_cast<char*>(const_cast<From*>(source));
    std::size_t in_left = std::size_t{length} * sizeof(From);
    while (valid && in_left != 0) {
        To piece[1024];
        char* out = reinterpret_cast<char*>(piece);
        std::size_t out_left = sizeof piece;
        valid = iconv(descriptor, &in, &in_left, &out, &out_left) != std::size_t(-1) || errno == E2BIG;
        result.append(piece, (sizeof piece - out_left) / sizeof(To));
    }
    if (descriptor != iconv_t(-1)) iconv_close(descriptor);
    if (!valid) result.clear();
    target = std::move(result);
    return valid;
}

// The same into a heap buffer of the caller.
template <typename From, typename To, typename String>
bool convert_to_heap(bool (*conversion)(const From*, unsigned int, String&), const From* source, unsigned int length,
                     To** result, unsigned int* result_length) {
    String text;
    const bool valid = result != nullptr && conversion(source, length, text);
    if (result_length != nullptr) *result_length = text.size();
    if (result != nullptr) *result = nullptr;
    if (!valid) return false;
    text.reserve(1);  // an empty text is a buffer too
    *result = text.detach();
    return true;
}

}  // namespace

bool orvoutf82utf16(const char* source, unsigned int length, orvo::strutf16& result) {
    return convert("UTF-16LE", "UTF-8", source, length, result);
}

bool orvoutf162utf8(const char16_t* source, unsigned int length, orvo::strutf8& result) {
    return convert("UTF-8", "UTF-16LE", source, length, result);
}

bool orvogbk2utf16(const char* source, unsigned int length, orvo::strutf16& result) {
    return convert("UTF-16LE", "GBK", source, length, result);
}

bool orvoutf162gbk(const char16_t* source, unsigned int length, orvo::strutf8& result) {
    return convert("GBK", "UTF-16LE", source, length, result);
}

bool orvoutf82utf16(const char* source, unsigned int length, orvo_char16** result, unsigned int* resultLength) {
    return convert_to_heap<char, char16_t, orvo::strutf16>(orvoutf82utf16, source, length, result, resultLength);
}

bool orvoutf162utf8(const orvo_char16* source, unsigned int length, char** result, unsigned int* resultLength) {
    return convert_to_heap<char16_t, char, orvo::strutf8>(orvoutf162utf8, source, length, result, resultLength);
}

bool orvogbk2utf16(const char* source, unsigned int length, orvo_char16** result, unsigned int* resultLength) {
    return convert_to_heap<char, char16_t, orvo::strutf16>(orvogbk2utf16, source, length, result, resultLength);
}

bool orvoutf162gbk(const orvo_char16* source, unsigned int length, char** result, unsigned int* resultLength) {
    return convert_to_heap<char16_t, char, orvo::strutf8>(orvoutf162gbk, source, length, result, resultLength);
}
