// The displays of a real server, and what counts from their corners.
#include <gtest/gtest.h>

#include "ScreenCapture/platform/platform.h"
#include "ScreenCapture/thumbnail/OrvoAppProxy.h"
#include "ScreenCapture/thumbnail/OrvoWindowProxy.h"
#include "ScreenCapture/window/OrvoWindow.h"
#include "support/x11/shots.h"

namespace orvo::testing {
namespace {

using platform::Display;
using platform::Displays;
using platform::Rect;

Displays& displays() {
    return platform::platform().displays();
}

// Every pair of monitors is looked at from its main display's corner: displays, windows, areas, pictures, the pointer.
struct Layout {
    const char* first;   // a monitor's name for xrandr, "*": primary; it is made before the other
    const char* second;  // at the place that has the number 1 below
    int main;            // which of the two is the main display
    Area places[2];
};
const Layout layouts[] = {
    {"*a", "b", 0, {{0, 0, 300, 200}, {300, 100, 500, 400}}},
    {"a", "*b", 1, {{0, 0, 300, 200}, {300, 100, 500, 400}}},
    {"*a", "b", 0, {{300, 100, 500, 400}, {0, 300, 300, 300}}},
    {"a", "b", 1, {{500, 0, 300, 200}, {0, 0, 500, 400}}},
    {"a", "b", 0, {{300, 100, 500, 400}, {0, 40, 300, 300}}},
};

TEST(Displays, EverythingCountsFromTheMainDisplaysCorner) {
    for (const Layout& layout : layouts) {
        const Area main = layout.places[layout.main];
        SCOPED_TRACE(std::string(layout.first) + " " + layout.second + " " + std::to_string(main.x));
        XServer server("800x600x24");
        const uint32_t before = displays().mainDisplay();
        for (int i = 0; i < 2; ++i) {
            const Area& a = layout.places[i];
            const std::string size = std::to_string(a.width) + "/100x" + std::to_string(a.height) + "/100+";
            ASSERT_EQ(server.run({"xrandr", "--setmonitor", i == 0 ? layout.first : layout.second,
                                  size + std::to_string(a.x) + "+" + std::to_string(a.y), i == 0 ? "screen" : "none"}),
                      0);
        }
        Windows windows(server);
        const auto back = windows.window({0, 0, 800, 600}, 0);
        windows.paintPattern(back, 800, 600);
        const auto window = windows.window({350, 150, 120, 90}, 0x806040);
        windows.warpPointer(420, 130);

        const auto screens = displays().screens();
        ASSERT_EQ(screens.size(), 2U);
        EXPECT_NE(displays().mainDisplay(), before);
        EXPECT_EQ(displays().mainDisplayPixelsHigh(), static_cast<uint32_t>(main.height));
        for (const Display& screen : screens) {
            const bool isMain = screen.number == displays().mainDisplay();
            const Area& place = layout.places[isMain ? layout.main : 1 - layout.main];
            const Rect global{1.0 * place.x - main.x, 1.0 * place.y - main.y, 1.0 * place.width, 1.0 * place.height};
            EXPECT_EQ(displays().bounds(screen.number), global);
            EXPECT_EQ(screen.frame,
                      (Rect{global.x, main.height - global.y - global.height, global.width, global.height}));
            OrvoWindow record;
            record.isScreen = true;
            record.windowID = screen.number;
            record.windowBounds = screen.frame;
            const auto grabber = windowServer().grabber(screen.number, true);
            EXPECT_EQ(copyOf(*grabber->composed(record.deskBounds(), {window, back}).image), shownBy(windows, place));
        }
        const auto infos = windowServer().onScreenWindows();
        ASSERT_EQ(infos.size(), 2U);
        const Rect global{350.0 - main.x, 150.0 - main.y, 120, 90};
        EXPECT_EQ(infos[0].bounds, global);
        EXPECT_EQ(OrvoAppProxy::initWithPID(infos[0].ownerPID)->windowWithWindowId(window)->frame(), global);
        const auto grabber = windowServer().grabber(window, false);
        EXPECT_EQ(copyOf(*grabber->area(global).image), shownBy(windows, {350, 150, 120, 90}));
        EXPECT_EQ(platform::platform().pointer().location(),
                  (platform::Point{420.0 - main.x, main.height - (130.0 - main.y)}));

        ASSERT_EQ(server.run({"xrandr", "--delmonitor", "b"}), 0);
        EXPECT_EQ(displays().screens().size(), 1U);
    }
}

}  // namespace
}  // namespace orvo::testing
