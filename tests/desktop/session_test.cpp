// The screen capture session on the display path: what reaches the device, in which order, and what the host sees.
#include <climits>

#include "support/desktop/host.h"

namespace orvo::test {
namespace {

class Session : public DesktopTest {
  protected:
    bool capturing() { return orvo_screencapture_is_capturing(); }
    void startOn(uint32_t screen) {
        orvo_screencapture_set_target_screen(screen);
        orvo_screencapture_start_capture();
        runSteps();
    }
    bool logged(const std::string& line) {
        const auto log = takeLog();
        return std::find(log.begin(), log.end(), line) != log.end();
    }
};

TEST_F(Session, InitialisationSetsTheDeviceUp) {
    orvo_screencapture_init();
    EXPECT_EQ(desk.device().takeJournal(), (Lines{"input 1", "add 1", "output", "observe"}));
    runSteps();
    EXPECT_EQ(desk.device().takeJournal(), (Lines{"duration 1/15", "cursor 1", "clicks 0"}));
}

TEST_F(Session, StartWithoutATargetIsErrorTwoAtOnce) {
    init();
    orvo_screencapture_start_capture();
    EXPECT_EQ(host.take(), Lines{"error 2"});
    EXPECT_TRUE(logged("CS -[OrvoCaptureSession startCapture] no capture source."));
    runSteps();
    EXPECT_TRUE(desk.device().journal.empty());
}

TEST_F(Session, StartedTwiceItRunsOnceAndStopsOnce) {
    init();
    startOn(1);
    orvo_screencapture_start_capture();
    runSteps();
    EXPECT_TRUE(logged("CS ScreenCaptureSession already running"));
    EXPECT_TRUE(capturing());
    orvo_screencapture_stop_capture();
    orvo_screencapture_stop_capture();
    takeLog();
    runSteps();
    EXPECT_EQ(takeLog(), Lines{"CS try to stop ScreenCaptureSession"});
    EXPECT_EQ(desk.device().takeJournal(), (Lines{"begin", "commit", "start", "stop"}));
    EXPECT_FALSE(capturing());
}

TEST_F(Session, RectanglesAreAcceptedToTheEdgeAndRefusedBeyond) {
    struct {
        int left, top, width, height;
        const char* answer;  // what reaches the device, or the line of the refusal
    } cases[] = {
        {0, 0, 1920, 1080, "crop 0,0 1920x1080"},
        {120, 100, 1800, 500, "crop 120,480 1800x500"},
        {-5, -6, 10, 12, "crop -5,1074 10x12"},
        {121, 0, 1800, 10, "CS the width is too large!!!!!! theScreenWidth is 1920.000000"},
        {0, 581, 10, 500, "CS the height is too large!!!!!! theScreenHeight is 1080.000000"},
        {121, 581, 1800, 500, "CS the width is too large!!!!!! theScreenWidth is 1920.000000"},
        // The sums wrap to negative numbers, which are not too large.
        {INT_MAX, 0, 1, 10, "crop 2.14748e+09,1070 1x10"},
        {0, INT_MAX, 10, INT_MAX, "crop 0,-4.29497e+09 10x2.14748e+09"},
    };
    init();
    for (const auto& c : cases) {
        EXPECT_TRUE(orvo_screencapture_set_target_rect(1, c.left, c.top, c.width, c.height));
        runSteps();
        if (std::string(c.answer).rfind("CS", 0) == 0) {
            EXPECT_TRUE(logged(c.answer)) << c.left;
            EXPECT_EQ(desk.device().takeJournal(), (Lines{"begin", "commit"})) << c.answer;
        } else {
            EXPECT_EQ(desk.device().takeJournal(), (Lines{"begin", "commit", "begin", c.answer, "commit"}));
        }
    }
    EXPECT_TRUE(host.take().empty());
    orvo_screencapture_start_capture();  // a refused rectangle leaves the display chosen
    runSteps();
    EXPECT_TRUE(capturing());
}

TEST_F(Session, ANewDisplayGetsANewInputWithTheFrameRateOnly) {
    desk.addDisplay({.number = 2, .bounds = {1920, 0, 1280, 720}});
    init();
    orvo_screencapture_set_fps(20);
    orvo_screencapture_set_cursor_visible(0);
    orvo_screencapture_set_target_rect(1, 0, 0, 100, 100);
    runSteps();
    desk.device().takeJournal();
    orvo_screencapture_set_target_screen(1);  // the same display: the crop stays
    runSteps();
    EXPECT_EQ(desk.device().takeJournal(), (Lines{"begin", "commit"}));
    orvo_screencapture_set_target_screen(2);
    runSteps();
    EXPECT_EQ(desk.device().takeJournal(), (Lines{"begin", "remove 1", "input 2", "add 2", "commit", "duration 1/20"}));
    orvo_screencapture_set_target_screen(99);  // no display: no input, and no error
    runSteps();
    EXPECT_EQ(desk.device().takeJournal(), (Lines{"begin", "remove 2", "input 99", "commit"}));
    orvo_screencapture_set_target_screen(1);
    runSteps();
    EXPECT_EQ(desk.device().takeJournal(), (Lines{"begin", "input 1", "add 1", "commit", "duration 1/20"}));
    EXPECT_TRUE(host.take().empty());
}

TEST_F(Session, AnInputThatTheDeviceDoesNotAcceptIsNotAdded) {
    desk.addDisplay({.number = 2, .bounds = {1920, 0, 1280, 720}});
    init();
    desk.device().acceptsInput = false;
    orvo_screencapture_set_target_screen(2);
    runSteps();
    EXPECT_EQ(desk.device().takeJournal(), (Lines{"begin", "remove 1", "input 2", "commit", "duration 1/15"}));
}

TEST_F(Session, ATargetChangedWhileRunningStopsAndStartsAgain) {
    desk.addDisplay({.number = 2, .bounds = {1920, 0, 1280, 720}});
    init();
    startOn(1);
    desk.device().takeJournal();
    takeLog();
    orvo_screencapture_set_target_rect(2, 0, 0, 100, 100);
    takeLog();
    runSteps();
    EXPECT_EQ(desk.device().takeJournal(), (Lines{"stop", "begin", "remove 1", "input 2", "add 2", "commit", "begin",
                                                  "crop 0,620 100x100", "commit", "duration 1/15", "start"}));
    const Lines firstStep{"CS -[OrvoCaptureSession isCapture]", "CS running state: 1",
                          "CS try to stop ScreenCaptureSession", "CS -[OrvoCaptureSession setFPS:] fps: 15",
                          "CS -[OrvoCaptureSession startCapture]"};
    const auto log = takeLog();
    EXPECT_EQ(Lines(log.begin(), log.begin() + 5), firstStep);
    EXPECT_EQ(log.back(), "CS ScreenCaptureSession is started");
    EXPECT_TRUE(capturing());
}

TEST_F(Session, WindowSettersTakeDisplayFramesAwayBeforeTheirStepRuns) {
    desk.addWindow({.number = 7, .pid = 100, .title = "Editor", .bounds = {10, 10, 64, 48}});
    bool (*const setters[])() = {
        [] { return orvo_screencapture_set_target_window(7); },
        [] { return orvo_screencapture_set_target_window_mode(1); },
        [] { return orvo_screencapture_set_target_window_rect(0, 0, 0, 0); },
        [] {
            orvo_screencapture_set_resolution_mode(0);
            return true;
        },
    };
    for (const auto setter : setters) {
        init();
        startOn(1);
        deliver();
        EXPECT_EQ(host.take(), Lines{"frame"});
        EXPECT_TRUE(setter());
        deliver();
        EXPECT_TRUE(host.take().empty());
        runSteps();
        EXPECT_TRUE(desk.device().running);  // until the next start switches paths
        orvo_screencapture_start_capture();
        runSteps();
        EXPECT_FALSE(desk.device().running);
        desk.stepper.run(mainQueue);
        EXPECT_TRUE(capturing());
        desk.device().takeJournal();
        startOn(1);  // and back again
        EXPECT_EQ(desk.device().takeJournal(), (Lines{"begin", "commit", "start"}));
        desk.stepper.settle();
        EXPECT_TRUE(desk.stepper.timers().empty());
        orvo_screencapture_uninit();
        desk.stepper.settle();
    }
}

TEST_F(Session, AStopBeforeUninitStillStops) {
    init();
    startOn(1);
    const auto device = desk.devices.back();
    orvo_screencapture_stop_capture();
    orvo_screencapture_uninit();
    EXPECT_TRUE(device->running);
    device->produce(platform::makeCounted<FrameBuffer>(pattern(1, 16, 2)), {1, 1});
    desk.stepper.run(mainQueue);
    EXPECT_TRUE(host.take().empty());  // nothing reaches the host after uninit
    runSteps();
    EXPECT_EQ(device->journal.back(), "stop");
    EXPECT_FALSE(device->running);
}

TEST_F(Session, AStartThatWaitsWhenUninitComesNeverRuns) {
    init();
    orvo_screencapture_set_target_screen(1);
    orvo_screencapture_start_capture();
    orvo_screencapture_uninit();
    desk.stepper.settle();
    EXPECT_EQ(desk.device().takeJournal(), (Lines{"begin", "commit"}));  // of the target
    init();
    EXPECT_EQ(desk.devices.size(), 2u);
    orvo_screencapture_start_capture();
    EXPECT_EQ(host.take(), Lines{"error 2"});  // the target is forgotten with the session
    startOn(1);
    deliver();
    EXPECT_EQ(host.take(), Lines{"frame"});
}

TEST_F(Session, AStopAfterAChangeOfTargetWins) {
    desk.addDisplay({.number = 2, .bounds = {1920, 0, 1280, 720}});
    init();
    startOn(1);
    orvo_screencapture_set_target_screen(2);
    orvo_screencapture_stop_capture();
    desk.stepper.settle();
    EXPECT_FALSE(desk.device().running);
}

TEST_F(Session, DeviceFailuresBecomeErrorFourAndAConsoleLine) {
    struct {
        bool interruption;
        platform::CaptureFailure failure;
        const char* console;
    } cases[] = {
        {false, {"Restart the server", "It died"}, "ERROR: Restart the server"},
        {false, {"", "It died"}, "ERROR: It died"},
        {true, {"Plug it in", ""}, "ERROR: Plug it in"},
        {true, {}, "ERROR: (null)"},
    };
    init();
    startOn(1);
    for (const auto& c : cases) {
        desk.console.clear();
        c.interruption ? desk.device().interrupt(c.failure) : desk.device().fail(c.failure);
        EXPECT_TRUE(host.take().empty());
        desk.stepper.run(mainQueue);
        EXPECT_EQ(host.take(), Lines{"error 4"});
        EXPECT_EQ(desk.console, Lines{c.console});
    }
    runSteps();
    EXPECT_TRUE(desk.device().running);  // nothing is started again or stopped on its own
}

TEST_F(Session, AnExceptionInTheRectangleStepEndsTheStepWithItsLine) {
    init();
    orvo_screencapture_set_target_rect(1, 0, 0, 10, 10);
    desk.gate.failEvery("setCropRect");
    takeLog();
    runSteps();
    EXPECT_TRUE(logged("CS error name:NSInvalidArgumentException   error reason:crop 0,1070 10x10"));
    desk.gate.failEvery("");
    startOn(1);
    EXPECT_TRUE(capturing());
}

}  // namespace
}  // namespace orvo::test
