// The log core: the line's bytes, gates, hook slots, cutting and binary records.
#include "xplatform/common/orvosyslog.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <clocale>
#include <cstdlib>
#include <regex>
#include <string>
#include <thread>
#include <vector>

#include "support/runtime/log_lines.h"
#include "xplatform/common/orvosyslog_line.h"
#include "xplatform/common/orvothread.h"

namespace {

std::vector<std::vector<unsigned char>> records;

void drop(int, const char*, int, const char*, int) {}
void keep_record(int, const unsigned char* record, int length) {
    records.emplace_back(record, record + length);
}
void drop_record(int, const unsigned char*, int) {}

class Syslog : public testing::Test {
  protected:
    void SetUp() override {
        support::capture_log();
        records.clear();
        orvothread_setname(nullptr);
    }
    std::vector<support::LogLine> lines;
    void take() { lines = support::take_log(); }
};

TEST_F(Syslog, WritesTheLineByteForByte) {
    orvo_syslog(3, "SC", 12, "%s, %u", "orvo_screencapture_init", 7u);
    orvothread_setname("screencap_logger");
    const std::string id = std::to_string(orvothread_selfid()), stamp = R"(\[\d{4}-\d\d-\d\d \d\d:\d\d:\d\d\]\[\d+\])";
    std::vector<std::string> ends{"[notice][unnamed thread:" + id + "][SC:12]: orvo_screencapture_init, 7"};
    for (const char* tag : {"", "[import]", "[error ]", "[warn  ]", "[notice]", "[debug ]"}) {
        orvo_syslog(static_cast<int>(ends.size()) - 2, nullptr, -5, "x");
        ends.push_back(tag + ("[screencap_logger:" + id) + "][(null):-5]: x");
    }
    orvothread_setname(nullptr);
    take();
    ASSERT_EQ(lines.size(), ends.size());
    for (size_t i = 0; i < lines.size(); ++i) {
        const std::string& text = lines[i].text;
        const size_t place = text.size() - std::min(text.size(), ends[i].size());
        EXPECT_EQ(text.substr(place), ends[i]);
        EXPECT_TRUE(std::regex_match(text.substr(0, place), std::regex(stamp))) << text;
    }
    EXPECT_EQ(lines[0].message, "orvo_screencapture_init, 7");
    EXPECT_TRUE(lines[0].level == 3 && lines[0].module == "SC" && lines[0].line == 12);
}

TEST_F(Syslog, GatesEachChannelByItsLevel) {
    struct Case {
        int set_channel, set_level, channel, level;
        bool passes;
    };
    const Case cases[] = {
        {1, 2, 1, 2, true},  {1, 2, 1, 3, false}, {1, 2, 3, 3, false},  {1, 2, 3, 2, true},   {2, 1, 1, 2, false},
        {2, 1, 3, 1, true},  {0, 0, 0, 1, false}, {0, 0, 1, 4, true},   {3, 0, 3, 4, true},   {9, 0, 0, 4, true},
        {1, 4, 2, 0, false}, {1, 4, 4, 0, false}, {1, 4, -1, 0, false}, {1, -1, 1, -1, true}, {1, 4, 1, 5, false},
    };
    for (const Case& c : cases) {
        syslog_setlevel_ex(0, 4);
        syslog_setlevel_ex(1, 4);
        EXPECT_EQ(syslog_setlevel_ex(c.set_channel, c.set_level), 0);
        syslog_ex(c.channel, c.level, "m", 1, "x");
        take();
        EXPECT_EQ(lines.size(), c.passes ? 1u : 0u) << c.set_channel << " " << c.channel << " " << c.level;
    }
    EXPECT_EQ(syslog_setlevel(2), 0);
    for (int level : {3, 2}) orvo_syslog(level, "m", 1, "x");
    take();
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_EQ(lines[0].level, 2);
}

TEST_F(Syslog, InstallsEachHookOnce) {
    syslog_hook_ex_s(2, keep_record);
    syslog_hook_ex_sa(drop_record);
    const std::pair<int, int> answers[] = {{syslog_hook(drop), 17},
                                           {syslog_hook_ex(0, drop), 17},
                                           {syslog_hook_ex(1, drop), 17},
                                           {syslog_hook_ex(3, drop), 17},
                                           {syslog_hook_ex_s(2, drop_record), 17},
                                           {syslog_hook_ex_sa(keep_record), 17},
                                           {errno, 17},
                                           {syslog_hook_ex(2, drop), 0},
                                           {syslog_hook_ex_s(1, drop_record), 0}};
    for (const auto& answer : answers) EXPECT_EQ(answer.first, answer.second) << &answer - answers;
    EXPECT_TRUE(get_syslog_hook_ex() != nullptr && get_syslog_hook_ex() != drop);
    EXPECT_TRUE(get_syslog_hook_ex_s() == keep_record && get_syslog_hook_ex_sa() == drop_record);
}

TEST_F(Syslog, CutsAtTheEndOfItsBuffer) {
    std::string ascii(20000, 'a'), chinese;
    while (chinese.size() < 20000) chinese += "\xE4\xB8\xAD";
    for (const auto& [module, message] : {std::pair("m", ascii), {"m", chinese}, {ascii.c_str(), "lost"}}) {
        orvo_syslog(1, module, 1, "%s", message.c_str());
        take();
        ASSERT_EQ(lines.size(), 1u);
        EXPECT_EQ(lines[0].text.size(), 10239u);
        EXPECT_EQ(lines[0].message, message.substr(0, lines[0].message.size()));
        EXPECT_TRUE(lines[0].marked);
    }
}

TEST_F(Syslog, DeliversWhatAFailedFormatHasWritten) {
    setlocale(LC_ALL, "C");
    const wchar_t impossible[] = {static_cast<wchar_t>(0x10FFFF), 0};
    orvo_syslog(1, "m", 1, "before %ls", impossible);
    orvo_syslog(1, "m", 1, nullptr);
    take();
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_EQ(lines[0].message.substr(0, 6), "before");
    EXPECT_LE(lines[0].message.size(), 7u);
    EXPECT_EQ(lines[1].message, "");
}

TEST_F(Syslog, ShowsASecondClockOnceInstalled) {
    static unsigned int now;
    sysregulartime_hook([] { return now; });
    for (now = 1614834367; now < 1614834370; ++now) {
        orvo_syslog(1, "m", 1, "x");
        take();
        ASSERT_EQ(lines.size(), 1u);
        const time_t second = now;
        char stamp[32];
        strftime(stamp, sizeof(stamp), "][%Y-%m-%d %H:%M:%S][", localtime(&second));
        EXPECT_EQ(lines[0].text.find(stamp), 20u) << lines[0].text;
    }
}

TEST_F(Syslog, FollowsTheZone) {
    const auto hour = [] {
        char text[8];
        orvo::log::print_local_time(text, sizeof(text), "%H", 0);
        return std::string(text);
    };
    for (const auto& [zone, midnight] : {std::pair("UTC", "00"), {"JST-9", "09"}, {"EST5", "19"}}) {
        setenv("TZ", zone, 1);
        while (hour() != midnight) std::this_thread::yield();
    }
    unsetenv("TZ");
}

// A record behind its six bytes of time.
std::string tail(const std::vector<unsigned char>& record) {
    return {record.begin() + 6, record.end()};
}

TEST_F(Syslog, BuildsBinaryRecords) {
    syslog_hook_ex_s(2, keep_record);
    orvothread_setname("me");
    int here = 0;
    syslog_ex_s(2, 1, 0x12345, 10, 1, 0x1FE, 2, -2, 4, int64_t{0x0102030405060708}, 7, 2.5, 8, "hi", 8,
                static_cast<const char*>(nullptr), 9, static_cast<void*>(nullptr), 77, 9, &here, 6, 5);
    const uint64_t before = orvo_gettimeofday_millisecond();
    const std::string big(30000, 'b');
    syslog_ex_s(1, 1, 2, 1, 8, big.c_str());
    orvothread_setname(nullptr);
    syslog_ex_s(1, 1, 2, 0);  // the thread's number is cut to four bytes
    ASSERT_EQ(records.size(), 3u);
    std::string low(4, '\0');
    const auto address = static_cast<uint32_t>(reinterpret_cast<uintptr_t>(&here));
    for (size_t i = 0; i < 4; ++i) low[i] = static_cast<char>(address >> (8 * i));
    char digits[16];
    snprintf(digits, sizeof(digits), "%4d", orvothread_selfid());
    using namespace std::string_literals;
    EXPECT_EQ(tail(records[0]), "\x45\x23me\x7F\xFE\xFE\xFF\xFF\xFF\x08\x07\x06\x05\x04\x03\x02\x01"s +
                                    "2.50hi\0\xFF\0\0\0\0"s + low + "\x05\0\0\0\xFF\xFE\xFF"s);
    EXPECT_EQ(tail(records[1]), "\x02\0me\x7F"s + big + "\0\xFF\xFE\xFF"s);
    EXPECT_EQ(tail(records[2]), "\x02\0"s + std::string(digits, 4) + "\x7F\xFF\xFE\xFF");
    uint64_t time = 0;
    for (size_t i = 6; i-- > 0;) time = time << 8 | records[1][i];
    time -= uint64_t{1} << 40;  // the kind, added to the last byte of the time
    EXPECT_TRUE(before <= time && time <= orvo_gettimeofday_millisecond());
}

}  // namespace
