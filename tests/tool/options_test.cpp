// The options of a recording: what is accepted, where the frames come from and where they go.
#include <gtest/gtest.h>

#include <CLI/CLI.hpp>

#include "tools/orvocap/application.h"
#include "tools/orvocap/recording.h"
#include "tools/orvocap/targets.h"

namespace orvocap {
namespace {

void parse(TargetOptions& options, const std::string& line) {
    CLI::App app;
    options.addTo(app);
    app.parse(line);
}

TEST(TargetOptions, RefusesWhatMakesNoSense) {
    const char* const lines[] = {
        "--screen main --rect 1,2,3",
        "--screen main --rect 1,2,3,4,5",
        "--screen main --rect 1;2;3;4",
        "--screen main --rect a,b,c,d",
        "--screen main --rect=-1,0,10,10",
        "--screen main --rect 0,0,0,10",
        "--screen main --rect 1,2,3,99999999999",
        "--screen main --rect 0,0,9,9 --size 4x4",
        "--screen main --rect 0,0,9,9 --crop 0,0,4,4",
        "--screen main --window 1",
        "--screen main --mode area",
        "--screen main --extra 1",
        "--screen main --fit fill",
        "--rect 0,0,9,9",
        "--window 1 --rect 0,0,9,9",
        "--window 1 2",
        "--window x",
        "--window -1",
        "--window 1 --extra",
        "--window 1 --extra x",
        "--window 1 --mode 2",
        "--window 1 --mode all",
        "--window 1 --size 10",
        "--window 1 --size 10x",
        "--window 1 --size 0x10",
        "--window 1 --size 10x10x10",
        "--window 1 --size 10x10 --fit 9",
        "--window 1 --crop 0,0,10",
    };
    for (const char* line : lines) {
        TargetOptions options;
        EXPECT_THROW(parse(options, line), CLI::ParseError) << line;
    }
    for (const char* line : {"", "--window 1 --exclude 2", "--window 1 --exclude 2 --mode 3"}) {
        TargetOptions options;
        parse(options, line);
        EXPECT_THROW(options.resolve(), Failure) << line;
    }
}

TEST(Seconds, AreAboveZeroAndEnd) {
    for (const char* text : {"0", "-1", "nan", "inf", "1e999", "x", ""}) {
        CLI::App app;
        double seconds = 7;
        addSeconds(app, seconds, "how long");
        EXPECT_THROW(app.parse(std::vector<std::string>{std::string("--seconds=") + text}), CLI::ParseError) << text;
        EXPECT_EQ(seconds, 7) << text;
    }
}

TEST(TargetOptions, KnowWhereTheirFramesComeFrom) {
    struct Case {
        const char* line;
        bool onWindowPath;
        std::vector<unsigned int> targets;
    };
    const Case cases[] = {
        {"--screen main", false, {0}},
        {"--screen main --rect 0,0,9,9 --cursor", false, {0}},
        {"--screen main --exclude 5", true, {0}},  // the screen's number is known once it is resolved
        {"--screen main --size 64x48", true, {0}},
        {"--screen main --crop 0,0,9,9", true, {0}},
        {"--window 7", true, {7}},
        {"--window 0x10 --mode application --exclude 2,3", true, {16}},
        {"--window 7 --extra 8 9 --mode 3 --size 64x48 --fit fill", true, {7, 8, 9}},
        {"--window 7 --extra 8,7,8 --extra 9", true, {7, 8, 9}},
    };
    for (const Case& given : cases) {
        TargetOptions options;
        ASSERT_NO_THROW(parse(options, given.line)) << given.line;
        EXPECT_EQ(options.onWindowPath(), given.onWindowPath) << given.line;
        EXPECT_EQ(options.targets(), given.targets) << given.line;
    }
}

TEST(TargetOptions, KnowTheFramesOfTheirRectangle) {
    TargetOptions options;
    parse(options, "--screen main --rect 10,20,64,40");
    EXPECT_TRUE(options.matches(64, 40));
    EXPECT_TRUE(options.matches(128, 80));  // two pixels to the point
    EXPECT_FALSE(options.matches(1280, 801));
    EXPECT_FALSE(options.matches(128, 40));
    EXPECT_FALSE(options.matches(32, 20));
}

TEST(Output, GivesEachWindowAFileOfItsOwn) {
    const std::pair<const char*, const char*> cases[] = {
        {"film.y4m", "film-window-12.y4m"},
        {"a.b/film.y4m", "a.b/film-window-12.y4m"},
        {"a.b/film", "a.b/film-window-12"},
        {"a/.film", "a/.film-window-12"},
    };
    for (const auto& [file, expected] : cases) EXPECT_EQ(withWindow(file, 12), expected);
    OutputOptions options;
    options.y4mFile = "-";
    EXPECT_THROW(static_cast<void>(options.makeSink(12)), Failure);
}

}  // namespace
}  // namespace orvocap
