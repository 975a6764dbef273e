// What a tick may cost: requests, waits for the server, allocations, for each kind of scene.
#include <gtest/gtest.h>

#include <chrono>
#include <thread>

#include "ScreenCapture/platform/platform.h"
#include "ScreenCapture/platform/x11/services.h"
#include "ScreenCapture/window/OrvoWindowCursor.h"
#include "ScreenCapture/window/target_frame.h"
#include "support/x11/traffic.h"
#include "support/x11/x_windows.h"

namespace orvo::testing {
namespace {

using platform::Image;
using platform::Rect;
using platform::Ref;
using platform::Shot;

// The desktop of all scenes: a window, another over its corner, and a small one at the side. The lists have them front
// to back.
struct Scene {
    const XServer server{"640x480x24"};
    Windows windows{server};
    const xcb_window_t target = windows.window({40, 30, 320, 240}, 0x204060);
    const xcb_window_t cover = windows.window({300, 200, 200, 150}, 0x806040);
    const xcb_window_t side = windows.window({560, 20, 60, 60}, 0x111111);
    const uint32_t display = platform::platform().displays().mainDisplay();
    const Rect all{0, 0, 640, 480};
    std::vector<uint32_t> list;
    CaptureOptions half;
    std::unique_ptr<platform::software::DisplaySource> run;
    std::vector<TargetFrame> frames;
    const std::shared_ptr<OrvoWindowManager> manager = std::make_shared<OrvoWindowManager>(nullptr);

    Scene() {
        half.resolutionSize = {160, 120};
        windows.warpPointer(100, 100);
    }

    // A tick of the device path.
    const Image* runDisplay(bool cursor) {
        platform::NoImage why{};
        if (!run) run = platform::x11::openDisplaySource(why);
        platform::software::DisplaySettings settings;
        settings.display = display;
        settings.cursor = cursor;
        return run->next(settings).frame.get();
    }
    TargetFrame& frame(size_t i, uint32_t number, bool isScreen) {
        if (frames.size() == i) frames.emplace_back(number, isScreen);
        return frames[i];
    }
    const Image* window(bool scaled, bool cursor) {
        TargetFrame& f = frame(0, target, false);
        const Shot shot = f.grabber().window();
        if (!shot.image) return nullptr;
        OrvoWindow item;
        item.windowBounds = {40, 30, 320, 240};
        const CursorMark mark = cursor ? OrvoWindowCursor().appendMouseCursor(*shot.image, &item) : CursorMark();
        EXPECT_EQ(static_cast<bool>(mark), cursor);
        return f.cropAndScale(shot.image, scaled ? half : CaptureOptions(), mark).image.get();
    }
    const Image* composed() {
        platform::platform().windowServer().onScreenNumbers(list);
        std::erase(list, cover);
        return frame(0, display, true).grabber().composed(all, list).image.get();
    }
    const Image* application() {
        const auto& own = frame(0, target, false).applicationWindows(*manager);
        return frames[0].grabber().composed({40, 30, 320, 240}, own).image.get();
    }
    const Image* threeWindows() {
        frame(0, target, false), frame(1, cover, false), frame(2, side, false);
        const Image* last = nullptr;
        for (TargetFrame& each : frames) last = each.grabber().window().image.get();
        return last;
    }
};

struct Case {
    const char* name;
    const Image* (*tick)(Scene&);
    Traffic changed;  // part of the target was painted
};

class Budget : public ::testing::TestWithParam<Case> {};

TEST_P(Budget, IsKept) {
    Scene scene;
    const Case& c = GetParam();
    for (int i = 0; i < 4; ++i) ASSERT_TRUE(c.tick(scene));
    // The pointer counts as resting once the server has counted some tenths of a second.
    const auto until = std::chrono::steady_clock::now() + std::chrono::seconds(5);
    while (trafficOf([&] { c.tick(scene); }).requests > 0 && std::chrono::steady_clock::now() < until)
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    // Within a second one question whether the server is there may fall, whatever is captured.
    const Image* const before = c.tick(scene);
    const Traffic still = trafficOf([&] {
        for (int i = 0; i < 5; ++i) EXPECT_EQ(c.tick(scene), before);  // the same memory again
    });
    EXPECT_TRUE(still.within({1, 1, 0})) << still.requests << " requests, " << still.roundTrips << " waits, "
                                         << still.allocations << " allocations";
    for (uint32_t i = 0; i < 5; ++i) {
        scene.windows.fill(scene.target, {10, 10, 50, 50}, 0x10 * i);
        scene.windows.sync();  // its events are written before this answer
        const Traffic changed = trafficOf([&] { c.tick(scene); });
        EXPECT_TRUE(changed.within(c.changed)) << changed.requests << " requests, " << changed.roundTrips << " waits, "
                                               << changed.allocations << " allocations";
        EXPECT_GT(changed.requests, 1);
    }
}

INSTANTIATE_TEST_SUITE_P(
    Scenes, Budget,
    ::testing::Values(Case{"display", [](Scene& s) { return s.runDisplay(false); }, {8, 1, 0}},
                      Case{"display_cursor", [](Scene& s) { return s.runDisplay(true); }, {8, 1, 0}},
                      Case{"window", [](Scene& s) { return s.window(false, false); }, {11, 1, 0}},
                      Case{"window_cursor", [](Scene& s) { return s.window(false, true); }, {11, 1, 0}},
                      Case{"window_scaled", [](Scene& s) { return s.window(true, false); }, {11, 1, 1}},
                      Case{"window_scaled_cursor", [](Scene& s) { return s.window(true, true); }, {11, 1, 1}},
                      Case{"composed_display", [](Scene& s) { return s.composed(); }, {11, 1, 0}},
                      Case{"application", [](Scene& s) { return s.application(); }, {11, 1, 0}},
                      Case{"three_windows", [](Scene& s) { return s.threeWindows(); }, {11, 1, 0}}),
    [](const auto& each) { return std::string(each.param.name); });

// A rest ends with the first move: the next tick asks once and shows it. The server's alarm follows the move within a
// moment.
TEST(PointerBudget, AMoveCostsOneWaitAndIsShown) {
    Scene scene;
    const auto pixels = [&] {
        const Image* const image = scene.runDisplay(true);
        return std::vector<uint8_t>(image->bytes(), image->bytes() + image->bytesPerRow() * 480);
    };
    for (int round = 0; round < 6; ++round) {
        std::this_thread::sleep_for(std::chrono::milliseconds(round % 2 == 0 ? 0 : 350));
        const auto before = pixels();
        platform::platform().pointer().location();
        const int x = 50 + 60 * round;
        scene.windows.warpPointer(x, 100);
        const auto until = std::chrono::steady_clock::now() + std::chrono::milliseconds(800);
        bool isShown = false;
        while (!isShown && std::chrono::steady_clock::now() < until) {
            scene.windows.sync();
            EXPECT_LE(trafficOf([&] { isShown = pixels() != before; }).roundTrips, 2);
        }
        EXPECT_TRUE(isShown) << round;
        EXPECT_EQ(platform::platform().pointer().location().x, x) << round;
    }
}

// A list of windows waits once or not at all; with pictures for what all of them need together. Facts, orders, captures
// and the device path share one connection, a list with pictures has a second.
TEST(ListBudget, WaitsAndConnectionsDoNotGrowWithTheWindowsNorTheirPictures) {
    Scene scene;
    auto& server = platform::platform().windowServer();
    std::vector<uint32_t> numbers;
    server.onScreenNumbers(numbers);
    ASSERT_EQ(numbers.size(), 3U);
    for (int i = 0; i < 47; ++i) scene.windows.window({20 + 8 * i, 300, 60, 50}, 0x222222);
    EXPECT_LE(trafficOf([&] { EXPECT_EQ(server.onScreenWindows().size(), 50U); }).roundTrips, 3);  // new ones
    EXPECT_EQ(trafficOf([&] { server.onScreenWindows(); }).roundTrips, 0);
    ASSERT_TRUE(scene.runDisplay(true) && scene.threeWindows());
    // The client's and one more; that of an earlier test's server may end a moment later.
    EXPECT_TRUE(comesAbout([] { return connectionsOpen() == 2; }));
    server.onScreenNumbers(numbers);
    auto pictures = server.pictures(numbers);
    EXPECT_EQ(connectionsOpen(), 3);
    const auto takeAll = [&] {
        for (const uint32_t number : numbers) EXPECT_TRUE(pictures->take(number).image);
    };
    EXPECT_LE(trafficOf(takeAll).roundTrips, 20);  // 5, and one for each time that some have repainted
    pictures = nullptr;
    EXPECT_EQ(connectionsOpen(), 2);
}

}  // namespace
}  // namespace orvo::testing
