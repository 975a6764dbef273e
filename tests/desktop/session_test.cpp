// The screen capture session on the display path: what reaches the device, in which order, and what the host sees.
#include <climits>

#include "support/desktop/host.h"

namespace orvo::test {
namespace {

class Session : public DesktopTest {
  protected:
    void SetUp() override {
        DesktopTest::SetUp();
        heard = kHost | kDevice;
        perform("plug 2 1920 0 1280 720");
    }
};

TEST_F(Session, StartsStopsAndEndsInTheOrderAsked) {
    follow(R"(
        rect 1 0 0 1 1, window 7, mode 1, crop 0 0 1 1, capturing? -> refused, refused, refused, refused, no
        init, start, steps -> error 2
        screen 1, start, start, steps, capturing? -> begin, commit, start, yes
        stop, stop, steps, capturing? -> stop, no
        screen 1, start, uninit, steps -> begin, commit
        init, start -> error 2
        screen 1, start, steps, frame 16 2 1, stop, settle -> begin, commit, start, stop
        start, steps, frame 16 2 1, stop, uninit, main, capturing? -> start, no
        steps -> stop
        init, screen 1, start, steps, frame 16 2 1, uninit, main -> begin, commit, start
    )");
}

TEST_F(Session, ANewDisplayGetsANewInputWithTheFrameRateOnly) {
    orvo_screencapture_init();
    runSteps();
    EXPECT_EQ(take(), (Lines{"input 1", "add 1", "output", "observe", "duration 1/15", "cursor 1", "clicks 0"}));
    follow(R"(
        init, fps 20, cursor 0, steps -> duration 1/20, cursor 0
        rect 1 0 0 100 100, steps -> begin, commit, begin, crop 0,980 100x100, commit
        screen 1, steps -> begin, commit
        screen 2, steps -> begin, remove 1, input 2, add 2, commit, duration 1/20
        screen 99, steps -> begin, remove 2, input 99, commit
        screen 1, steps -> begin, input 1, add 1, commit, duration 1/20
        start, steps -> start
        screen 2, steps -> stop, begin, remove 1, input 2, add 2, commit, duration 1/20, start
        rect 2 0 0 100 100, steps -> stop, begin, commit, begin, crop 0,620 100x100, commit, start
        screen 1, stop, settle -> stop, begin, remove 2, input 1, add 1, commit, duration 1/20
    )");
    desk.device().acceptsInput = false;
    follow("screen 2, steps -> begin, remove 1, input 2, commit, duration 1/20");
}

TEST_F(Session, RectanglesAreAcceptedToTheEdgeAndRefusedBeyond) {
    const std::string wide = "CS the width is too large!!!!!! theScreenWidth is 1920.000000";
    const std::string high = "CS the height is too large!!!!!! theScreenHeight is 1080.000000";
    const struct {
        int left, top, width, height;
        std::string crop;     // that reaches the device
        std::string refusal;  // its line in the log
    } cases[] = {
        {0, 0, 1920, 1080, "0,0 1920x1080", ""},
        {120, 100, 1800, 500, "120,480 1800x500", ""},
        {-5, -6, 10, 12, "-5,1074 10x12", ""},
        {121, 0, 1800, 10, "", wide},
        {0, 581, 10, 500, "", high},
        {121, 581, 1800, 500, "", wide},
        // The sums wrap to negative numbers, which are not too large.
        {INT_MAX, 0, 1, 10, "2.14748e+09,1070 1x10", ""},
        {0, INT_MAX, 10, INT_MAX, "0,-4.29497e+09 10x2.14748e+09", ""},
    };
    init();
    for (const auto& c : cases) {
        EXPECT_TRUE(orvo_screencapture_set_target_rect(1, c.left, c.top, c.width, c.height));
        runSteps();
        const auto events = desk.gate.take(kHost | kDevice | kLog);
        EXPECT_EQ(contains(events, "crop " + c.crop), c.refusal.empty()) << c.left;
        EXPECT_EQ(contains(events, c.refusal), !c.refusal.empty()) << c.left;
    }
    perform("rect 1 0 0 10 10, fail setCropRect, steps");
    EXPECT_TRUE(contains(takeLog(), "CS error name:NSInvalidArgumentException   error reason:crop 0,1070 10x10"));
    follow("fail, start, steps, capturing? -> start, yes");  // the display is chosen all the same
}

TEST_F(Session, WindowSettersTakeDisplayFramesAwayBeforeTheirStepRuns) {
    perform("open 7 100 10 10 64 48 Editor");
    for (const std::string setter : {"window 7", "mode 1", "crop 0 0 0 0", "fit 0"}) {
        follow("init, screen 1, start, steps, frame 16 2 1, main -> begin, commit, start, frame 16x2 of 1\n" + setter +
               R"(, frame 16 2 2, main
                  steps
                  start, steps, main, timers?, capturing? -> stop, 66666666, yes
                  screen 1, start, steps -> begin, commit, start
                  settle, timers?, capturing? -> yes
                  uninit, settle -> stop)");
    }
}

TEST_F(Session, DeviceFailuresBecomeErrorFourAndAConsoleLine) {
    const struct {
        void (platform::DisplayCaptureDelegate::*kind)(const platform::CaptureFailure&);
        platform::CaptureFailure failure;
        const char* line;
    } cases[] = {
        {&platform::DisplayCaptureDelegate::onRuntimeError, {"Restart it", "It died"}, "ERROR: Restart it"},
        {&platform::DisplayCaptureDelegate::onRuntimeError, {"", "It died"}, "ERROR: It died"},
        {&platform::DisplayCaptureDelegate::onInterruption, {"Plug it in", ""}, "ERROR: Plug it in"},
        {&platform::DisplayCaptureDelegate::onInterruption, {}, "ERROR: (null)"},
    };
    perform("init, screen 1, start, steps");
    heard = kHost | kConsole;
    for (const auto& c : cases) {
        take();
        desk.device().report([&](auto& delegate) { (delegate.*c.kind)(c.failure); });
        EXPECT_EQ(take(), Lines());
        perform("main, steps");
        EXPECT_EQ(take(), (Lines{c.line, "error 4"}));
    }
    follow("capturing? -> yes");  // nothing is started again or stopped on its own
}

TEST_F(Session, AFrameIsTheDevicesOwnMemoryDescribedExactly) {
    const struct {
        int format;
        platform::Size shown;  // zero: the buffer's size
        size_t planes;
        platform::MediaTime time;
        unsigned long long milliseconds;
        int width = 100, height = 3;
        unsigned int length = 448 * 3;  // rows of 448 bytes
    } cases[] = {
        {4, {}, 0, {90000, 90000}, 1000},
        {100, {}, 0, {1, 3}, 333},
        {7, {}, 0, {-1, 3}, static_cast<unsigned long long>(-333)},
        {0, {}, 0, {7, 0}, 0},
        {4, {15.9, 2.5}, 2, {9007199254740993, 1000}, 9007199254740993, 15, 2, 1120},
    };
    perform("init, screen 1, start, steps, offset 5000");  // of no concern to displays
    const auto image = pattern(1, 100, 3);
    const char planes[3] = {};
    for (const auto& c : cases) {
        const auto frame = platform::makeCounted<FrameBuffer>(image);
        frame->shown = c.shown;
        if (c.planes) frame->planes = {&planes[0], &planes[1], &planes[2]};
        orvo_screencapture_set_capture_video_pixel_format(c.format);
        if (c.planes) orvo_screencapture_set_capture_video_pixel_format(100);
        desk.device().produce(frame, c.time);
        desk.stepper.run(mainQueue);
        const auto& got = host.last;
        const bool isBuffer = c.format == 100 || c.planes;
        EXPECT_EQ(got.data, isBuffer ? frame->hostHandle() : image->bytes()) << c.format;
        EXPECT_EQ(got.length, c.length);
        EXPECT_EQ(got.format.width, c.width);
        EXPECT_EQ(got.format.height, c.height);
        EXPECT_EQ(got.format.strides[0], 448);
        EXPECT_EQ(got.format.strides[1] | got.format.strides[2] | got.format.strides[3] | got.format.reserved, 0);
        EXPECT_EQ(got.format.pixelFormat, isBuffer ? 100 : 4);
        EXPECT_EQ(got.time, c.milliseconds);
        EXPECT_EQ(got.timeScale, 1000u);
        EXPECT_EQ(frame->locks, 0);
        EXPECT_TRUE(frame->unique());  // nobody keeps it
    }
}

TEST_F(Session, ABusyMainQueueFindsTheNewestFrameOnly) {
    heard = kHost;
    follow(R"(
        init, screen 1, start, steps
        frame 1 1 1, frame 2 1 2, frame 3 1 3, main -> frame 3x1 of 1
        silence, frame 1 1 4, main, capturing? -> yes
        listen, frame 4 1 5, main -> frame 4x1 of 1
        uninit, init, screen 1, start, steps, frame 5 1 6, main -> frame 5x1 of 1
    )");
}

TEST_F(Session, StatisticsCountWhatBecameOfTheTicks) {
    OrvoScreenCaptureStatistics figures = ORVO_SCREENCAPTURE_STATISTICS_INIT;
    EXPECT_FALSE(orvo_screencapture_get_statistics(&figures));
    EXPECT_FALSE(orvo_screencapture_get_statistics(nullptr));
    // At 15 a second a gap of 100 ms is one and a half intervals.
    const struct {
        const char* step;
        uint64_t delivered, merged, longestGap;
    } cases[] = {
        {"init, screen 1, start, steps, frame 1 1 1000, main", 1, 0, 0},
        {"frame 1 1 1067, main", 2, 0, 67},
        {"frame 1 1 1166, main", 3, 0, 99},
        {"frame 1 1 1267, main", 4, 1, 101},
        {"frame 1 1 1467, main", 5, 3, 200},
        {"drop, drop, frame 1 1 1734, main", 6, 4, 267},
        {"drop, frame 1 1 1800, main", 7, 4, 267},
        {"stop, start, steps, frame 1 1 9000, main", 8, 4, 267},  // a start begins a new sequence
    };
    for (const auto& c : cases) {
        perform(c.step);
        ASSERT_TRUE(orvo_screencapture_get_statistics(&figures));
        EXPECT_EQ(figures.framesDelivered, c.delivered);
        EXPECT_EQ(figures.ticksMerged, c.merged) << c.step;
        EXPECT_EQ(figures.longestGapMilliseconds, c.longestGap) << c.step;
    }
    EXPECT_EQ(figures.framesDropped, 3u);
}

}  // namespace
}  // namespace orvo::test
