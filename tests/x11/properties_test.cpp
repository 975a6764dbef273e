// Properties as hostile clients write them.
#include "ScreenCapture/platform/x11/properties.h"

#include <gtest/gtest.h>

#include <string_view>

namespace orvo::platform::x11 {
namespace {

Property text(std::string_view bytes, TextEncoding encoding) {
    return {8, encoding, reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size()};
}

Property numbers(const std::vector<uint32_t>& values) {
    return {32, TextEncoding::none, reinterpret_cast<const uint8_t*>(values.data()), values.size() * 4};
}

TEST(Properties, TextsBecomeValidUtf8) {
    constexpr const char* kReplaced = "\xEF\xBF\xBD";
    const struct {
        std::string_view bytes;
        TextEncoding encoding;
        std::string expected;
    } cases[] = {
        {"Gr\xC3\xBC\xC3\x9F", TextEncoding::utf8, "Grüß"},
        {"Gr\xFC", TextEncoding::latin1, "Grü"},
        {"a\xFF", TextEncoding::utf8, std::string("a") + kReplaced},
        {"\xC3", TextEncoding::utf8, kReplaced},                                                      // cut short
        {"\xC0\xAF", TextEncoding::utf8, std::string(kReplaced) + kReplaced},                         // overlong
        {"\xED\xA0\x80x", TextEncoding::utf8, std::string(kReplaced) + kReplaced + kReplaced + "x"},  // a surrogate
        {"\xF0\x9F\x98\x80", TextEncoding::utf8, "😀"},
        {std::string_view("ab\0cd", 5), TextEncoding::utf8, "ab"},
        {"\x1B%GGr\xC3\xBC\x1B%@!", TextEncoding::compound, "Grü!"},
        {"\x1B-AGr\xFC", TextEncoding::compound, "Grü"},
        {"\x1B$(B\x24\x22\x1B(Bx", TextEncoding::compound, std::string(kReplaced) + kReplaced + "x"},
        {"\x1B", TextEncoding::compound, ""},
        {"\x1B%G\xC3", TextEncoding::compound, kReplaced},
        {"text", TextEncoding::none, ""},
        {"", TextEncoding::utf8, ""},
    };
    for (const auto& c : cases) EXPECT_EQ(decodeText(text(c.bytes, c.encoding)), c.expected);
    EXPECT_EQ(decodeText(numbers({0x41414141})), "");
}

TEST(Properties, ClassesNumbersAndIconsStayInsideTheirBytes) {
    using namespace std::string_view_literals;
    const auto classOf = [](std::string_view bytes) { return decodeClass(text(bytes, TextEncoding::latin1)); };
    using Pair = std::pair<std::string, std::string>;
    EXPECT_EQ(classOf("xterm\0XTerm\0"sv), (Pair{"xterm", "XTerm"}));
    EXPECT_EQ(classOf("xterm\0XTerm"sv), (Pair{"xterm", "XTerm"}));
    EXPECT_EQ(classOf("xterm"sv), (Pair{"xterm", ""}));
    EXPECT_EQ(classOf("\0XTerm\0more\0"sv), (Pair{"", "XTerm"}));

    EXPECT_EQ(decodeNumber(text("abcdefgh", TextEncoding::latin1), 5), 5U);
    EXPECT_EQ(decodeNumber(numbers({}), 5), 5U);
    EXPECT_EQ(decodeOpacity(numbers({0xFFFFFFFF})), 1.0);
    EXPECT_EQ(decodeOpacity(numbers({0})), 0.0);
    EXPECT_EQ(decodeOpacity({}), 1.0);

    EXPECT_EQ(decodeMargins(numbers({1, 2, 3, 4})), (Margins{1, 2, 3, 4}));
    EXPECT_EQ(decodeMargins(numbers({1, 2, 3, 0x80000000})), Margins());
    EXPECT_EQ(decodeMargins(numbers({1, 2, 3})), Margins());
    EXPECT_EQ(decodeRects(numbers({0xFFFFFFFF, 2, 3, 4, 0x7FFFFFFF, 0, 1, 1, 0, 0, 0x80000000, 1, 5})),
              std::vector({PixelRect{-1, 2, 3, 4}}));

    EXPECT_EQ(decodeIcons(numbers({1, 1, 7, 1, 2, 8, 9})).size(), 2U);
    EXPECT_EQ(decodeIcons(numbers({1, 1, 7, 2, 2, 8, 9})).size(), 1U);
    EXPECT_TRUE(decodeIcons(numbers({0x10000, 0x10000, 7})).empty());
    EXPECT_TRUE(decodeIcons(numbers({0, 5, 7})).empty());
    EXPECT_TRUE(decodeIcons(numbers({1, 1})).empty());
    EXPECT_TRUE(decodeIcons({}).empty());
}

}  // namespace
}  // namespace orvo::platform::x11
