// The owned strings and the byte stream, and the conversions between character sets. Searching, slicing, replacing,
// trimming, letters and arguments inside a text itself are held against std::string by the model of strings.
#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>
#include <string>

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

TEST(Storage, GrowsAndShrinksByTheRule) {
    const unsigned int lengths[][2] = {{1, 4}, {2, 4}, {3, 8}, {5, 8}, {7, 16}, {8, 16}, {1000, 1024}};
    for (const auto& [length, capacity] : lengths) {
        const strutf8 s(std::string(length, 'x').c_str());
        EXPECT_EQ(s.capacity(), capacity) << length;
        EXPECT_EQ(strutf8(s).capacity(), capacity);
    }
    strutf8 s;
    EXPECT_EQ(s.data(), nullptr);
    s.grow(32);
    EXPECT_EQ(s.capacity(), 64u);
    EXPECT_STREQ(s.data(), "");
    s.assign("abc", 3);
    EXPECT_EQ(s.capacity(), 8u);
    s.grow(64);
    s.assign(std::string(63, 'x').c_str(), 63);
    EXPECT_EQ(s.capacity(), 128u) << "63 + 1 is not below the half";
    s.reserve(128);
    EXPECT_EQ(s.capacity(), 128u);
    s.reserve(129);
    EXPECT_EQ(s.capacity(), 256u);
    s.shrink(5);
    EXPECT_EQ(text_of(s), "xxxxxxx");
    s.assign("", 0);
    EXPECT_EQ(s.data(), nullptr);
    EXPECT_EQ(s.capacity(), 0u);
}

TEST(StorageDeathTest, RefusesMoreThanTwoGigabytes) {
    EXPECT_DEATH(strutf8().grow(0x80000000u), "growx.*_l <= 0x7FFFFFFF/sizeof\\(T\\)");
    EXPECT_DEATH(strutf16().grow(0x40000000u), "growx");
    EXPECT_DEATH(stream().resize(0x80000000u), "growx");
    EXPECT_DEATH(strutf8().shrink(0x80000000u), "shrinkx.*_l <= 0x7FFFFFFF/sizeof\\(T\\)");
    EXPECT_DEATH(strutf8("abc").append("x", static_cast<std::size_t>(-1)), "growx");
}

TEST(Utf8, AppendsSlicesAndConvertsOnTheWay) {
    strutf8 s("abcdef", 3);
    s.append("x\0y", 3);
    EXPECT_EQ(text_of(s), "abcx\0y"s);
    s = "ab";
    EXPECT_EQ(text_of(s.append(strutf8("12345"), 1, 2)), "ab23");
    EXPECT_EQ(text_of(s.append(strutf8("12345"), 4, npos)), "ab235");
    EXPECT_EQ(text_of(s.append(strutf8("12345"), 4, 2)), "ab235");
    EXPECT_EQ(text_of(s.append(strutf8("12345"), 6, npos)), "ab235");
    EXPECT_EQ(text_of(s + "!" + s), "ab235!ab235");
    s = u"\u20ac";
    EXPECT_EQ(text_of(s + strutf16("z")), "\xe2\x82\xacz");
    EXPECT_EQ(text_of(strutf8(static_cast<const char*>(nullptr), 5)), "");
    EXPECT_TRUE(s.endswith("\xac"));
    EXPECT_TRUE(s.endswith(""));
    EXPECT_FALSE(s.endswith("\x82"));
    EXPECT_FALSE(s.endswith("x\xe2\x82\xac"));
    s.resize(5);
    EXPECT_EQ(text_of(s), "\xe2\x82\xac\0\0"s);
}

TEST(Utf8, FormatsUpToItsLastBuffer) {
    const struct {
        std::size_t before, length;
        bool fits;
    } cases[] = {{0, 0, true},       {0, 1023, true},        {0, 1024, true},
                 {0, 300000, true},  {0, 524287, true},      {0, 524288, false},
                 {0, 600000, false}, {400000, 399999, true}, {400000, 400000, false}};
    for (const auto& c : cases) {
        const std::string text(c.length, 'x');
        strutf8 s;
        s.resize(c.before);
        EXPECT_EQ(s.format("%s", text.c_str()), c.fits);
        EXPECT_EQ(text_of(s), c.fits ? text : "") << c.length;
    }
}

// What the model of strings does not reach: wide strings, moves and null pointers.
TEST(Utf8, WideStringsMovesAndNullPointers) {
    strutf16 wide(u"\taZ\u0141 \r\n");
    wide.trim();
    wide.toupper();
    EXPECT_EQ(std::u16string(wide.c_str()), u"AZ\u0141");
    wide.tolower();
    EXPECT_EQ(std::u16string(wide.c_str()), u"az\u0141");
    EXPECT_EQ(strutf16("aabaaab").find(u"aaab"), 3u);
    EXPECT_EQ(strutf16("aabaaab").find(u"b", 3), 6u);

    strutf8 s("text");
    strutf8 moved(std::move(s));
    s = std::move(moved);
    EXPECT_EQ(text_of(s), "text");
    EXPECT_TRUE(moved.empty());  // NOLINT: a moved-from string is empty

    EXPECT_EQ(strutf8("abc").find(nullptr), npos);
    EXPECT_EQ(strutf8("abc").reversefind(nullptr), npos);
    EXPECT_EQ(strutf8("abc").compare(0, 1, nullptr), -1);
    EXPECT_FALSE(strutf8("abc").replace(0, 1, nullptr));
}

TEST(Stream, HoldsBytesAndBits) {
    stream s("ab");
    s.append("\0c", 2);
    EXPECT_EQ(s.size(), 4u);
    EXPECT_TRUE(s.replace(0, 3, "xy", 2));
    EXPECT_EQ(std::string(s.data(), s.data() + s.size()), "xyc");
    s = strutf16("A");
    EXPECT_EQ(s.size(), 2u);
    EXPECT_EQ(stream(u"AB").size(), 4u);
    unsigned char* mine = s.detach();
    EXPECT_EQ(mine[0], 'A');
    EXPECT_TRUE(s.empty());
    s.attach(mine, 2);
    EXPECT_EQ(s.capacity(), 4u);
    EXPECT_EQ(s.data()[2], 0);
    s.attach(std::malloc(1), 0);
    EXPECT_EQ(s.data(), nullptr);

    s.bitset(0, true);
    s.bitset(17, true);
    EXPECT_EQ(s.size(), 3u);
    EXPECT_EQ(s[0], 1);
    EXPECT_EQ(s[2], 2);
    stream other(s);
    other.bitset(30, true);
    other.bitset(0, false);
    s.bitsmerge(other);
    EXPECT_TRUE(s.bits(0) && s.bits(17) && s.bits(30) && !s.bits(1) && !s.bits(4000));
    other.resize(3);
    s.bitsand(other);
    EXPECT_EQ(s.size(), 4u);
    EXPECT_TRUE(!s.bits(0) && s.bits(17) && !s.bits(30));
}

TEST(Conversion, ConvertsAndRefusesInvalidInput) {
    strutf16 wide;
    strutf8 narrow;
    ASSERT_TRUE(orvoutf82utf16("a\xe4\xb8\xad\xf0\x9f\x98\x80", 8, wide));
    EXPECT_EQ(std::u16string(wide.c_str()), u"a\u4e2d\U0001F600");
    ASSERT_TRUE(orvoutf162utf8(wide.data(), wide.size(), narrow));
    EXPECT_EQ(text_of(narrow), "a\xe4\xb8\xad\xf0\x9f\x98\x80");
    ASSERT_TRUE(orvogbk2utf16("\xd6\xd0", 2, wide));
    EXPECT_EQ(std::u16string(wide.c_str()), u"\u4e2d");
    ASSERT_TRUE(orvoutf162gbk(wide.data(), 1, narrow));
    EXPECT_EQ(text_of(narrow), "\xd6\xd0");
    EXPECT_TRUE(orvoutf82utf16("", 0, wide));
    EXPECT_TRUE(wide.empty());

    for (const std::string invalid : {"a\xff", "\xe4\xb8", "\xc0\x80", "\xed\xa0\x80", "ab\xf0\x9f"}) {
        wide = u"before";
        EXPECT_FALSE(orvoutf82utf16(invalid.data(), static_cast<unsigned int>(invalid.size()), wide)) << invalid;
        EXPECT_TRUE(wide.empty());
    }
    EXPECT_FALSE(orvoutf82utf16(nullptr, 1, wide));
    EXPECT_FALSE(orvoutf162utf8(u"\xd83d", 1, narrow));
    EXPECT_FALSE(orvogbk2utf16("\xd6", 1, wide));
    EXPECT_FALSE(orvoutf162gbk(u"\xd83d\xde00\xd83d", 3, narrow));
}

TEST(Conversion, IntoHeapBuffers) {
    const std::string text(100000, 'x');
    orvo_char16* wide = nullptr;
    unsigned int length = 0;
    ASSERT_TRUE(orvoutf82utf16(text.c_str(), 100000, &wide, &length));
    const std::unique_ptr<orvo_char16, void (*)(void*)> keep_wide(wide, std::free);
    EXPECT_EQ(std::u16string(wide), std::u16string(100000, u'x'));
    EXPECT_EQ(length, 100000u);
    char* narrow = nullptr;
    ASSERT_TRUE(orvoutf162gbk(wide, 0, &narrow, nullptr));
    const std::unique_ptr<char, void (*)(void*)> keep_narrow(narrow, std::free);
    EXPECT_STREQ(narrow, "");
    EXPECT_FALSE(orvogbk2utf16("\xff", 1, &wide, &length));
    EXPECT_EQ(wide, nullptr);
    EXPECT_EQ(length, 0u);
    EXPECT_FALSE(orvoutf162utf8(u"a", 1, static_cast<char**>(nullptr), &length));
}

}  // namespace
