// The log core: the line's bytes, gates, hook slots, cutting and binary records.
#include "xplatform/common/orvosyslog.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <clocale>
#include <cstdlib>
#include <cstring>
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
    const char* tags[] = {"", "[import]", "[error ]", "[warn  ]", "[notice]", "[debug ]"};
    for (int level = -1; level <= 4; ++level) orvo_syslog(level, nullptr, -5, "x");
    orvothread_setname(nullptr);
    take();
    ASSERT_EQ(lines.size(), 7u);
    const std::string stamp = R"(\[\d{4}-\d\d-\d\d \d\d:\d\d:\d\d\]\[\d+\])";
    const std::string id = std::to_string(orvothread_selfid());
    const std::regex form(stamp + R"(\[notice\]\[unnamed thread:)" + id + R"(\]\[SC:12\]: orvo_screencapture_init, 7)");
    EXPECT_TRUE(std::regex_match(lines[0].text, form)) << lines[0].text;
    EXPECT_EQ(lines[0].message, "orvo_screencapture_init, 7");
    EXPECT_EQ(lines[0].level, 3);
    EXPECT_EQ(lines[0].module, "SC");
    EXPECT_EQ(lines[0].line, 12);
    for (size_t i = 1; i < lines.size(); ++i) {
        const std::string end = std::string(tags[i - 1]) + "[screencap_logger:" + id + "][(null):-5]: x";
        const std::string& text = lines[i].text;
        ASSERT_GT(text.size(), end.size());
        EXPECT_EQ(text.substr(text.size() - end.size()), end);
        EXPECT_TRUE(std::regex_match(text.substr(0, text.size() - end.size()), std::regex(stamp))) << text;
    }
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
    orvo_syslog(3, "m", 1, "x");
    take();
    EXPECT_TRUE(lines.empty());
    orvo_syslog(2, "m", 1, "x");
    take();
    EXPECT_EQ(lines.size(), 1u);
}

TEST_F(Syslog, InstallsEachHookOnce) {
    auto refused = [](auto call) {
        errno = 0;
        return call() == 17 && errno == 17;
    };
    syslog_hook_ex_s(2, keep_record);
    syslog_hook_ex_sa(drop_record);
    EXPECT_TRUE(refused([] { return syslog_hook(drop); }));
    for (int channel : {0, 1, 3}) EXPECT_TRUE(refused([=] { return syslog_hook_ex(channel, drop); }));
    EXPECT_TRUE(refused([] { return syslog_hook_ex_s(2, drop_record); }));
    EXPECT_TRUE(refused([] { return syslog_hook_ex_sa(keep_record); }));
    EXPECT_EQ(syslog_hook_ex(2, drop), 0);
    EXPECT_EQ(syslog_hook_ex_s(1, drop_record), 0);
    EXPECT_NE(get_syslog_hook_ex(), nullptr);
    EXPECT_NE(get_syslog_hook_ex(), drop);
    EXPECT_EQ(get_syslog_hook_ex_s(), keep_record);
    EXPECT_EQ(get_syslog_hook_ex_sa(), drop_record);
}

TEST_F(Syslog, CutsAtTheEndOfItsBuffer) {
    for (const std::string& unit : {std::string("a"), std::string("\xE4\xB8\xAD")}) {
        std::string message;
        while (message.size() < 20000) message += unit;
        orvo_syslog(1, "m", 1, "%s", message.c_str());
        take();
        ASSERT_EQ(lines.size(), 1u);
        EXPECT_EQ(lines[0].text.size(), 10239u);
        EXPECT_EQ(lines[0].message, message.substr(0, lines[0].message.size()));
        EXPECT_TRUE(lines[0].marked);
    }
    std::string module(20000, 'm');
    orvo_syslog(1, module.c_str(), 1, "lost");
    take();
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_EQ(lines[0].text.size(), 10239u);
    EXPECT_EQ(lines[0].message, "");
}

TEST_F(Syslog, DeliversWhatAFailedFormatHasWritten) {
    setlocale(LC_ALL, "C");
    const wchar_t impossible[] = {static_cast<wchar_t>(0x10FFFF), 0};
    orvo_syslog(1, "m", 1, "before %ls", impossible);
    orvo_syslog(1, "m", 1, nullptr);
    take();
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_EQ(lines[0].message.rfind("before", 0), 0u) << lines[0].message;
    EXPECT_LE(lines[0].message.size(), 7u);
    EXPECT_EQ(lines[1].message, "");
}

TEST_F(Syslog, ShowsASecondClockOnceInstalled) {
    sysregulartime_hook([] { return 1614834367u; });
    orvo_syslog(1, "m", 1, "x");
    take();
    ASSERT_EQ(lines.size(), 1u);
    time_t second = 1614834367;
    char stamp[32];
    strftime(stamp, sizeof(stamp), "][%Y-%m-%d %H:%M:%S][", localtime(&second));
    EXPECT_EQ(lines[0].text.find(stamp), 20u) << lines[0].text;
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

TEST_F(Syslog, KeepsEveryThreadsOrder) {
    constexpr int kThreads = 8, kLines = 500;
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([t] {
            for (int i = 0; i < kLines; ++i) syslog_ex(1, 1, "m", t, "%d", i);
        });
    }
    for (std::thread& thread : threads) thread.join();
    take();
    ASSERT_EQ(lines.size(), static_cast<size_t>(kThreads * kLines));
    std::vector<int> next(kThreads);
    for (const support::LogLine& line : lines)
        EXPECT_EQ(line.message, std::to_string(next[static_cast<size_t>(line.line)]++));
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
    uint64_t before = orvo_gettimeofday_millisecond();
    std::string big(30000, 'b');
    syslog_ex_s(1, 1, 2, 1, 8, big.c_str());
    orvothread_setname(nullptr);
    ASSERT_EQ(records.size(), 2u);
    std::string low(4, '\0');
    auto address = static_cast<uint32_t>(reinterpret_cast<uintptr_t>(&here));
    for (int i = 0; i < 4; ++i) low[static_cast<size_t>(i)] = static_cast<char>(address >> (8 * i));
    using namespace std::string_literals;
    EXPECT_EQ(tail(records[0]), "\x45\x23me\x7F\xFE\xFE\xFF\xFF\xFF\x08\x07\x06\x05\x04\x03\x02\x01"s +
                                    "2.50hi\0\xFF\0\0\0\0"s + low + "\x05\0\0\0\xFF\xFE\xFF"s);
    EXPECT_EQ(tail(records[1]), "\x02\0me\x7F"s + big + "\0\xFF\xFE\xFF"s);
    uint64_t time = 0;
    for (int i = 5; i >= 0; --i) time = time << 8 | records[1][static_cast<size_t>(i)];
    time -= uint64_t{1} << 40;  // the kind, added to the last byte of the time
    EXPECT_LE(before, time);
    EXPECT_LE(time, orvo_gettimeofday_millisecond());
}

TEST_F(Syslog, CutsTheThreadIdOfARecordToFourBytes) {
    syslog_hook_ex_s(2, keep_record);
    syslog_ex_s(1, 1, 2, 0);
    ASSERT_EQ(records.size(), 1u);
    char digits[16];
    snprintf(digits, sizeof(digits), "%4d", orvothread_selfid());
    EXPECT_EQ(tail(records[0]), std::string("\x02\0", 2) + std::string(digits, 4) + "\x7F\xFF\xFE\xFF");
}

}  // namespace
