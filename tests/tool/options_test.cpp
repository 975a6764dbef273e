// The options of a recording: what is accepted, and which windows they name.
#include <gtest/gtest.h>

#include <CLI/CLI.hpp>

#include "tools/orvocap/application.h"
#include "tools/orvocap/recording.h"
#include "tools/orvocap/targets.h"

namespace orvocap {
namespace {

void parse(TargetOptions& options, const std::string& line) {
    CLI::App app;
    options.addTo(app, false);
    app.parse(line);
}

TEST(TargetOptions, RefusesWhatMakesNoSense) {
    const char* const lines[] = {
        "--screen main --rect 1,2,3,4,5",
        "--screen main --rect a,b,c,d",
        "--screen main --rect=-1,0,10,10",
        "--screen main --rect 0,0,0,10",
        "--screen main --rect 1,2,3,99999999999",
        "--rect 0,0,101%,1",
        "--screen main --rect 0,0,9,9 --size 4x4",
        "--screen main --fit fill",
        "--window 1 --rect 0,0,9,9",
        "--window ''",
        "--pid 0",
        "--cursor --no-cursor",
        "--window 1 --mode 2",
        "--window 1 --size 0x10",
        "--window 1 --size 10x10x10",
    };
    for (const char* line : lines) {
        TargetOptions options;
        EXPECT_THROW(parse(options, line), CLI::ParseError) << line;
    }
    for (const char* line : {"--extra 1", "--mode area", "--screen main --mode area", "--window 1 --exclude 2"}) {
        TargetOptions options;
        parse(options, line);
        EXPECT_THROW(options.resolve(), Failure) << line;
    }
}

TEST(Seconds, AreWrittenAsPeopleDo) {
    const std::pair<const char*, double> good[] = {{"10", 10},   {"0.5", 0.5}, {"90s", 90},       {"2m", 120},
                                                   {"1h", 3600}, {"1:30", 90}, {"1:02:03", 3723}, {"0:01.5", 1.5}};
    for (const auto& [text, seconds] : good) EXPECT_EQ(readSeconds(text), seconds) << text;
    for (const char* text :
         {"0", "-1", "nan", "inf", "1e999", "x", "", "1:", ":1", "1:2:3:4", "1:30m", "5d", "s", "1.2.3"})
        EXPECT_FALSE(readSeconds(text)) << text;
}

TEST(Area, MayBeInPercent) {
    EXPECT_EQ(Area::inPoints("0,0,50%,100%", 1281, 800), "0,0,640,800");
    EXPECT_EQ(Area::inPoints("25%,10%,9,9", 1280, 800), "320,80,9,9");
}

TEST(Windows, AreNamedByWhatAPersonKnows) {
    const std::vector<ListedItem> items = {
        {.number = 1, .isScreen = true, .title = "desk 1"},
        {.number = 12, .title = "Inbox - Mail", .owner = "Mail", .processID = 5, .classes = {"mail", "Mail"}},
        {.number = 13, .title = "Mail", .owner = "Editor", .processID = 6, .classes = {"edit", "Editor"}},
        {.number = 14, .title = "12 monkeys", .owner = "Player", .processID = 5, .classes = {"mpv", "Mpv"}},
    };
    const std::pair<const char*, std::vector<unsigned int>> lines[] = {
        {"--window 12", {12}},
        {"--window 0xc --extra 13,14", {12, 13, 14}},
        {"--window mail --extra 13 inbox --extra 12,13", {13, 12}},  // the whole title, though it is a part of another
        {"--window '2 m' --extra 'Inbox - Mail'", {14, 12}},         // no number
        {"--window 1", {14}},                                        // that of a screen
        {"--window desk", {}},                                       // nor is its title a window's
        {"--window 99", {}},
        {"--window m", {}},
        {"--window mail --extra m", {}},
        {"--pid 5", {}},
        {"--pid 6", {13}},
        {"--pid 5 --window monk", {14}},
        {"--class MPV", {14}},
        {"--class editor", {13}},
        {"--class mpv --window inbox", {}},
    };
    for (const auto& [line, numbers] : lines) {
        CLI::App app;
        WindowTargets windows;
        windows.addTo(app);
        app.parse(line);
        try {
            windows.resolve(items);
            EXPECT_EQ(windows.numbers(), numbers) << line;
        } catch (const Failure& failure) {
            EXPECT_TRUE(numbers.empty()) << line << ": " << failure.what();
            EXPECT_NE(std::string(failure.what()).find("\n  12 \"Inbox - Mail\" [Mail, process 5]"), std::string::npos);
        }
    }
}

}  // namespace
}  // namespace orvocap
