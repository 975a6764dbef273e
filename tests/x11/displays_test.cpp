// The displays of a real server: monitors, their changes, servers that die, hang and come back.
#include <gtest/gtest.h>

#include <chrono>

#include "ScreenCapture/platform/platform.h"
#include "support/x11/x_server.h"

namespace orvo::testing {
namespace {

using platform::Display;
using platform::Displays;
using platform::Rect;
using Clock = std::chrono::steady_clock;

Displays& displays() {
    return platform::platform().displays();
}

double secondsSince(Clock::time_point start) {
    return std::chrono::duration<double>(Clock::now() - start).count();
}

TEST(Displays, OneScreenIsOneDisplay) {
    const XServer server("640x480x24");
    const auto screens = displays().screens();
    ASSERT_EQ(screens.size(), 1U);
    EXPECT_NE(screens[0].number, 0U);
    EXPECT_EQ(screens[0].frame, (Rect{0, 0, 640, 480}));
    EXPECT_EQ(screens[0].backingScale, 1.0);
    EXPECT_EQ(displays().mainDisplay(), screens[0].number);
    EXPECT_EQ(displays().mainDisplayPixelsHigh(), 480U);
    EXPECT_EQ(displays().focusedScreenScale(), 1.0);
    EXPECT_EQ(displays().bounds(screens[0].number), (Rect{0, 0, 640, 480}));
    EXPECT_EQ(displays().bounds(0xfffffff0U), Rect{});
}

TEST(Displays, MonitorsComeAndGo) {
    XServer server("800x600x24");
    const uint32_t before = displays().mainDisplay();
    ASSERT_EQ(server.run({"xrandr", "--setmonitor", "high", "500/100x400/100+300+0", "screen"}), 0);
    ASSERT_EQ(server.run({"xrandr", "--setmonitor", "low", "300/100x200/100+0+400", "none"}), 0);

    const auto screens = displays().screens();
    ASSERT_EQ(screens.size(), 2U);
    const bool highFirst = screens[0].frame.width == 500;
    const Display& high = screens[highFirst ? 0 : 1];
    const Display& low = screens[highFirst ? 1 : 0];
    EXPECT_NE(high.number, low.number);
    EXPECT_NE(high.number, before);
    // The main display's top is the root's; the other lies wholly below its bottom.
    EXPECT_EQ(displays().mainDisplay(), high.number);
    EXPECT_EQ(displays().mainDisplayPixelsHigh(), 400U);
    EXPECT_EQ(high.frame, (Rect{300, 0, 500, 400}));
    EXPECT_EQ(low.frame, (Rect{0, -200, 300, 200}));
    EXPECT_EQ(displays().bounds(low.number), (Rect{0, 400, 300, 200}));

    ASSERT_EQ(server.run({"xrandr", "--delmonitor", "low"}), 0);
    EXPECT_EQ(displays().screens().size(), 1U);
    EXPECT_EQ(displays().bounds(low.number), Rect{});
}

TEST(Displays, NothingWithoutAServer) {
    setenv("DISPLAY", ":65000", 1);
    EXPECT_TRUE(displays().screens().empty());
    unsetenv("DISPLAY");
    EXPECT_EQ(displays().mainDisplay(), 0U);
    EXPECT_EQ(displays().mainDisplayPixelsHigh(), 0U);
    EXPECT_EQ(displays().focusedScreenScale(), 0.0);
    EXPECT_EQ(displays().bounds(1), Rect{});
}

TEST(Displays, ANewServerIsFoundAfterADeadOne) {
    {
        XServer server("640x480x24");
        ASSERT_EQ(displays().screens().size(), 1U);
        server.kill();
        EXPECT_TRUE(displays().screens().empty());
    }
    const XServer next("320x200x24");
    ASSERT_EQ(displays().screens().size(), 1U);
    EXPECT_EQ(displays().screens()[0].frame, (Rect{0, 0, 320, 200}));
}

TEST(Displays, AHangingServerIsWaitedForWithinTheLimit) {
    XServer server("640x480x24");
    server.suspend();
    for (int i = 0; i < 2; i++) {
        const auto start = Clock::now();
        EXPECT_TRUE(displays().screens().empty());
        EXPECT_LT(secondsSince(start), 1.5);
    }
    server.resume();
    const auto start = Clock::now();
    while (displays().screens().empty() && secondsSince(start) < 10) {
    }
    EXPECT_EQ(displays().screens().size(), 1U);
}

}  // namespace
}  // namespace orvo::testing
