// Wherever no frames come, the log and the statistics say why: a warning once in a run, and the last reason.
#include "support/desktop/host.h"

namespace orvo::test {
namespace {

class Reasons : public DesktopTest {
  protected:
    void SetUp() override {
        DesktopTest::SetUp();
        perform("plug 2 1920 0 32 24, open 8 100 50 40 40 40 Tools, open 7 100 10 20 64 48 Editor");
    }
    static OrvoScreenCaptureStatistics figures() {
        OrvoScreenCaptureStatistics figures = ORVO_SCREENCAPTURE_STATISTICS_INIT;
        orvo_screencapture_get_statistics(&figures);
        return figures;
    }
};

// Two seconds: ticks of both paths, with what they queue.
const std::string pass = ", frame 16 2 1, main, wait 1000, settle, frame 16 2 2, main, wait 1000, settle";

TEST_F(Reasons, AreLoggedOnceInARunAndStandInTheStatistics) {
    const std::string go = ", start, steps, main";
    const struct {
        std::string steps;
        const char* reason;
        bool drops = false;
        const char* target = "";  // as the log names it
        int error = 0;
    } cases[] = {
        {"screen 99" + go, "no display has the number 99"},
        {"mode 1" + go, "no window is chosen"},
        {"silence, deafen, screen 1" + go, "no frame callback is registered", true},
        {"silence, deafen, window 7" + go, "no frame callback is registered", true, "target 7: "},
        {"silence, screen 1" + go,
         "no frame callback is registered for displays: that of window frames is never called", true},
        {"screen 1" + go + ", exclude 7, steps, exclude 8",
         "windows are excluded when the display is chosen again, not before"},
        {"screen 1, exclude 7" + go, "windows are excluded when the display is chosen again, not before"},
        {"screen 1" + go + ", window 7", "a window was chosen while a display is captured: start the capture again",
         true},
        {"window 7" + go + ", screen 1", "a display was chosen while windows are captured: start the capture again",
         true},
        {"window 7" + go + ", rect 1 1 0 1920 10, steps",
         "the rectangle was refused: it reaches beyond the right edge of the display", true},
        {"rect 1 0 1 10 1080", "the rectangle was refused: it reaches beyond the bottom edge of the display"},
        {"rect 1 -10 0 10 10", "the rectangle lies beside the display"},
        {"rect 1 0 2147483647 5 5", "the rectangle lies beside the display"},
        {"window 2" + go + pass + ", unplug 2", "the display is gone", false, "", ORVO_CAPTURE_ERROR_NO_CONTENT},
        {"picture 7 1 10, window 7" + go, "the picture is narrower than two pixels", true,
         "target 7: ", ORVO_CAPTURE_ERROR_NO_CONTENT},
        // While the other one is captured there is no error.
        {"window 8, steps, extra 7" + go + ", close 7", "the target is gone", true, "target 7: "},
        {"fail grabber, window 7" + go, "no grabber", true, "target 7: "},
        {"screen 1, start, steps, wait 3000, drop", "the main queue is not run", true},
        {"window 7, start, steps, wait 3000", "the main queue is not run"},
        {"window 7, start, steps, wait 2000, stop, steps, wait 2000", ""},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.steps);
        TearDown();
        SetUp();
        perform("init, " + c.steps + ", steps" + pass);
        const auto events = desk.gate.take(kHost | kLog);
        EXPECT_STREQ(figures().lastErrorReason, c.reason);
        EXPECT_EQ(figures().lastErrorCode, c.error);
        EXPECT_EQ(contains(events, "error 3"), c.error != 0);
        // Without its display the capture has ended.
        EXPECT_EQ(desk.stepper.timers().empty() && std::count(events.begin(), events.end(), "error 3") == 1,
                  c.error && !c.drops);
        EXPECT_EQ(figures().framesDropped > 0, c.drops);
        EXPECT_EQ(std::count(events.begin(), events.end(), std::string("2 CS ") + c.target + c.reason), *c.reason != 0);
    }
}

TEST_F(Reasons, AnInitThatFailedLeavesItsReasonAndTheNextOneIsReal) {
    perform("fail DisplayCapture");
    orvo_screencapture_init();
    EXPECT_STREQ(figures().lastErrorReason, "add 1");
    follow("fail, init, screen 1, start, steps, frame 4 1 1, main -> frame 4x1 of 1");
}

}  // namespace
}  // namespace orvo::test
