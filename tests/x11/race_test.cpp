// The library driven from several threads at once, while windows come, change and go under it: nothing reaches a host
// that has left. Meant for the thread sanitizer.
#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <thread>

#include "ScreenCapture/platform/linux/main_queue.h"
#include "ScreenCapture/platform/platform.h"
#include "support/every_export.h"
#include "support/x11/x_windows.h"

namespace orvo::testing {
namespace {

class Races : public ::testing::Test {
  protected:
    Races() {
        steady_ = windows_.make({.area = {10, 10, 200, 150}, .title = "steady"});
        victim_ = steady_;
        motion_ = std::thread([this] { stir(); });
    }
    ~Races() override {
        orvo_screencapture_uninit();
        done_ = true;
        motion_.join();
    }
    void stir() {
        Windows windows(server_);
        for (int i = 0; !done_; ++i) {
            const auto victim = windows.make({.area = {60, 60, 120, 90}, .title = "victim"});
            victim_ = victim;
            windows.resize(victim, 100 + i % 50, 80);
            windows.paintPattern(steady_, 200, 150);
            if (i % 2 == 0) windows.unmap(victim);
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
            windows.destroy(victim);
        }
    }
    static void called(void* me, bool isFrame) {
        auto& self = *static_cast<Races*>(me);
        ++self.calls_;
        if (self.closed_) ++self.late_;
        if (isFrame && self.onFrame) self.onFrame();
    }
    void init() {
        orvo_screencapture_init();
        closed_ = false;
        orvo_screencapture_set_fps(30);
        orvo_screencapture_reg_captured_frame_available_notify(
            [](const char*, unsigned int, const OrvoScreenCaptureFrameFormat*, unsigned long long, unsigned int,
               void* me) { called(me, true); },
            this);
        orvo_screencapture_reg_captured_window_status_change_notify(
            [](int, unsigned int, OrvoScreenCaptureRect, void* me) { called(me, false); }, this);
        orvo_screencapture_reg_capture_error_notify([](int, void* me) { called(me, false); }, this);
    }
    // Each second time on the window path, whose frames come on a thread of its own.
    void start(int round) {
        round % 2 ? orvo_screencapture_set_target_window(steady_) : orvo_screencapture_set_target_screen(display_);
        orvo_screencapture_start_capture();
    }
    bool runUntil(const std::function<bool()>& condition) {
        return comesAbout([&] { return platform::linux::runMainQueue(2), condition(); });
    }

    XServer server_;
    Windows windows_{server_};
    const unsigned int display_ = platform::platform().displays().mainDisplay();
    xcb_window_t steady_ = 0;
    std::atomic<xcb_window_t> victim_{0};
    std::atomic<bool> closed_{true}, done_{false};
    std::atomic<int> calls_{0}, late_{0};  // of the host; those that came while it was closed
    std::function<void()> onFrame;
    std::thread motion_;
};

TEST_F(Races, NothingReachesTheHostAfterUninitHasReturned) {
    for (int round = 0; round < 30; ++round) {
        init();
        start(round);
        const int before = calls_;
        if (round % 3) {
            EXPECT_TRUE(runUntil([&] { return calls_ > before; }));
        }
        orvo_screencapture_uninit();
        closed_ = true;
    }
    platform::linux::runMainQueue(20);
    EXPECT_EQ(late_, 0);
}

TEST_F(Races, AFrameCallbackMayUninitOnItsOwnThread) {
    std::atomic<int> ends{0};
    onFrame = [&] {
        orvo_screencapture_uninit();
        ++ends;
    };
    for (int round = 0; round < 10; ++round) {
        init();
        start(round);
        ASSERT_TRUE(runUntil([&] { return ends > round; }));
    }
    platform::linux::runMainQueue(20);
    EXPECT_EQ(ends, 10);
    EXPECT_FALSE(orvo_screencapture_is_capturing());
}

TEST_F(Races, EverythingMayBeCalledFromEveryThread) {
    constexpr size_t count = std::size(test::everyExport);
    init();
    std::vector<std::future<void>> hosts;
    for (const size_t stride : {1, 7, 11})
        hosts.push_back(std::async(std::launch::async, [&, stride] {
            for (size_t i = 0; i < 2 * count; ++i) {
                const test::With with{display_, steady_, victim_, [](bool good) { EXPECT_TRUE(good); }};
                test::everyExport[i * stride % count].make(with);
                if (i % 10 == 0) init();
            }
        }));
    for (auto& host : hosts)
        EXPECT_TRUE(runUntil([&] { return host.wait_for(std::chrono::seconds(0)) == std::future_status::ready; }));
    orvo_screencapture_uninit();
    closed_ = true;
    platform::linux::runMainQueue(20);
    EXPECT_EQ(late_, 0);
}

}  // namespace
}  // namespace orvo::testing
