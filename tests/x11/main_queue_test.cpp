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

TEST(MainQueue, RunsWhatIsReadyInOrder) {
    std::vector<int> order;
    EXPECT_EQ(runMainQueue(0), 0);
    for (int i = 0; i < 3; i++) post([&, i] { order.push_back(i); });
    EXPECT_TRUE(order.empty());
    EXPECT_EQ(runMainQueue(0), 3);
    EXPECT_EQ(order, (std::vector{0, 1, 2}));
}

TEST(MainQueue, AJobThatRunsItFindsNoOther) {
    for (const int outer : {0, 10}) {
        int inner = -1;
        bool second = false;
        post([&] { inner = runMainQueue(5); });
        post([&] { second = true; });
        EXPECT_EQ(runMainQueue(outer), 2) << outer;
        EXPECT_EQ(inner, 0) << outer;
        EXPECT_TRUE(second) << outer;
    }
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
