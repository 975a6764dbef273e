// Assertions and the small utilities.
#include <gtest/gtest.h>

#include <cstdlib>

#include "support/runtime/log_lines.h"
#include "xplatform/common/orvoassert.h"
#include "xplatform/common/orvoutil.h"

namespace {

void check_something(int value) {
    ORVO_ASSERT_AT(value == 1, "value == 1", 37);
}

TEST(AssertDeathTest, ReportsFunctionFileLineAndText) {
    check_something(1);
    EXPECT_DEATH(check_something(2), support::assertion("base_test.cpp", 37, "check_something", "value == 1"));
}

// Numbers in range are held against another reading by the model of numbers; here is what others leave behind.
TEST(Numbers, LeaveBehindWhatTheyGathered) {
    const auto check = [](auto parse, auto number, const char* text, int64_t value) {
        number = 99;
        EXPECT_EQ(parse(text, &number), 0) << text;
        EXPECT_EQ(number, static_cast<decltype(number)>(value)) << text;
    };
    const std::pair<const char*, int64_t> common[] = {{"", 0},    {"42x", 42},  {"4 2", 4},   {"\t42", 0},
                                                      {"++1", 0}, {"0xfg", 15}, {"42\n", 42}, {nullptr, 0}};
    for (const auto& [text, value] : common) {
        check(orvo_str2int, int32_t{}, text, value);
        check(orvo_str2uint32, uint32_t{}, text, value);
        check(orvo_str2int64, int64_t{}, text, value);
        check(orvo_str2uint64, uint64_t{}, text, value);
    }
    check(orvo_str2int, int32_t{}, "2147483648", INT32_MIN);
    check(orvo_str2int, int32_t{}, "-2147483648", INT32_MIN);
    check(orvo_str2int, int32_t{}, "99999999999999999999999", 0xF67FFFFF);
    check(orvo_str2uint32, uint32_t{}, "4294967299", 3);
    check(orvo_str2int64, int64_t{}, "0xffffffffffffffff", -1);
    check(orvo_str2uint64, uint64_t{}, "18446744073709551616", 0);
    EXPECT_EQ(orvo_str2int("1", nullptr), 0);
    unsigned int length = 0;
    char* text = nullptr;
    EXPECT_FALSE(orvo_uint642str(1, nullptr, &length) || orvo_uint642str(1, &text, nullptr));
    EXPECT_FALSE(orvo_isalldigit(nullptr));
}

TEST(Random, FollowsItsGenerator) {
    // Three outputs in a row are enough to find the state's hidden low bits and check the fourth.
    auto* draws = static_cast<int32_t*>(orvo_rand16());
    bool found = false;
    for (uint64_t low = 0; low < 0x20000 && !found; ++low) {
        uint32_t state = static_cast<uint32_t>(draws[0]) << 16 | static_cast<uint32_t>(low & 0xFFFF) |
                         static_cast<uint32_t>(low >> 16) << 31;
        found = true;
        for (int i = 1; i < 4 && found; ++i) {
            state = state * 214013u + 2531011u;
            found = static_cast<int>(state >> 16 & 0x7FFF) == draws[i];
        }
    }
    EXPECT_TRUE(found);
    free(draws);
}

TEST(Clocks, Agree) {
    timeval now{};
    EXPECT_EQ(orvo_gettimeofday(nullptr), 22);
    // Each later question answers no earlier time, in its own unit; that of seconds may lag a moment.
    ASSERT_EQ(orvo_gettimeofday(&now), 0);
    const uint64_t micro = orvo_gettimeofday_microsecond(), second = orvo_gettimeofday_second();
    EXPECT_LE(static_cast<uint64_t>(now.tv_sec) * 1000000 + static_cast<uint64_t>(now.tv_usec), micro);
    EXPECT_TRUE(micro / 1000000 <= second + 1 && second <= orvo_gettimeofday_millisecond() / 1000);
    const auto tick = orvo_gettickcount();
    orvo_msleep(20);
    orvo_msleep(-1);
    EXPECT_GE(orvo_gettickcount64() - tick, 19u);
}

}  // namespace
