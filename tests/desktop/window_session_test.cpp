// The window capture session: its timer, targets, pictures, crop, scale and the times and errors it reports.
#include "ScreenCapture/window/OrvoWindowCaptureSession.h"

#include "support/desktop/host.h"
#include "support/desktop/words.h"

namespace orvo::test {
namespace {

constexpr double tick = 0.2;  // seconds, at five frames a second

class WindowSession : public DesktopTest {
  protected:
    void SetUp() override {
        DesktopTest::SetUp();
        desk.addWindow({.number = 9, .pid = 200, .title = "Mail", .bounds = {30, 30, 40, 40}});
        desk.addWindow({.number = 8, .pid = 100, .title = "Tools", .bounds = {50, 40, 40, 40}});
        desk.addWindow({.number = 7, .pid = 100, .title = "Editor", .bounds = {10, 20, 64, 48}});
    }
    // Captures a target at five frames a second; its first tick is due and has not run.
    void start(uint32_t target) {
        init();
        orvo_screencapture_set_cursor_visible(0);
        orvo_screencapture_set_fps(5);
        orvo_screencapture_set_target_window(target);
        orvo_screencapture_start_capture();
        runSteps();
        desk.stepper.run(mainQueue);
        takeLog();
    }
    // The frame of the next tick, after what is queued has run; none: an empty one.
    ReceivedFrame nextFrame() {
        runSteps();
        desk.stepper.run(mainQueue);
        desk.stepper.run(windowQueue);
        host.windowFrames.clear();
        desk.pictures.clear();
        desk.stepper.advance(tick);
        return host.windowFrames.empty() ? ReceivedFrame{} : host.windowFrames.back();
    }
    std::vector<std::string> picturesOfNextTick() {
        nextFrame();
        return desk.pictures;
    }
    void showPicture(uint32_t window, platform::Ref<Bitmap> picture) {
        auto lock = desk.gate.hold();
        desk.window(window)->picture = std::move(picture);
    }
};

TEST_F(WindowSession, FrameRatesBecomeIntervals) {
    const struct {
        int fps;
        uint64_t interval;
    } cases[] = {{0, 66'666'666}, {4, 66'666'666}, {31, 66'666'666}, {5, 200'000'000}, {30, 33'333'333}};
    for (const auto& c : cases) {
        const auto session = OrvoWindowCaptureSession::initWithSettings(std::make_shared<OrvoCaptureSettings>());
        session->setFps(c.fps);
        session->startCapture();
        EXPECT_FALSE(session->isRunning());  // not before the main queue runs
        desk.stepper.run(mainQueue);
        EXPECT_EQ(desk.stepper.timers(), std::vector<uint64_t>{c.interval}) << c.fps;
        session->startCapture();  // starts again
        desk.stepper.run(mainQueue);
        EXPECT_EQ(takeLog(), (Lines{"unnamed CaptureSession will stopCapture", "unnamed CaptureSession startCapture",
                                    "unnamed CaptureSession will stopCapture", "unnamed CaptureSession stopCapture",
                                    "unnamed CaptureSession startCapture"}));
        session->stopCapture();
        EXPECT_TRUE(desk.stepper.timers().empty());
        takeLog();
    }
}

TEST_F(WindowSession, AFrameReachesBothCallbacksWithItsTime) {
    orvo_screencapture_set_timestamp_offset(1);  // lost: before init
    start(7);
    orvo_screencapture_set_timestamp_offset(500);
    host.take();
    desk.stepper.run(windowQueue);
    ASSERT_EQ(host.frames.size(), 1u);
    ASSERT_EQ(host.windowFrames.size(), 1u);
    const auto& frame = host.windowFrames[0];
    EXPECT_EQ(host.take(), (Lines{"frame", "window frame 7"}));
    EXPECT_EQ(frame.window, 7u);
    EXPECT_EQ(frame.format.width, 64);
    EXPECT_EQ(frame.format.height, 48);
    EXPECT_EQ(frame.format.strides[0], 256);
    EXPECT_EQ(frame.length, 256u * 48);
    EXPECT_EQ(frame.time, 500u + 1678307200000u);
    EXPECT_EQ(frame.timeScale, 1000u);
    EXPECT_EQ(frame.at(63, 47), patternPixel(7, 63, 47));
    EXPECT_EQ(frame.data, host.frames[0].data);
    host.silenceFrames();
    EXPECT_EQ(nextFrame().time, 500u + 1678307200200u);
    EXPECT_EQ(host.frames.size(), 1u);
    orvo_screencapture_set_capture_video_pixel_format(100);
    EXPECT_EQ(nextFrame().format.pixelFormat, 100);
}

TEST_F(WindowSession, ModesAskForTheirPictures) {
    desk.addWindow({.number = 3, .pid = 1, .bounds = {0, 0, 1920, 1080}, .isDesktopElement = true});
    desk.addDisplay({.number = 2, .bounds = {1920, 100, 32, 24}});
    unsigned int excluded[] = {8, 8};
    start(7);
    const struct {
        int mode;
        const char* asked;
    } cases[] = {{1, "window 7"}, {3, "area 10,20 64x48"}, {5, "composed 10,20 64x48: 7 8"}, {-1, "window 7"}};
    for (const auto& c : cases) {
        orvo_screencapture_set_target_window_mode(c.mode);
        EXPECT_EQ(picturesOfNextTick(), Lines{c.asked});
    }
    orvo_screencapture_set_target_window_mode(5);
    orvo_screencapture_set_excluded_windows(excluded, 2, true);
    EXPECT_EQ(picturesOfNextTick(), Lines{"composed 10,20 64x48: 7"});
    EXPECT_EQ(nextFrame().at(45, 25), patternPixel(7, 45, 25));
    desk.window(7)->accessible = desk.window(8)->accessible = false;  // nothing is known of the application
    EXPECT_EQ(picturesOfNextTick(), Lines{"composed 10,20 64x48: 3 7 9"});
    orvo_screencapture_set_target_window_mode(3);
    desk.closeWindow(7);  // its area is shown all the same
    EXPECT_EQ(picturesOfNextTick(), Lines{"area 10,20 64x48"});
    orvo_screencapture_set_target_window_mode(1);
    orvo_screencapture_set_target_window(2);  // a display, less the excluded windows, desktop elements included
    EXPECT_EQ(picturesOfNextTick(), Lines{"composed 1920,100 32x24: 3 9"});
    orvo_screencapture_set_excluded_windows(excluded, 1, false);  // goes twice
    EXPECT_EQ(picturesOfNextTick(), Lines{"display 2"});
    EXPECT_EQ(nextFrame().window, 2u);
}

TEST_F(WindowSession, OutputSizesPlaceThePicture) {
    const struct {
        int width, height, mode;
        platform::Rect placement;  // empty: not drawn
        int gotWidth, gotHeight;   // 0: no frame
    } cases[] = {
        {640, 480, 0, {0, 80, 640, 320}, 640, 480},
        {640, 480, 1, {-160, 0, 960, 480}, 640, 480},
        {640, 480, 2, {0, 0, 640, 480}, 640, 480},
        {640, 480, -7, {0, 0, 640, 480}, 640, 480},
        {500, 1000, 0, {0, 375, 500, 250}, 500, 1000},
        {1280, 0, 0, {}, 1000, 500},
        {0, 720, 1, {}, 1000, 500},
        {1008, 8, 2, {0, 0, 1008, 8}, 1008, 8},
        {1009, 8, 2, {0, 0, 1009, 8}, 0, 0},
        {-640, 480, 2, {0, 0, -640, 480}, 0, 0},
    };
    showPicture(7, pattern(7, 1000, 500));  // rows of 4032 bytes
    start(7);
    for (const auto& c : cases) {
        desk.placements.clear();
        orvo_screencapture_set_resolution(c.width, c.height);
        orvo_screencapture_set_resolution_mode(c.mode);
        const auto frame = nextFrame();
        EXPECT_EQ(frame.format.width, c.gotWidth) << c.width;
        EXPECT_EQ(frame.format.height, c.gotHeight) << c.width;
        if (c.gotWidth) {
            EXPECT_EQ(frame.format.strides[0], 4032);
        }  // the source's
        if (c.placement == platform::Rect{}) {
            EXPECT_TRUE(desk.placements.empty());
        } else {
            ASSERT_FALSE(desk.placements.empty());
            EXPECT_EQ(desk.placements.back(), c.placement) << words(desk.placements.back());
        }
    }
    orvo_screencapture_set_resolution(640, 480);
    orvo_screencapture_set_resolution_mode(0);
    const auto fitted = nextFrame();
    EXPECT_EQ(fitted.at(320, 79), nothing);  // a bar
    EXPECT_EQ(fitted.at(320, 90)[2], 7);
    EXPECT_EQ(host.count("error 3"), 0u);
}

TEST_F(WindowSession, CropsAreMultipliedByTheScaleOfTheScreenWithFocus) {
    const struct {
        int left, top, width, height;
        int gotWidth, gotHeight;  // pixels; 0: no frame
        Pixel first;
    } cases[] = {
        {10, 20, 300, 200, 600, 400, patternPixel(7, 20, 40)},
        {-10, -5, 20, 10, 20, 10, patternPixel(7, 0, 0)},
        {490, 240, 300, 200, 20, 20, patternPixel(7, 980, 480)},
        {500, 0, 10, 10, 0, 0, {}},
        {0, 0, 0, 10, 0, 0, {}},
        {0, 0, 0, 0, 1000, 500, patternPixel(7, 0, 0)},
    };
    desk.displays[0] = {.number = 1, .bounds = {0, 0, 1440, 900}, .scale = 2};
    showPicture(7, pattern(7, 1000, 500));
    start(7);
    for (const auto& c : cases) {
        orvo_screencapture_set_target_window_rect(c.left, c.top, c.width, c.height);
        const auto frame = nextFrame();
        EXPECT_EQ(frame.format.width, c.gotWidth) << c.left;
        EXPECT_EQ(frame.format.height, c.gotHeight) << c.left;
        if (c.gotWidth) {
            EXPECT_EQ(frame.at(0, 0), c.first) << c.left;
        }
    }
    EXPECT_EQ(host.count("error 3"), 0u);
}

TEST_F(WindowSession, UnusablePicturesAreReportedAfterThreeSecondsAndThenOnEveryTick) {
    showPicture(7, pattern(7, 1, 10));  // one pixel is too narrow
    start(7);
    desk.stepper.run(windowQueue);
    EXPECT_EQ(host.count("error 3"), 1u);  // none was ever good
    showPicture(7, pattern(7, 2, 10));
    EXPECT_EQ(nextFrame().format.width, 2);
    desk.window(7)->refuses = platform::NoImage::notPermitted;
    host.take();
    desk.stepper.advance(3.0);
    EXPECT_EQ(host.count("error 3"), 0u);
    desk.stepper.advance(3 * tick);
    EXPECT_EQ(host.count("error 3"), 3u);
    desk.window(7)->refuses = platform::NoImage::none;
    EXPECT_EQ(nextFrame().format.width, 2);
    EXPECT_TRUE(orvo_screencapture_is_capturing());
}

TEST_F(WindowSession, TargetsAreCapturedInTheOrderAdded) {
    unsigned int more[] = {9, 8, 9, 7};
    start(7);
    orvo_screencapture_set_extra_target_windows(more, 4, true);
    orvo_screencapture_set_extra_target_windows(more, 0, false);
    EXPECT_EQ(picturesOfNextTick(), (Lines{"window 7", "window 9", "window 8"}));
    unsigned int fewer[] = {7, 55};
    orvo_screencapture_set_extra_target_windows(fewer, 2, false);
    EXPECT_EQ(picturesOfNextTick(), (Lines{"window 9", "window 8"}));
    orvo_screencapture_set_target_window(8);
    EXPECT_EQ(picturesOfNextTick(), Lines{"window 8"});
}

TEST_F(WindowSession, ANumberThatReturnsIsAnotherWindowUntilItIsChosenAgain) {
    start(7);
    EXPECT_EQ(nextFrame().window, 7u);
    desk.closeWindow(7);
    nextFrame();
    desk.addWindow({.number = 7, .pid = 300, .title = "Bank", .bounds = {0, 0, 32, 32}});
    EXPECT_EQ(nextFrame().window, 0u);
    orvo_screencapture_set_target_window(7);
    EXPECT_EQ(nextFrame().format.width, 32);
}

// That a result serves only while it is right is tried at random elsewhere.
TEST_F(WindowSession, AnUnchangedPictureIsScaledOnce) {
    start(7);
    orvo_screencapture_set_resolution(32, 24);
    const size_t before = desk.gate.calls("draw");
    nextFrame();
    nextFrame();
    EXPECT_EQ(desk.gate.calls("draw"), before + 1);
}

TEST_F(WindowSession, StartsAndStopsKeepTheirOrderWhicheverQueueRunsFirst) {
    init();
    orvo_screencapture_set_target_window(7);
    for (const bool mainFirst : {true, false}) {
        takeLog();
        orvo_screencapture_start_capture();
        runSteps();
        orvo_screencapture_stop_capture();
        if (mainFirst) desk.stepper.run(mainQueue);
        runSteps();
        desk.stepper.run(mainQueue);
        EXPECT_TRUE(desk.stepper.timers().empty()) << mainFirst;
        const auto log = takeLog();
        EXPECT_EQ(std::count(log.begin(), log.end(), "unnamed CaptureSession startCapture"), mainFirst);
        orvo_screencapture_start_capture();
        orvo_screencapture_stop_capture();
        orvo_screencapture_start_capture();
        runSteps();
        desk.stepper.run(mainQueue);
        EXPECT_EQ(desk.stepper.timers().size(), 1u) << mainFirst;
        orvo_screencapture_stop_capture();
        runSteps();
        EXPECT_TRUE(desk.stepper.timers().empty());
    }
}

TEST_F(WindowSession, ADisplayChosenMeanwhileTakesTheFramesAwayUntilTheNextStart) {
    start(7);
    EXPECT_EQ(nextFrame().window, 7u);
    orvo_screencapture_set_target_screen(1);
    takeLog();
    desk.stepper.advance(tick);
    EXPECT_EQ(takeLog(), Lines{"CS CaptureSession is not window !!!!!"});
    desk.stepper.advance(4 * tick);
    EXPECT_EQ(takeLog(), Lines());  // not again within the second
    EXPECT_EQ(host.windowFrames.size(), 1u);
    EXPECT_FALSE(orvo_screencapture_is_capturing());
    orvo_screencapture_start_capture();
    runSteps();
    desk.stepper.run(mainQueue);
    EXPECT_TRUE(desk.device().running);
    EXPECT_TRUE(desk.stepper.timers().empty());
    EXPECT_TRUE(orvo_screencapture_is_capturing());
}

TEST_F(WindowSession, AStartThatWaitsIsVoidWhenADisplayStarts) {
    init();
    orvo_screencapture_set_target_window(7);
    orvo_screencapture_start_capture();
    runSteps();
    orvo_screencapture_set_target_screen(1);
    orvo_screencapture_start_capture();
    runSteps();
    desk.stepper.run(mainQueue);
    EXPECT_TRUE(desk.stepper.timers().empty());
    EXPECT_TRUE(desk.device().running);
}

TEST_F(WindowSession, UninitEndsTheTicks) {
    start(7);
    orvo_screencapture_uninit();
    desk.stepper.advance(tick);
    EXPECT_TRUE(host.windowFrames.empty());
    desk.stepper.settle();
    EXPECT_TRUE(desk.stepper.timers().empty());
    start(7);
    orvo_screencapture_set_target_window(8);  // while running: a stop and a start
    runSteps();
    desk.stepper.run(mainQueue);
    EXPECT_EQ(desk.stepper.timers().size(), 1u);
    EXPECT_EQ(nextFrame().window, 8u);
}

}  // namespace
}  // namespace orvo::test
