// The window capture session: its timer, targets, pictures, crop, scale and the times and errors it reports.
#include "ScreenCapture/window/OrvoWindowCaptureSession.h"

#include "support/desktop/host.h"

namespace orvo::test {
namespace {

class WindowSession : public DesktopTest {
  protected:
    // start-on: captures a target at five frames a second; its first tick is due and has not run. tick: the next one,
    // after what is queued has run.
    WindowSession() {
        vocabulary["start-on"] = [this](Arguments& a) {
            perform("init, silence, cursor 0, fps 5, window " + a.rest() + ", start, steps, main");
            orvo_screencapture_reg_captured_window_status_change_notify(nullptr, nullptr);
        };
        vocabulary["tick"] = [this](Arguments&) {
            perform("steps, main, ticks");
            take();
            perform("wait 200");
        };
    }
    void SetUp() override {
        DesktopTest::SetUp();
        perform("open 9 200 30 30 40 40 Mail, open 8 100 50 40 40 40 Tools, open 7 100 10 20 64 48 Editor");
    }
};

TEST_F(WindowSession, FrameRatesBecomeIntervals) {
    const std::pair<int, uint64_t> cases[] = {
        {0, 66'666'666}, {4, 66'666'666}, {31, 66'666'666}, {5, 200'000'000}, {30, 33'333'333}};
    for (const auto& [fps, interval] : cases) {
        const auto session = OrvoWindowCaptureSession::initWithSettings(std::make_shared<OrvoCaptureSettings>());
        session->setFps(fps);
        session->startCapture();
        EXPECT_FALSE(session->isRunning());  // not before the main queue runs
        perform("main");
        EXPECT_EQ(desk.stepper.timers(), std::vector<uint64_t>{interval}) << fps;
        session->stopCapture();
        EXPECT_TRUE(desk.stepper.timers().empty());
    }
}

TEST_F(WindowSession, AFrameReachesBothCallbacksWithItsTime) {
    perform("offset 1, start-on 7, offset 500");  // the first is lost: before init
    host.listen();
    follow("ticks -> frame 64x48 of 7, window frame 7 64x48 of 7");
    EXPECT_EQ(host.last.format.strides[0], 256);
    EXPECT_EQ(host.last.length, 256u * 48);
    EXPECT_EQ(host.last.time, 500u + 1678307200000u);
    EXPECT_EQ(host.last.timeScale, 1000u);
    follow("silence, format 100, tick -> window frame 7 64x48 buffer");
    EXPECT_EQ(host.last.time, 500u + 1678307200200u);
}

TEST_F(WindowSession, ModesAskForTheirPictures) {
    perform("plug 2 1920 100 32 24, start-on 7");
    desk.windows.push_back({.number = 3, .pid = 1, .bounds = {0, 0, 1920, 1080}, .isDesktopElement = true});
    heard = kPictures;
    follow(R"(
        mode 1, tick -> window 7
        mode 3, tick -> area 10,20 64x48
        mode 5, tick -> composed 10,20 64x48: 7 8
        mode -1, tick -> window 7
        mode 5, exclude 8 8, tick -> composed 10,20 64x48: 7
        unknown 7, unknown 8, tick -> composed 10,20 64x48: 7 9 3
        mode 3, close 7, tick -> area 10,20 64x48
        mode 1, window 2, tick -> composed 1920,100 32x24: 9 3
        include 8, tick -> display 2
    )");
    heard = kHost;
    follow("tick -> window frame 2 32x24 of 2");
}

TEST_F(WindowSession, OutputSizesPlaceThePicture) {
    perform("blank 7 1000 500, start-on 7");
    follow(R"(
        size 640 480, fit 0, tick -> window frame 7 640x480 of 7 in 0,80 640x320
        fit 1, tick -> window frame 7 640x480 of 7
        fit 2, tick -> window frame 7 640x480 of 7
        fit -7, tick -> window frame 7 640x480 of 7
        size 500 1000, fit 0, tick -> window frame 7 500x1000 of 7 in 0,375 500x250
        size 1280 0, tick -> window frame 7 1000x500 of 7
        size 0 720, fit 1, tick -> window frame 7 1000x500 of 7
        size 1008 8, fit 2, tick -> window frame 7 1008x8 of 7
        size 1009 8, tick
        size -640 480, tick
    )");
    perform("size 500 250, tick");
    EXPECT_EQ(host.last.format.strides[0], 4032);  // the source's
}

TEST_F(WindowSession, CropsAreMultipliedByTheScaleOfTheScreenWithFocus) {
    perform("scale 1 2, picture 7 1000 500, start-on 7");
    follow(R"(
        crop 10 20 300 200, tick -> window frame 7 600x400 of 7 from 20,40
        crop -10 -5 20 10, tick -> window frame 7 20x10 of 7
        crop 490 240 300 200, tick -> window frame 7 20x20 of 7 from 212,224
        crop 500 0 10 10, tick
        crop 0 0 0 10, tick
        crop 0 0 0 0, tick -> window frame 7 1000x500 of 7
    )");
}

TEST_F(WindowSession, UnusablePicturesAreReportedAfterThreeSecondsAndThenOnEveryTick) {
    follow(R"(
        picture 7 1 10, start-on 7, ticks -> error 3
        picture 7 2 10, tick -> window frame 7 2x10 of 7
        refuse 7, wait 3000
        wait 600 -> error 3, error 3, error 3
        allow 7, tick -> window frame 7 2x10 of 7
        refuse 7, tick, capturing? -> yes
    )");
}

TEST_F(WindowSession, TargetsAreCapturedInTheOrderAdded) {
    follow(R"(
        start-on 7, extra 9 8 9 7, no-extra, tick -> window frame 7 64x48 of 7, window frame 9 40x40 of 9, window frame 8 40x40 of 8
        no-extra 7 55, tick -> window frame 9 40x40 of 9, window frame 8 40x40 of 8
        window 8, tick -> window frame 8 40x40 of 8
        close 8, tick
        open 8 300 0 0 32 32 Bank, tick
        window 8, tick -> window frame 8 32x32 of 8
        minimize 8, tick
        restore 8, tick -> window frame 8 32x32 of 8
        wait 100, window 8, steps, main, ticks -> window frame 8 32x32 of 8
    )");
}

TEST_F(WindowSession, StartsAndStopsKeepTheirOrderWhicheverQueueRunsFirst) {
    follow(R"(
        init, window 7, start, steps, stop, main, steps, main, timers?
        start, steps, stop, steps, main, timers?
        start, stop, start, steps, main, timers? -> 66666666
        start, steps, timers?, stop, steps, timers? -> 66666666
        start, steps, screen 1, start, steps, main, timers?, capturing? -> yes
        window 7, start, steps, main, timers?, capturing? -> 66666666, yes
        window 8, steps, main, timers?, stop, steps -> 66666666
        start, steps, main, uninit, settle, timers?
    )");
}

TEST_F(WindowSession, ADisplayChosenMeanwhileTakesTheFramesAwayUntilTheNextStart) {
    perform("start-on 7, tick, screen 1");
    heard = kLog;
    take();
    desk.stepper.advance(0.2);
    EXPECT_EQ(take(), Lines{"CS CaptureSession is not window !!!!!"});
    desk.stepper.advance(0.8);
    EXPECT_EQ(take(), Lines());  // not again within the second
    heard = kHost | kDevice;
    follow("capturing?, start, steps, main, timers?, capturing? -> no, begin, commit, start, yes");
}

}  // namespace
}  // namespace orvo::test
