// Serial queues and grid timers on real threads.
#include <gtest/gtest.h>

#include <chrono>
#include <future>
#include <thread>
#include <vector>

#include "ScreenCapture/platform/software/queues.h"

namespace orvo::test {
namespace {

using platform::SerialQueue;
using platform::Timer;
using platform::software::makeSerialQueue;
using platform::software::makeTimer;
using namespace std::chrono_literals;

constexpr uint64_t kMillisecond = 1'000'000;

bool arrives(std::future<void> future) {
    return future.wait_for(20s) == std::future_status::ready;
}

// Waits until the queue has run everything up to here, a tick on its way included.
bool settles(SerialQueue& queue) {
    std::promise<void> reached;
    queue.async([&] { reached.set_value(); });
    return arrives(reached.get_future());
}

TEST(SerialQueue, RunsInOrderAlsoWhatJobsAddAndMayDieOnItsOwnThread) {
    auto queue = makeSerialQueue("test");
    std::vector<int> order;
    std::promise<void> open, done;
    queue->async([&, gate = open.get_future().share(), own = queue]() mutable {
        gate.wait();
        own->async([&, last = own]() mutable {
            order.push_back(100);
            last = nullptr;  // the last reference
            done.set_value();
        });
        own = nullptr;
    });
    for (int i = 0; i < 100; i++) queue->async([&, i] { order.push_back(i); });
    queue = nullptr;  // what is queued runs all the same
    open.set_value();
    ASSERT_TRUE(arrives(done.get_future()));
    for (int i = 0; i <= 100; i++) EXPECT_EQ(order.at(static_cast<size_t>(i)), i);
}

TEST(GridTimer, MergesTheFiringsThatATickMisses) {
    const auto queue = makeSerialQueue("test");
    constexpr auto kInterval = 10ms;
    std::vector<std::chrono::steady_clock::time_point> ticks;
    std::promise<void> enough;
    const auto start = std::chrono::steady_clock::now();
    const auto timer = makeTimer(queue, 10 * kMillisecond, [&] {
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

// It neither waits for a tick that runs nor lets another come, and lets go of what the tick held.
TEST(GridTimer, CancelledItIsSilent) {
    enum How { inside, released, keptByItsHandle };
    for (const How how : {inside, released, keptByItsHandle}) {
        const auto queue = makeSerialQueue("test");
        auto held = std::make_shared<int>(0);
        const std::weak_ptr<int> watch = held;
        std::promise<void> made, ticked, open;
        std::shared_ptr<Timer> timer;
        timer = makeTimer(queue, kMillisecond,
                          [&, held, ready = made.get_future().share(), gate = open.get_future().share()] {
                              ready.wait();
                              if (how == inside) timer = nullptr;
                              ticked.set_value();  // a second tick would throw
                              if (how != inside) gate.wait();
                          });
        held = nullptr;
        made.set_value();
        ASSERT_TRUE(arrives(ticked.get_future()));
        if (how == keptByItsHandle) timer->cancel();
        if (how == released) timer = nullptr;
        open.set_value();
        ASSERT_TRUE(settles(*queue) && settles(*queue));
        EXPECT_TRUE(watch.expired()) << how;
    }
}

TEST(GridTimer, JobsAreNotStarvedByATickThatIsAlwaysDue) {
    const auto queue = makeSerialQueue("test");
    const auto timer = makeTimer(queue, 1, [] {});
    EXPECT_TRUE(settles(*queue));
    timer->cancel();
    EXPECT_TRUE(settles(*queue));
    EXPECT_EQ(makeTimer(nullptr, 1, [] {}), nullptr);
}

}  // namespace
}  // namespace orvo::test
