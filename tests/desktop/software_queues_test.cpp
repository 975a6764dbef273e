// Serial queues and grid timers on real threads.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <future>
#include <thread>
#include <vector>

#include "ScreenCapture/platform/software/queues.h"

namespace orvo::testing {
namespace {

using platform::Job;
using platform::SerialQueue;
using platform::Timer;
using platform::software::makeSerialQueue;
using platform::software::makeTimer;
using namespace std::chrono_literals;

constexpr auto kLimit = 20s;

uint64_t nanoseconds(std::chrono::nanoseconds time) {
    return static_cast<uint64_t>(time.count());
}

bool arrives(std::future<void> future) {
    return future.wait_for(kLimit) == std::future_status::ready;
}

// Waits until the queue has run everything up to here, a tick on its way included.
bool settles(SerialQueue& queue) {
    std::promise<void> reached;
    queue.async([&] { reached.set_value(); });
    return arrives(reached.get_future());
}

TEST(SerialQueue, RunsInOrderAndLastWhatJobsAdd) {
    const auto queue = makeSerialQueue("test");
    std::vector<int> order;
    std::promise<void> open;
    std::promise<void> done;
    queue->async([&, gate = open.get_future().share()] {
        gate.wait();
        queue->async([&] {
            order.push_back(3);
            done.set_value();
        });
        order.push_back(0);
    });
    for (int i = 1; i < 3; i++) queue->async([&, i] { order.push_back(i); });
    open.set_value();
    ASSERT_TRUE(arrives(done.get_future()));
    EXPECT_EQ(order, (std::vector{0, 1, 2, 3}));
}

TEST(SerialQueue, ReleasedWithJobsQueuedItRunsThemAndMayDieOnItsOwnThread) {
    auto queue = makeSerialQueue("test");
    std::promise<void> open;
    std::promise<void> last;
    std::atomic<int> ran{0};
    queue->async([gate = open.get_future().share()] { gate.wait(); });
    for (int i = 0; i < 100; i++) queue->async([&] { ran++; });
    queue->async([&, own = queue]() mutable {
        own = nullptr;  // the last reference
        last.set_value();
    });
    queue = nullptr;
    open.set_value();
    ASSERT_TRUE(arrives(last.get_future()));
    EXPECT_EQ(ran, 100);
}

TEST(GridTimer, MergesTheFiringsThatATickMisses) {
    const auto queue = makeSerialQueue("test");
    constexpr auto kInterval = 10ms;
    std::vector<std::chrono::steady_clock::time_point> ticks;
    std::promise<void> enough;
    const auto start = std::chrono::steady_clock::now();
    const auto timer = makeTimer(queue, nanoseconds(kInterval), [&] {
        ticks.push_back(std::chrono::steady_clock::now());
        if (ticks.size() == 1) std::this_thread::sleep_for(10 * kInterval);  // misses nine points
        if (ticks.size() == 6) enough.set_value();                           // a seventh may come before the cancel
    });
    ASSERT_TRUE(arrives(enough.get_future()));
    timer->cancel();
    ASSERT_TRUE(settles(*queue));
    // The tenth point's tick at once, then the grid from the first tick on, and never one early.
    for (size_t i = 1; i < 6; i++) EXPECT_GE(ticks[i] - start, (8 + i) * kInterval) << i;
}

TEST(GridTimer, CancelledByItsOwnTickItIsSilentAndLetsGoOfWhatItHeld) {
    auto queue = makeSerialQueue("test");
    auto held = std::make_shared<int>(0);
    const std::weak_ptr<int> watch = held;
    std::promise<void> ticked;
    std::shared_ptr<Timer> timer;
    std::promise<void> made;
    timer = makeTimer(queue, nanoseconds(1ms), [&, held, ready = made.get_future().share()] {
        ready.wait();
        ++*held;
        timer = nullptr;
        ticked.set_value();  // a second tick would throw
    });
    held = nullptr;
    made.set_value();
    ASSERT_TRUE(arrives(ticked.get_future()));
    ASSERT_TRUE(settles(*queue) && settles(*queue));
    EXPECT_TRUE(watch.expired());
}

TEST(GridTimer, CancellingDoesNotWaitForATickThatRuns) {
    const auto queue = makeSerialQueue("test");
    std::promise<void> inside;
    std::promise<void> open;
    std::atomic<int> ticks{0};
    auto timer = makeTimer(queue, nanoseconds(1ms), [&, gate = open.get_future().share()] {
        if (ticks++ == 0) inside.set_value();
        gate.wait();
    });
    ASSERT_TRUE(arrives(inside.get_future()));
    timer->cancel();
    timer = nullptr;  // a wait here would never end
    open.set_value();
    ASSERT_TRUE(settles(*queue));
    EXPECT_EQ(ticks, 1);
}

TEST(GridTimer, JobsAreNotStarvedByATickThatIsAlwaysDue) {
    const auto queue = makeSerialQueue("test");
    std::atomic<int> ticks{0};
    const auto timer = makeTimer(queue, 1, [&] { ticks++; });
    EXPECT_TRUE(settles(*queue));
    timer->cancel();
    EXPECT_TRUE(settles(*queue));
    EXPECT_EQ(makeTimer(nullptr, 1, [] {}), nullptr);
}

}  // namespace
}  // namespace orvo::testing
