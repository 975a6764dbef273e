// Wherever no frames come, the log and the statistics say why: a warning once in a run, and the last reason.
#include <sstream>

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
    // One word of a host or of what happens to it; "start 1" leaves the main queue alone.
    void perform(const std::string& word, unsigned int number) {
        if (word == "screen") orvo_screencapture_set_target_screen(number);
        if (word == "window") orvo_screencapture_set_target_window(number);
        if (word == "extra") orvo_screencapture_set_extra_target_windows(&number, 1, true);
        if (word == "mode") orvo_screencapture_set_target_window_mode(static_cast<int>(number));
        if (word == "exclude") orvo_screencapture_set_excluded_windows(&number, 1, true);
        if (word == "wide") orvo_screencapture_set_target_rect(number, 1, 0, 1920, 10);
        if (word == "high") orvo_screencapture_set_target_rect(number, 0, 1, 10, 1080);
        if (word == "left") orvo_screencapture_set_target_rect(number, -10, 0, 10, 10);
        if (word == "below") orvo_screencapture_set_target_rect(number, 0, INT_MAX, 5, 5);
        if (word == "silence") host.silenceFrames();
        if (word == "deafen") orvo_screencapture_reg_mutiple_captured_frame_available_notify({}, {});
        if (word == "start") orvo_screencapture_start_capture();
        if (word == "stop") orvo_screencapture_stop_capture();
        runSteps();
        if (word == "start" && number == 0) desk.stepper.run(mainQueue);
        if (word == "pass") pass();
        if (word == "unplug") desk.removeDisplay(number);
        if (word == "close") desk.closeWindow(number);
        if (word == "narrow") desk.window(number)->picture = pattern(7, 1, 10);
        if (word == "refuse") desk.gate.failEvery("grabber");
        if (word == "busy") desk.device().output.lock()->onDropped(platform::NoImage::hostBusy);
        if (word == "wait") desk.stepper.advance(number);
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
    static long logged(const std::string& line) {
        const auto log = takeLog();
        return std::count(log.begin(), log.end(), line);
    }
};

TEST_F(Reasons, AreLoggedOnceInARunAndStandInTheStatistics) {
    const struct {
        const char* words;
        const char* reason;
        bool drops = false;
        const char* target = "";  // as the log names it
        int error = 0;
    } cases[] = {
        {"screen 99 start 0", "no display has the number 99"},
        {"mode 1 start 0", "no window is chosen"},
        {"silence 0 deafen 0 screen 1 start 0", "no frame callback is registered", true},
        {"silence 0 deafen 0 window 7 start 0", "no frame callback is registered", true, "target 7: "},
        {"silence 0 screen 1 start 0",
         "no frame callback is registered for displays: that of window frames is never called", true},
        {"screen 1 start 0 exclude 7 exclude 8", "windows are excluded when the display is chosen again, not before"},
        {"screen 1 exclude 7 start 0", "windows are excluded when the display is chosen again, not before"},
        {"screen 1 start 0 window 7", "a window was chosen while a display is captured: start the capture again", true},
        {"window 7 start 0 screen 1", "a display was chosen while windows are captured: start the capture again", true},
        {"window 7 start 0 wide 1", "the rectangle was refused: it reaches beyond the right edge of the display", true},
        {"high 1", "the rectangle was refused: it reaches beyond the bottom edge of the display"},
        {"left 1", "the rectangle lies beside the display"},
        {"below 1", "the rectangle lies beside the display"},
        {"window 2 start 0 pass 0 unplug 2", "the display is gone", false, "", ORVO_CAPTURE_ERROR_NO_CONTENT},
        {"narrow 7 window 7 start 0", "the picture is narrower than two pixels", true,
         "target 7: ", ORVO_CAPTURE_ERROR_NO_CONTENT},
        // While the other one is captured there is no error.
        {"window 8 extra 7 start 0 close 7", "the target is gone", true, "target 7: "},
        {"refuse 0 window 7 start 0", "no grabber", true, "target 7: "},
        {"screen 1 start 1 wait 3 busy 0", "the main queue is not run", true},
        {"window 7 start 1 wait 3", "the main queue is not run"},
        {"window 7 start 1 wait 2 stop 0 wait 2", ""},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.words);
        TearDown();
        host.take();
        SetUp();
        init();
        std::istringstream words(c.words);
        unsigned int number = 0;
        for (std::string word; words >> word >> number;) perform(word, number);
        pass();
        EXPECT_STREQ(figures().lastErrorReason, c.reason);
        EXPECT_EQ(figures().lastErrorCode, c.error);
        EXPECT_EQ(host.count("error 3") > 0, c.error != 0);
        // Without its display the capture has ended.
        EXPECT_EQ(desk.stepper.timers().empty() && host.count("error 3") == 1, c.error && !c.drops);
        EXPECT_EQ(figures().framesDropped > 0, c.drops);
        EXPECT_EQ(logged(std::string("2 CS ") + c.target + c.reason), *c.reason ? 1 : 0);
    }
}

TEST_F(Reasons, NumbersThatNoWindowHasAreDebugLines) {
    init();
    for (const char* word : {"extra", "exclude"})
        for (const unsigned int number : {7, 99}) perform(word, number);
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
    init();
    perform("screen", 1);
    perform("start", 0);
    deliver();
    EXPECT_EQ(host.take(), Lines{"frame"});
}

}  // namespace
}  // namespace orvo::test
