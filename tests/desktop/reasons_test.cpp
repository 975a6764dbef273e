// Wherever no frames come, the log and the statistics say why: a warning once in a run, and the last reason.
#include <functional>

#include "orvo/screencapture_additions.h"
#include "support/desktop/host.h"

namespace orvo::test {
namespace {

class Reasons : public DesktopTest {
  protected:
    void SetUp() override {
        DesktopTest::SetUp();
        desk.addDisplay({.number = 2, .bounds = {1920, 0, 32, 24}});
        desk.addWindow({.number = 8, .pid = 100, .title = "Tools", .bounds = {50, 40, 40, 40}});
        desk.addWindow({.number = 7, .pid = 100, .title = "Editor", .bounds = {10, 20, 64, 48}});
    }
    void start(bool runsMainQueue = true) {
        orvo_screencapture_start_capture();
        runSteps();
        if (runsMainQueue) desk.stepper.run(mainQueue);
    }
    void startDisplay(uint32_t number) {
        orvo_screencapture_set_target_screen(number);
        start();
    }
    void startWindow(uint32_t number) {
        orvo_screencapture_set_target_window(number);
        start();
    }
    // Two seconds: ticks of both paths, with what they queue.
    void pass() {
        for (int i = 0; i < 2; ++i) {
            deliver();
            desk.stepper.advance(1);
            desk.stepper.settle();
        }
    }
    static OrvoScreenCaptureStatistics figures() {
        OrvoScreenCaptureStatistics figures{};
        orvo_screencapture_get_statistics(&figures);
        return figures;
    }
    static void listenForNothing() {
        orvo_screencapture_reg_captured_frame_available_notify(nullptr, nullptr);
        orvo_screencapture_reg_mutiple_captured_frame_available_notify(nullptr, nullptr);
    }
};

TEST_F(Reasons, AreLoggedOnceInARunAndStandInTheStatistics) {
    unsigned int seven[] = {7};
    const struct {
        const char* reason;
        std::function<void()> arrange;
        uint32_t target = 0;  // named in the log
        bool drops = false;
        int error = 0;
    } cases[] = {
        {"no display has the number 99", [&] { startDisplay(99); }},
        {"no window is chosen",
         [&] {
             orvo_screencapture_set_target_window_mode(1);
             start();
         }},
        {"no frame callback is registered",
         [&] {
             listenForNothing();
             startDisplay(1);
         },
         0, true},
        {"no frame callback is registered",
         [&] {
             listenForNothing();
             startWindow(7);
         },
         7, true},
        {"no frame callback is registered for displays: that of window frames is never called",
         [&] {
             host.silenceFrames();
             startDisplay(1);
         },
         0, true},
        {"windows are excluded when the display is chosen again, not before",
         [&] {
             startDisplay(1);
             orvo_screencapture_set_excluded_windows(seven, 1, true);
             orvo_screencapture_set_excluded_windows(seven, 1, true);
         }},
        {"windows are excluded when the display is chosen again, not before",
         [&] {
             orvo_screencapture_set_target_screen(1);
             orvo_screencapture_set_excluded_windows(seven, 1, true);
             start();
         }},
        {"a window was chosen while a display is captured: start the capture again",
         [&] {
             startDisplay(1);
             orvo_screencapture_set_target_window(7);
         },
         0, true},
        {"a display was chosen while windows are captured: start the capture again",
         [&] {
             startWindow(7);
             orvo_screencapture_set_target_screen(1);
         },
         0, true},
        {"the rectangle was refused: it reaches beyond the right edge of the display",
         [&] {
             startWindow(7);
             orvo_screencapture_set_target_rect(1, 1, 0, 1920, 10);
         },
         0, true},
        {"the rectangle was refused: it reaches beyond the bottom edge of the display",
         [&] { orvo_screencapture_set_target_rect(1, 0, 1, 10, 1080); }},
        {"the rectangle lies beside the display", [&] { orvo_screencapture_set_target_rect(1, -10, 0, 10, 10); }},
        {"the rectangle lies beside the display", [&] { orvo_screencapture_set_target_rect(1, 0, INT_MAX, 5, 5); }},
        {"the display is gone",
         [&] {
             startWindow(2);
             pass();
             desk.removeDisplay(2);
         },
         0, false, ORVO_CAPTURE_ERROR_NO_CONTENT},
        {"the picture is narrower than two pixels",
         [&] {
             desk.window(7)->picture = pattern(7, 1, 10);
             startWindow(7);
         },
         7, true, ORVO_CAPTURE_ERROR_NO_CONTENT},
        {"the target is gone",  // while the other one is captured there is no error
         [&] {
             orvo_screencapture_set_target_window(8);
             runSteps();
             orvo_screencapture_set_extra_target_windows(seven, 1, true);
             start();
             desk.closeWindow(7);
         },
         7, true},
        {"the picture could not be taken",
         [&] {
             desk.gate.failEvery("grabber");
             startWindow(7);
         },
         7, true},
        {"unplugged",
         [&] {
             startDisplay(1);
             desk.device().fail({"", "unplugged"});
         },
         0, false, ORVO_CAPTURE_ERROR_INTERRUPTED},
    };
    for (const auto& c : cases) {
        TearDown();
        SetUp();
        init();
        c.arrange();
        runSteps();
        pass();
        EXPECT_STREQ(figures().lastErrorReason, c.reason);
        EXPECT_EQ(figures().lastErrorCode, c.error) << c.reason;
        EXPECT_EQ(figures().framesDropped > 0, c.drops) << c.reason;
        const auto log = takeLog();
        const std::string line = "2 CS " + (c.target ? "target " + std::to_string(c.target) + ": " : "") + c.reason;
        EXPECT_EQ(std::count(log.begin(), log.end(), line), 1) << line;
        EXPECT_LE(std::count(log.begin(), log.end(), "CS CaptureSession is not window !!!!!"), 3);  // of some 30
    }
}

TEST_F(Reasons, AMainQueueThatIsNotRunIsNoticedAfterThreeSecondsOnBothPaths) {
    for (const bool isWindow : {false, true}) {
        for (const bool stops : {false, true}) {
            init();
            isWindow ? orvo_screencapture_set_target_window(7) : orvo_screencapture_set_target_screen(1);
            start(false);
            desk.stepper.advance(2.9);
            if (stops) orvo_screencapture_stop_capture();
            desk.stepper.advance(3);
            if (auto output = isWindow ? nullptr : desk.device().output.lock())
                output->onDropped(platform::NoImage::hostBusy);
            EXPECT_EQ(std::string(figures().lastErrorReason) == "the main queue is not run", !stops);
            const auto log = takeLog();
            EXPECT_EQ(std::count(log.begin(), log.end(), "2 CS the main queue is not run"), stops ? 0 : 1);
            start();  // it is run now
            desk.stepper.advance(4);
            for (const auto& line : takeLog()) EXPECT_EQ(line.find("main queue"), line.npos) << line;
            orvo_screencapture_uninit();
            desk.stepper.settle();
        }
    }
}

TEST_F(Reasons, NumbersThatNoWindowHasAreDebugLines) {
    unsigned int numbers[] = {7, 99};
    init();
    orvo_screencapture_set_extra_target_windows(numbers, 2, true);
    orvo_screencapture_set_excluded_windows(numbers, 2, true);
    orvo_screencapture_set_excluded_windows(numbers, 2, false);
    takeLog();
    desk.stepper.settle();
    const std::string line = "4 unnamed no window on screen has the number 99";
    EXPECT_EQ(takeLog(), (Lines{line, line}));
}

TEST_F(Reasons, AnInitThatFailedLeavesItsReasonAndTheNextOneIsReal) {
    desk.gate.failEvery("DisplayCapture");
    orvo_screencapture_init();
    desk.gate.failEvery("");
    EXPECT_STREQ(figures().lastErrorReason, "add 1");
    EXPECT_FALSE(orvo_screencapture_is_capturing());
    init();
    startDisplay(1);
    deliver();
    EXPECT_EQ(host.take(), Lines{"frame"});
    orvo_screencapture_uninit();
    OrvoScreenCaptureStatistics figures{};
    EXPECT_FALSE(orvo_screencapture_get_statistics(&figures));
}

}  // namespace
}  // namespace orvo::test
