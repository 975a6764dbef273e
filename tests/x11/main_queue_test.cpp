// The main queue without a GLib loop, and beside one.
#include <glib.h>
#include <gtest/gtest.h>

#include <thread>
#include <vector>

#include "ScreenCapture/platform/linux/main_queue.h"
#include "ScreenCapture/platform/platform.h"

namespace orvo::testing {
namespace {

using platform::linux::runMainQueue;

void post(platform::Job job) {
    platform::platform().dispatch().mainAsync(std::move(job));
}

TEST(MainQueue, RunsWhatIsReadyInOrderAndNothingFromWithin) {
    EXPECT_EQ(runMainQueue(0), 0);
    for (const int outer : {0, 10}) {
        int inner = -1;
        std::vector<int> order;
        post([&] { inner = runMainQueue(5); });
        for (int i = 0; i < 3; i++) post([&, i] { order.push_back(i); });
        EXPECT_EQ(runMainQueue(outer), 4) << outer;
        EXPECT_EQ(inner, 0) << outer;
        EXPECT_EQ(order, (std::vector{0, 1, 2})) << outer;
    }
}

TEST(MainQueue, ATimerTicksOnItUntilItIsReleased) {
    constexpr auto kInterval = std::chrono::milliseconds(5);
    const auto start = std::chrono::steady_clock::now();
    int ticks = 0;
    std::shared_ptr<platform::Timer> timer;
    timer = platform::platform().dispatch().makeMainTimer(std::chrono::nanoseconds(kInterval).count(), [&] {
        EXPECT_GE(std::chrono::steady_clock::now() - start, ++ticks * kInterval);
        EXPECT_EQ(runMainQueue(12), 0);
        if (ticks == 3) timer = nullptr;
    });
    int ran = 0;
    while (ticks < 3) ran += runMainQueue(20);
    EXPECT_EQ(ran, 3);
    EXPECT_EQ(runMainQueue(20), 0);
}

TEST(MainQueue, ALoopOfTheHostRunsItAndKeepsOthersOut) {
    GMainLoop* loop = g_main_loop_new(nullptr, FALSE);
    int elsewhere = -1;
    post([&] {
        std::thread([&] { elsewhere = runMainQueue(50); }).join();
        g_main_loop_quit(loop);
    });
    g_main_loop_run(loop);
    g_main_loop_unref(loop);
    EXPECT_EQ(elsewhere, 0);
}

}  // namespace
}  // namespace orvo::testing
