// The stepped queues keep what the port promises of real ones.
#include <gtest/gtest.h>

#include "support/desktop/desktop.h"

namespace orvo::test {
namespace {

TEST(Stepper, QueuesRunInOrderAndOnlyWhenTheyAreAsked) {
    Stepper stepper;
    std::string ran;
    auto queue = stepper.makeSerialQueue(sessionQueue);
    queue->async([&] {
        ran += "a";
        stepper.mainAsync([&] { ran += "m"; });
    });
    queue->async([&] { ran += "b"; });
    queue.reset();  // what is queued still runs
    EXPECT_EQ(stepper.run(mainQueue), 0u);
    EXPECT_EQ(stepper.run(sessionQueue), 2u);
    EXPECT_EQ(ran, "ab");
    stepper.settle();
    EXPECT_EQ(ran, "abm");
}

TEST(Stepper, TimersKeepTheirGridAndMergeWhatTheyMiss) {
    Stepper stepper;
    std::vector<double> ticks;
    auto timer = stepper.makeTimer(stepper.makeSerialQueue(windowQueue), 100'000'000,
                                   [&] { ticks.push_back(stepper.absoluteSeconds() - Stepper::absoluteStart); });
    EXPECT_EQ(stepper.pending(windowQueue), 1u);  // the first tick is due at once
    stepper.advance(0.25);
    stepper.skip(0.3);  // 0.3, 0.4, 0.5 merge
    EXPECT_EQ(stepper.run(windowQueue), 1u);
    stepper.advance(0.05);
    ASSERT_EQ(ticks.size(), 5u);
    const double expected[] = {0, 0.1, 0.2, 0.55, 0.6};
    for (size_t i = 0; i < 5; ++i) EXPECT_NEAR(ticks[i], expected[i], 1e-6);
    stepper.skip(0.1);
    timer->cancel();
    EXPECT_EQ(stepper.run(windowQueue), 1u);  // the firing that waited finds its timer cancelled
    stepper.advance(1);
    EXPECT_EQ(ticks.size(), 5u);
}

}  // namespace
}  // namespace orvo::test
