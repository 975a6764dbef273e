// Every call of the platform fails once, at every place of a whole life: the library neither crashes nor hangs, and
// captures again afterwards.
#include "support/desktop/host.h"

namespace orvo::test {
namespace {

class Faults : public DesktopTest {
  protected:
    void arrange() {
        desk.reset();
        // Flat, so that thumbnails of 400 pixels' width stay small.
        desk.addDisplay({.number = 1, .bounds = {0, 0, 40, 2}});
        desk.addDisplay({.number = 2, .bounds = {40, 0, 40, 2}});
        desk.addApplication({.pid = 100, .name = "WPS Office", .icon = pictureOf(filled(2, 32, {1, 2, 3, 255}))});
        desk.addWindow({.number = 8, .pid = 100, .title = "", .bounds = {0, 0, 40, 2}, .fullScreen = true});
        desk.addWindow({.number = 7, .pid = 100, .title = "Letter", .bounds = {10, 0, 20, 1}});
        desk.cursor = platform::Cursor{pictureOf(filled(1, 1, {1, 2, 3, 255})), {0, 0}};
        desk.pointer = {20, 2};
    }
    void step() {
        runSteps();
        desk.stepper.run(mainQueue);
        desk.stepper.advance(0.1);
        desk.stepper.settle();
    }
    // Both paths with everything that they can do.
    void live() {
        orvo_screencapture_set_target_rect(1, 0, 0, 20, 1);
        orvo_screencapture_start_capture();
        step();
        orvo_screencapture_set_target_screen(2);
        step();
        desk.device().produce(platform::makeCounted<FrameBuffer>(pattern(2, 4, 1)), {1, 1});
        step();
        orvo_screencapture_stop_capture();
        step();
        orvo_screencapture_set_target_window(7);
        orvo_screencapture_set_resolution(10, 2);
        orvo_screencapture_set_target_window_rect(1, 0, 10, 1);
        orvo_screencapture_start_capture();
        for (const int mode : {1, 3, 5}) {
            orvo_screencapture_set_target_window_mode(mode);
            step();
        }
        orvo_screencapture_set_target_window(2);
        step();
        desk.moveWindow(7, {12, 1, 20, 1});
        list();
        desk.closeWindow(7);
        step();
        orvo_screencapture_stop_capture();
        step();
    }
    void list() {
        unsigned int screens = 0;
        orvo_screencapture_free_screen_list(orvo_screencapture_enum_screen_list(&screens));
        int windows = 0;
        orvo_windowthumbnail_find_windows_async(true);  // one picture, further down, is enough
        auto* found = orvo_windowthumbnail_find_windows(&windows);
        orvo_windowthumbnail_free_windows(found, windows);
        orvo_windowthumbnail_find_windows_async(false);
        orvo_windowthumbnail_register(7);
        orvo_windowthumbnail_window_checkStatus(7);
        orvo_windowthumbnail_show_source_window(7, ORVO_SHOW_WINDOW_FRONT);
        OrvoScreenCaptureRect rect;
        orvo_screencapture_get_window_rect(7, &rect);
        step();
    }
    // What a host does after an error: it starts what it wants again.
    void expectCaptureWorks(const std::string& failed) {
        desk.gate.failCall(0);
        host.take();
        orvo_screencapture_set_resolution(0, 0);
        orvo_screencapture_set_target_screen(1);
        orvo_screencapture_set_target_screen(2);
        orvo_screencapture_start_capture();
        step();
        desk.device().produce(platform::makeCounted<FrameBuffer>(pattern(2, 4, 1)), {1, 1});
        step();
        EXPECT_EQ(host.count("frame"), 1u) << failed;
        orvo_screencapture_set_target_window_mode(1);
        orvo_screencapture_set_target_window_rect(0, 0, 0, 0);
        orvo_screencapture_set_target_window(8);
        orvo_screencapture_start_capture();
        step();
        EXPECT_GE(host.count("window frame 8"), 1u) << failed;
        orvo_screencapture_stop_capture();
        step();
        EXPECT_FALSE(desk.device().running) << failed;
        EXPECT_TRUE(desk.stepper.timers().empty()) << failed;
    }
};

// Fails call after call until none is left; each time the library gets a fresh start. In parts, for the sanitisers.
class FaultsOfALife : public Faults, public ::testing::WithParamInterface<size_t> {};

constexpr size_t parts = 4;

TEST_P(FaultsOfALife, LeaveACaptureThatStartsAgain) {
    size_t n = GetParam();
    for (std::string failed = "first"; !failed.empty(); n += parts) {
        arrange();
        init();
        desk.gate.failCall(n);
        live();
        failed = desk.gate.lastFailed();
        expectCaptureWorks("call " + std::to_string(n) + ": " + failed);
        orvo_screencapture_uninit();
        desk.stepper.settle();
    }
    EXPECT_GT(n, 300u);
}
INSTANTIATE_TEST_SUITE_P(Part, FaultsOfALife, ::testing::Range(size_t{1}, parts + 1));

TEST_F(Faults, AfterAnyFailureInInitTheNextInitWorks) {
    size_t n = 1;
    for (std::string failed = "first"; !failed.empty(); ++n) {
        arrange();
        desk.gate.failCall(n);
        orvo_screencapture_init();
        step();
        failed = desk.gate.lastFailed();
        orvo_screencapture_uninit();
        desk.stepper.settle();
        desk.gate.failCall(0);
        init();
        expectCaptureWorks("call " + std::to_string(n) + " of init: " + failed);
        orvo_screencapture_uninit();
        desk.stepper.settle();
    }
    EXPECT_GT(n, 8u);
}

}  // namespace
}  // namespace orvo::test
