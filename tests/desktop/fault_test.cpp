// Everything that the library asks for fails once, at every place of a whole life: each call of the platform, each
// block of memory. It neither crashes nor hangs nor leaks, and captures again afterwards.
#include "support/allocations.h"
#include "support/desktop/host.h"
#include "support/every_export.h"

namespace orvo::test {
namespace {

const With inTheMiddle{2, 7, 8, [](bool good) { EXPECT_TRUE(good); }};

// What fails: the n-th from now on, 0 for none, and what that was.
struct Fault {
    void (*arm)(size_t n);
    const char* (*failed)();
};
const Fault platformCall{[](size_t n) { desktop().gate.failCall(n); }, [] { return desktop().gate.lastFailed(); }};
const Fault block{failAllocation, [] { return allocationFailed() ? "block" : ""; }};

class Faults : public DesktopTest {
  protected:
    bool startsAnew = false;

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
    void produce() {
        const OwnWork own;
        desk.device().produce(platform::makeCounted<FrameBuffer>(pattern(2, 4, 1)), {1, 1});
    }
    // Both paths with everything that they can do.
    void live() {
        orvo_screencapture_start_capture();  // without a target
        orvo_screencapture_set_target_rect(1, 0, 0, 20, 1);
        orvo_screencapture_start_capture();
        step();
        orvo_screencapture_set_target_screen(2);
        step();
        produce();
        step();
        orvo_screencapture_stop_capture();
        step();
        orvo_screencapture_set_target_window(7);
        orvo_screencapture_set_resolution(10, 2);
        orvo_screencapture_set_target_window_rect(1, 0, 10, 1);
        orvo_screencapture_start_capture();
        for (const int mode : {1, 3, 5}) {
            orvo_screencapture_set_target_window_mode(mode);
            desk.change(&Desktop::window, 7, [mode](ScriptedWindow& window) { window.bounds.x = 10 + mode; });
            step();
        }
        orvo_screencapture_set_target_window(2);
        step();
        desk.change(&Desktop::window, 7, [](ScriptedWindow& window) { window.bounds.y = 1; });
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
    // How many callbacks of a kind came since the last question.
    long countOf(const std::string& kind) {
        const Lines events = take();
        return std::count_if(events.begin(), events.end(), [&](const auto& e) { return e.rfind(kind, 0) == 0; });
    }
    // What a host does after an error: it starts what it wants again.
    void expectCaptureWorks() {
        if (startsAnew) {
            orvo_screencapture_uninit();
            desk.stepper.settle();
        }
        init();
        orvo_screencapture_set_resolution(0, 0);
        unsigned int windows[] = {7, 8};
        orvo_screencapture_set_excluded_windows(windows, 2, false);
        orvo_screencapture_set_target_screen(1);
        orvo_screencapture_set_target_screen(2);
        orvo_screencapture_start_capture();
        step();
        produce();
        step();
        EXPECT_EQ(countOf("frame"), 1);
        orvo_screencapture_set_target_window_mode(1);
        orvo_screencapture_set_target_window_rect(0, 0, 0, 0);
        orvo_screencapture_set_target_window(8);
        orvo_screencapture_start_capture();
        step();
        EXPECT_GE(countOf("window frame 8"), 1);
        orvo_screencapture_stop_capture();
        step();
        EXPECT_FALSE(desk.device().running);
        EXPECT_TRUE(desk.stepper.timers().empty());
    }
    // The blocks that are left when the library is uninitialised and the desk is cleared.
    long leave() {
        orvo_screencapture_uninit();
        desk.stepper.settle();
        desk.reset();
        return liveBlocks();
    }
    // Fails one thing after another, from the first to the last that the scenario meets, each time in a life of its
    // own: afterwards the library captures again, and leaves nothing behind. Result: how many it met.
    template <typename Scenario>
    size_t walk(const Fault& fault, const char* name, Scenario scenario, size_t first = 1, size_t stride = 1) {
        long blocks = 0;
        for (size_t n = first;; n += stride) {
            std::string_view failed;
            bool grows = true;
            for (int life = 0; life < 3 && grows; ++life) {  // again, for what is made once for all lives
                arrange();
                scenario([&] { fault.arm(n); });
                failed = fault.failed();
                fault.arm(0);
                SCOPED_TRACE(name + (" " + std::to_string(n)) + " " + std::string(failed));
                expectCaptureWorks();
                const long before = std::exchange(blocks, leave());
                if (blocks > before) {
                    waitForLogThread();  // it may not have freed what it was given
                    blocks = liveBlocks();
                }
                grows = blocks > before;
            }
            EXPECT_FALSE(grows) << name << " " << n << " " << failed << " leaves blocks behind";
            if (failed.empty()) return n;
        }
    }
    template <typename Arm>
    void wholeLife(Arm arm) {
        init();
        arm();
        live();
    }
    // A host that cannot capture after its init begins again.
    template <typename Arm>
    void beginning(Arm arm) {
        arm();
        orvo_screencapture_init();
        step();
    }
};

// In parts, for the sanitisers.
class FaultsOfALife : public Faults, public ::testing::WithParamInterface<size_t> {
  protected:
    static constexpr size_t parts = 4;
};
INSTANTIATE_TEST_SUITE_P(Part, FaultsOfALife, ::testing::Range(size_t{1}, size_t{5}));

TEST_P(FaultsOfALife, OfThePlatform) {
    EXPECT_GT(walk(
                  platformCall, "call", [this](auto arm) { wholeLife(arm); }, GetParam(), parts),
              300u);
}

TEST_P(FaultsOfALife, OfMemory) {
    EXPECT_GT(walk(
                  block, "block", [this](auto arm) { wholeLife(arm); }, GetParam(), parts),
              1000u);
}

TEST_F(Faults, InInit) {
    startsAnew = true;
    EXPECT_GT(walk(platformCall, "call", [this](auto arm) { beginning(arm); }), 8u);
    EXPECT_GT(walk(block, "block", [this](auto arm) { beginning(arm); }), 8u);
}

TEST_F(Faults, OfMemoryInEveryExport) {
    for (const auto& each : everyExport) {
        walk(block, each.text, [&](auto arm) {
            init();
            orvo_screencapture_set_target_window(7);
            orvo_screencapture_start_capture();
            step();
            arm();
            each.make(inTheMiddle);
        });
    }
}

// A callback of each kind, in the middle of a life.
class FaultsOfTheHost : public Faults, public ::testing::WithParamInterface<const char*> {
  protected:
    // Lives, and does something in the first callback of the kind.
    void liveAndDo(std::function<void()> something) {
        arrange();
        init();
        bool done = false;
        host.during = [&, kind = std::string(GetParam())](const std::string& event) {
            if (event.compare(0, kind.size(), kind) != 0 || std::exchange(done, true)) return;
            something();
        };
        live();
        EXPECT_TRUE(done);
        host.during = nullptr;
    }
};
INSTANTIATE_TEST_SUITE_P(Kind, FaultsOfTheHost,
                         ::testing::Values("error", "frame", "window frame", "moved", "status", "thumbnail",
                                           "process"));

TEST_P(FaultsOfTheHost, EveryExportMayBeCalledInACallback) {
    for (const auto& each : everyExport) {
        liveAndDo([&] { each.make(inTheMiddle); });
        expectCaptureWorks();
        leave();
    }
}

TEST_P(FaultsOfTheHost, WhatACallbackThrowsIsLoggedOnce) {
    for (int i = 0; i < 2; ++i) {
        takeLog();
        liveAndDo([] { throw 42; });
        host.during = [](const std::string&) { throw std::runtime_error("again"); };
        live();
        host.during = nullptr;
        const auto log = takeLog();
        const auto tells = [](const std::string& line) { return line.find("threw an exception") != line.npos; };
        EXPECT_EQ(std::count_if(log.begin(), log.end(), tells), 1);
        expectCaptureWorks();
        leave();
    }
}

// Nothing waits there but, at each tick of a window, what is reported of its state.
TEST_F(Faults, AMainQueueThatStandsStillForFiveSecondsHoldsUpNothingElse) {
    arrange();
    init();
    orvo_screencapture_set_target_window(7);
    orvo_screencapture_start_capture();
    step();
    take();
    desk.stepper.advance(5);
    EXPECT_EQ(countOf("window frame"), 75);
    EXPECT_LE(desk.stepper.pending(mainQueue), 75u * 2);
    desk.stepper.run(mainQueue);
    expectCaptureWorks();
}

}  // namespace
}  // namespace orvo::test
