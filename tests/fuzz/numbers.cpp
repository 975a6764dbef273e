// The number parsers against a second reading of the same text.
#include <charconv>
#include <limits>
#include <string>

#include "tests/fuzz/fuzz.h"
#include "xplatform/common/orvoutil.h"

namespace {

// Whether the text is a number of the type, and which.
template <typename Number>
bool read(const std::string& text, Number& number) {
    number = 0;
    if (text.empty()) return false;
    const size_t last = text.find_last_not_of(' ');
    if (last == std::string::npos) return true;
    size_t at = text.find_first_not_of(' ');
    const bool negative = text[at] == '-';
    if (negative && !std::numeric_limits<Number>::is_signed) return false;
    if (negative || text[at] == '+') ++at;
    std::string digits = text.substr(at, last + 1 - at);
    const bool hexadecimal = digits.size() > 1 && digits[0] == '0' && (digits[1] == 'x' || digits[1] == 'X');
    if (hexadecimal) digits.erase(0, 2);
    if (digits.find_first_not_of(' ') == std::string::npos) return true;
    Number magnitude = 0;
    const char* const end = digits.data() + digits.size();
    // It takes a sign of its own, which would be a second one here.
    const auto [stop, error] = std::from_chars(digits.data(), end, magnitude, hexadecimal ? 16 : 10);
    if (digits[0] == '-' || error != std::errc() || stop != end) return false;
    number = negative ? 0 - magnitude : magnitude;
    return true;
}

template <typename Number>
void compare(int (*parse)(const char*, Number*), const std::string& text) {
    Number expected = 0;
    Number found = 77;
    const bool valid = read(text, expected);
    REQUIRE(parse(text.c_str(), &found) == (valid ? 1 : 0));
    if (valid) REQUIRE(found == expected);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
    std::string text(bytes, bytes + size);
    text.resize(text.find('\0') == std::string::npos ? size : text.find('\0'));
    text.shrink_to_fit();
    compare(orvo_str2int, text);
    compare(orvo_str2uint32, text);
    compare(orvo_str2int64, text);
    compare(orvo_str2uint64, text);
    REQUIRE(orvo_isalldigit(text.c_str()) == (text.find_first_not_of("0123456789") == std::string::npos));

    Input input(bytes, size);
    const auto value = input.ConsumeIntegral<uint64_t>();
    char* digits = nullptr;
    unsigned int length = 0;
    REQUIRE(orvo_uint642str(value, &digits, &length) && std::to_string(value) == std::string(digits, length));
    std::free(digits);
    return 0;
}
