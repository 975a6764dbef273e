// The owned strings and the byte stream, and the conversions between character sets: what the models of strings
// and conversions do not reach.
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "support/runtime/log_lines.h"
#include "xplatform/common/orvostream.h"

using orvo::npos;
using orvo::stream;
using orvo::strutf16;
using orvo::strutf8;
using namespace std::string_literals;

namespace {

std::string text_of(const strutf8& s) {
    return {s.c_str(), s.size()};
}

TEST(StorageDeathTest, RefusesMoreThanTwoGigabytes) {
    const auto refuses = [](const char* function) {
        return support::assertion("orvostream.cpp", 0, function, "_l <= 0x7FFFFFFF/sizeof\\(T\\)");
    };
    EXPECT_DEATH(strutf8().grow(0x80000000u), refuses("growx"));
    EXPECT_DEATH(strutf16().grow(0x40000000u), refuses("growx"));
    EXPECT_DEATH(strutf8().shrink(0x80000000u), refuses("shrinkx"));
    EXPECT_DEATH(strutf8("abc").append("x", static_cast<std::size_t>(-1)), refuses("growx"));
}

TEST(Utf8, FormatsUpToItsLastBuffer) {
    const struct {
        std::size_t before, length;
        bool fits;
    } cases[] = {{0, 1023, true},    {0, 1024, true},        {0, 524287, true},
                 {0, 524288, false}, {400000, 399999, true}, {400000, 400000, false}};
    for (const auto& c : cases) {
        const std::string text(c.length, 'x');
        strutf8 s;
        s.resize(c.before);
        EXPECT_EQ(s.format("%s", text.c_str()), c.fits);
        EXPECT_EQ(text_of(s), c.fits ? text : "") << c.length;
    }
}

TEST(Strings, ConvertAndRefuseNullPointers) {
    strutf8 s("ab");
    EXPECT_EQ(text_of(s + "!" + s + strutf16(u"\u20ac")), "ab!ab\xe2\x82\xac");
    EXPECT_EQ(text_of(strutf8(static_cast<const char*>(nullptr), 5)), "");
    EXPECT_TRUE(s.find(nullptr) == npos && s.reversefind(nullptr) == npos && s.compare(0, 1, nullptr) == -1);
    EXPECT_FALSE(s.replace(0, 1, nullptr) || s.endswith(nullptr));

    EXPECT_EQ(strutf16("text").find(nullptr), npos);
    stream bytes("ab");
    bytes = strutf16("A");
    EXPECT_TRUE(bytes.size() == 2 && stream(u"AB").size() == 4);
}

TEST(Conversion, KnowsItsTablesAndTakesNothing) {
    strutf16 wide;
    strutf8 narrow;
    EXPECT_TRUE(orvoutf82utf16("\xf0\x9f\x98\x80", 4, wide) && wide.c_str() == u"\U0001F600"s);
    EXPECT_TRUE(orvoutf162gbk(u"\u4e2d", 1, narrow) && narrow.c_str() == "\xd6\xd0"s);
    EXPECT_FALSE(orvoutf82utf16(nullptr, 1, wide));
    EXPECT_TRUE(orvoutf82utf16("", 0, wide) && wide.empty());
    unsigned int length = 0;
    EXPECT_FALSE(orvoutf162utf8(u"a", 1, static_cast<char**>(nullptr), &length));
    char* empty = nullptr;
    ASSERT_TRUE(orvoutf162gbk(u"", 0, &empty, nullptr));
    EXPECT_STREQ(empty, "");
    std::free(empty);
}

}  // namespace
