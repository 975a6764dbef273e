// Conversions between UTF-8, UTF-16 and GBK: there and back again, and two readers of UTF-8 that have to agree.
#include <cstring>
#include <string>

#include "ScreenCapture/platform/x11/properties.h"
#include "tests/fuzz/fuzz.h"
#include "xplatform/common/orvostream.h"

namespace {

template <typename Text, typename Unit>
bool same(const Text& text, const Unit* units, size_t count) {
    return text.size() == count && (count == 0 || std::memcmp(text.data(), units, count * sizeof(Unit)) == 0);
}

// The form for C answers the same as the one for objects, and ends its buffer with a zero unit.
template <typename From, typename To, typename Text>
void agreeWithC(bool (*conversion)(const From*, unsigned int, To**, unsigned int*), const From* source, size_t count,
                bool valid, const Text& expected) {
    To* result = nullptr;
    unsigned int length = 77;
    REQUIRE(conversion(source, static_cast<unsigned int>(count), &result, &length) == valid);
    REQUIRE((result != nullptr) == valid && length == expected.size());
    if (valid) REQUIRE(same(expected, result, length) && result[length] == 0);
    std::free(result);
}

void fromUtf8(const std::vector<char>& source) {
    const auto count = static_cast<unsigned int>(source.size());
    orvo::strutf16 wide;
    const bool valid = orvoutf82utf16(source.data(), count, wide);
    agreeWithC<char, orvo_char16>(orvoutf82utf16, source.data(), count, valid, wide);
    orvo::strutf8 back;
    if (valid) REQUIRE(orvoutf162utf8(wide.c_str(), wide.size(), back) && same(back, source.data(), count));
    if (std::memchr(source.data(), 0, count)) return;
    using namespace orvo::platform::x11;
    const Property property{8, TextEncoding::utf8, reinterpret_cast<const uint8_t*>(source.data()), count};
    REQUIRE(valid == (decodeText(property) == std::string(source.data(), count)));
}

void fromUtf16(const std::vector<char16_t>& source) {
    const auto count = static_cast<unsigned int>(source.size());
    orvo::strutf8 narrow;
    const bool valid = orvoutf162utf8(source.data(), count, narrow);
    agreeWithC<orvo_char16, char>(orvoutf162utf8, source.data(), count, valid, narrow);
    orvo::strutf16 back;
    if (valid) REQUIRE(orvoutf82utf16(narrow.c_str(), narrow.size(), back) && same(back, source.data(), count));

    const bool expressed = orvoutf162gbk(source.data(), count, narrow);
    REQUIRE(valid || !expressed);
    agreeWithC<orvo_char16, char>(orvoutf162gbk, source.data(), count, expressed, narrow);
    if (expressed) REQUIRE(orvogbk2utf16(narrow.c_str(), narrow.size(), back) && same(back, source.data(), count));
}

void fromGbk(const std::vector<char>& source) {
    const auto count = static_cast<unsigned int>(source.size());
    orvo::strutf16 wide;
    const bool valid = orvogbk2utf16(source.data(), count, wide);
    agreeWithC<char, orvo_char16>(orvogbk2utf16, source.data(), count, valid, wide);
    orvo::strutf8 narrow;
    if (valid) REQUIRE(orvoutf162utf8(wide.c_str(), wide.size(), narrow));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
    if (size == 0) return 0;
    // Copies of the exact size, so that reading beyond them is noticed.
    const std::vector<char> text(bytes, bytes + size);
    fromUtf8(text);
    fromGbk(text);
    std::vector<char16_t> units(size / 2);
    if (units.empty()) return 0;
    std::memcpy(units.data(), bytes, units.size() * 2);
    fromUtf16(units);
    return 0;
}
