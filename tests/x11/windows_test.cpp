// The windows of a real server and their pictures: lists, stacking, content, targets that go.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <filesystem>
#include <random>
#include <thread>

#include "ScreenCapture/platform/platform.h"
#include "support/x11/shots.h"
#include "support/x11/traffic.h"
#include "support/x11/x_windows.h"

namespace orvo::testing {
namespace {

using platform::Image;
using platform::NoImage;
using platform::Rect;
using platform::Ref;
using platform::Shot;
using platform::WindowInfo;

const WindowInfo* find(const std::vector<WindowInfo>& list, uint32_t number) {
    const auto found = std::find_if(list.begin(), list.end(), [=](auto& info) { return info.number == number; });
    return found == list.end() ? nullptr : &*found;
}

TEST(Windows, ListTellsWhatClientsSayInStackingOrder) {
    const XServer server("800x600x24");
    Windows windows(server);
    const std::string longTitle(300, 't');
    const auto below = windows.make({.area = {10, 20, 300, 200}, .title = "Grüße — 窗口", .className = "Lower"});
    const auto above = windows.make({.area = {50, 60, 120, 90}, .title = longTitle, .className = "Upper"});
    const auto dock = windows.make({.area = {0, 580, 800, 20}, .type = "_NET_WM_WINDOW_TYPE_DOCK"});
    const auto desk = windows.make({.area = {0, 0, 800, 600}, .type = "_NET_WM_WINDOW_TYPE_DESKTOP"});
    const auto menu =
        windows.make({.area = {5, 5, 50, 50}, .type = "_NET_WM_WINDOW_TYPE_POPUP_MENU", .overrideRedirect = true});
    windows.lower(desk);
    windows.setNumber(above, "_NET_WM_WINDOW_OPACITY", XCB_ATOM_CARDINAL, 0x80000000U);
    windows.setNumber(below, "_NET_WM_PID", XCB_ATOM_CARDINAL, 1);  // a lie

    const auto list = windowServer().onScreenWindows();
    ASSERT_EQ(list.size(), 4U);
    EXPECT_EQ(list[0].number, menu);
    EXPECT_EQ(list[1].number, dock);
    EXPECT_EQ(list[2].number, above);
    EXPECT_EQ(list[3].number, below);
    EXPECT_EQ(list[0].layer, 101);
    EXPECT_EQ(list[1].layer, 20);
    EXPECT_EQ(list[2].layer, 0);
    EXPECT_EQ(list[2].name, longTitle);
    EXPECT_NEAR(list[2].alpha, 0.5, 0.001);
    EXPECT_EQ(list[2].ownerName, "Lower");  // that of the process, whose first window says so
    EXPECT_EQ(list[3].name, "Grüße — 窗口");
    EXPECT_EQ(list[3].alpha, 1.0);
    EXPECT_EQ(list[3].bounds, (Rect{10, 20, 300, 200}));
    EXPECT_EQ(list[3].ownerPID, getpid());
    std::vector<uint32_t> numbers;
    windowServer().onScreenNumbers(numbers);
    EXPECT_EQ(numbers, (std::vector<uint32_t>{menu, dock, above, below, desk}));

    windows.move(below, -50, 30);
    windows.raise(below);
    windows.destroy(menu);
    windows.unmap(dock);
    const auto later = windowServer().onScreenWindows();
    ASSERT_EQ(later.size(), 2U);
    EXPECT_EQ(later[0].number, below);
    EXPECT_EQ(later[0].bounds, (Rect{-50, 30, 300, 200}));
    windows.destroy(above);
    windows.make({.area = {1, 2, 30, 40}, .title = "Another", .number = above});  // of the same number
    EXPECT_EQ(windowServer().onScreenWindows().front().name, "Another");
}

// Windows that are moved, resized and restacked at random are listed where the server has them, also in frames.
TEST(Windows, ListFollowsWhatHappensToWindows) {
    for (const bool isManaged : {false, true}) {
        XServer server("800x600x24");
        Windows windows(server);
        if (isManaged) server.start({"openbox"});
        ASSERT_TRUE(!isManaged || windows.awaitManager());
        std::vector<xcb_window_t> all;
        for (int i = 0; i < 4; ++i)
            all.push_back(windows.make({.area = {30 * i, 20 * i, 200, 150}, .title = "each", .border = i}));
        uint32_t margins = 0;  // of the first: bounds are without the shadows that clients draw
        const auto isTrue = [&] {
            const auto list = windowServer().onScreenWindows();
            return std::all_of(list.begin(), list.end(), [&](const WindowInfo& info) {
                Rect bounds = windows.rootBounds(info.number);
                if (info.number == all[0])
                    bounds = {bounds.x + margins, bounds.y + 2, bounds.width - margins - 1, bounds.height - 5};
                return info.bounds == bounds;
            });
        };
        windows.setNumbers(all[0], "_GTK_FRAME_EXTENTS", {0, 1, 2, 3});
        std::minstd_rand random(7);
        for (int step = 0; step < 60; ++step) {
            const xcb_window_t window = all[random() % all.size()];
            const auto place = [&] { return static_cast<int>(random() % 400) - 50; };
            switch (random() % 7) {
                case 6:
                    margins = random() % 40;
                    windows.setNumbers(all[0], "_GTK_FRAME_EXTENTS", {margins, 1, 2, 3});
                    break;
                case 0:
                    windows.resize(window, 100 + static_cast<int>(random() % 200), 90);
                    break;
                case 1:
                    windows.raise(window);
                    break;
                default:
                    windows.move(window, place(), place());
            }
            const auto until = std::chrono::steady_clock::now() + std::chrono::seconds(isManaged ? 5 : 0);
            bool isListed = isTrue();
            while (!isListed && std::chrono::steady_clock::now() < until) isListed = isTrue();
            ASSERT_TRUE(isListed) << "step " << step << (isManaged ? " in frames" : "");
        }
        if (isManaged) continue;
        windows.move(all[2], 5, 6);
        EXPECT_EQ(trafficOf([&] { EXPECT_TRUE(find(windowServer().onScreenWindows(), all[2])); }).requests, 0);
    }
}

TEST(Windows, APictureIsTheWindowsOwnWhateverCoversIt) {
    const XServer server("640x480x24");
    Windows windows(server);
    const auto window = windows.make({.area = {100, 100, 200, 150}});
    windows.paintPattern(window, 200, 150);
    const auto grabber = windowServer().grabber(window, false);
    EXPECT_EQ(wrongPixels(grabber->window(), 200, 150), 0);
    const uint64_t version = grabber->window().image->version();
    EXPECT_NE(version, 0U);
    EXPECT_EQ(grabber->window().image->version(), version);

    const auto cover = windows.make({.area = {150, 120, 400, 300}});
    windows.fill(cover, {0, 0, 400, 300}, 0x123456);
    EXPECT_EQ(wrongPixels(grabber->window(), 200, 150), 0);
    EXPECT_EQ(grabber->window().image->version(), version);  // nothing of it changed
    windows.move(window, -120, 400);                         // half off the screen, on two sides
    windows.paintPattern(window, 200, 150);
    EXPECT_EQ(wrongPixels(grabber->window(), 200, 150), 0);
    EXPECT_NE(grabber->window().image->version(), version);

    // A frame that is held is not written; what is painted into one stays in it.
    Shot held = grabber->window();
    std::memset(held.image->paint({0, 0, 10, 1}), 0x77, 40);
    EXPECT_EQ(wrongPixels(grabber->window(), 200, 150), 0);
    windows.fill(window, {0, 0, 200, 150}, 0xABCDEF);
    EXPECT_EQ(pixel(grabber->window(), 0, 0), 0xFFABCDEFU);
    EXPECT_EQ(pixel(held, 0, 0), 0x77777777U);
    EXPECT_EQ(pixel(held, 20, 20), 0xFF000000U | patternAt(20, 20));
}

TEST(Windows, PicturesOfAListAreAsGoodAsOthers) {
    const XServer server("640x480x24");
    Windows windows(server);
    const auto left = windows.make({.area = {10, 10, 200, 150}});
    const auto right = windows.make({.area = {300, 10, 90, 70}});
    const auto covered = windows.make({.area = {310, 200, 90, 70}, .background = 0x123456});
    const auto cover = windows.make({.area = {300, 190, 200, 150}});
    const auto shown = windows.make({.area = {100, 300, 90, 70}, .background = 0x654321});
    windows.paintPattern(left, 200, 150);
    windows.paintPattern(right, 90, 70);
    const auto pictures = windowServer().pictures({left, right, covered, shown, 0x7FFFFFF});
    EXPECT_EQ(pixel(pictures->take(cover), 5, 5), 0xFF303030U);  // not in the list, and taken all the same
    windows.paintPattern(covered, 90, 70);                       // redirected by now
    EXPECT_EQ(wrongPixels(pictures->take(left), 200, 150), 0);
    EXPECT_EQ(wrongPixels(pictures->take(right), 90, 70), 0);
    EXPECT_EQ(wrongPixels(pictures->take(covered), 90, 70), 0);
    EXPECT_EQ(wrongPixels(pictures->take(covered), 90, 70), 0);  // again
    windows.make({.area = {90, 290, 200, 150}});
    EXPECT_EQ(pixel(pictures->take(shown), 40, 40), 0xFF654321U);  // not what came over it
    windows.destroy(right);
    EXPECT_EQ(pictures->take(right).why, NoImage::gone);
    const auto others = windowServer().pictures({left, covered});
    windows.destroy(covered);  // before anything is drawn
    EXPECT_EQ(wrongPixels(others->take(left), 200, 150), 0);
    EXPECT_EQ(others->take(covered).why, NoImage::gone);
    EXPECT_EQ(pictures->take(0x7FFFFFF).why, NoImage::gone);
}

TEST(Windows, APictureIsTakenAgainWhenAWindowCameBeforeItWasWatched) {
    const XServer server("640x480x24");
    Windows windows(server);
    const auto window = windows.make({.area = {100, 300, 90, 70}, .background = 0x654321});
    const auto other = windows.make({.area = {10, 10, 200, 150}});
    ASSERT_EQ(windowServer().onScreenWindows().size(), 2U);
    Shot shot = NoImage::none;
    // A server that lets it in too late, on a busy machine, counts as one that hangs.
    EXPECT_TRUE(comesAbout([&] {
        xcb_grab_server(windows.raw());
        windows.sync();
        const auto openFiles = [] { return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {}); };
        const auto before = openFiles();
        std::thread picker([&] { shot = windowServer().pictures({other, window})->take(window); });
        // It has seen the desktop, and waits for the server to let it in.
        for (int i = 0; i < 500 && openFiles() == before; ++i)
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        const auto cover = windows.make({.area = {90, 290, 200, 150}});
        xcb_ungrab_server(windows.raw());
        windows.sync();
        picker.join();
        windows.destroy(cover);
        return static_cast<bool>(shot.image);
    }));
    EXPECT_EQ(pixel(shot, 40, 40), 0xFF654321U);  // not what came over it
}

TEST(Windows, ATargetsShapeMayChangeWhileAnotherWindowIsAwaited) {
    const XServer server("640x480x24");
    Windows windows(server);
    const auto target = windows.make({.area = {10, 10, 100, 100}});
    const auto covered = windows.make({.area = {310, 200, 90, 70}});
    windows.make({.area = {300, 190, 200, 150}});
    const auto grabber = windowServer().grabber(target, false);
    EXPECT_EQ(pixel(grabber->window(), 80, 80), 0xFF303030U);
    Windows client(server);
    const uint32_t exposure = XCB_EVENT_MASK_EXPOSURE;
    xcb_change_window_attributes(client.raw(), covered, XCB_CW_EVENT_MASK, &exposure);
    client.sync();
    std::thread repainting([&] {
        const std::unique_ptr<xcb_generic_event_t, void (*)(void*)> event(xcb_wait_for_event(client.raw()), free);
        client.shape(target, {0, 0, 50, 100});
        client.fill(covered, {0, 0, 90, 70}, 0x123456);
    });
    EXPECT_TRUE(grabber->composed({0, 0, 640, 480}, {target, covered}).image);
    repainting.join();
    EXPECT_EQ(pixel(grabber->window(), 80, 80), 0U);
}

TEST(Windows, AnAreaHoldsEveryWindowButTheDesktop) {
    const XServer server("640x480x24");
    Windows windows(server);
    windows.make({.area = {0, 0, 640, 480}, .type = "_NET_WM_WINDOW_TYPE_DESKTOP", .background = 0x111111});
    const auto low = windows.make({.area = {100, 100, 100, 100}, .background = 0x00FF00});
    windows.make({.area = {150, 150, 100, 100}, .overrideRedirect = true, .background = 0x0000FF});
    const auto grabber = windowServer().grabber(low, false);
    const Shot shot = grabber->area({90, 100, 110, 100});
    EXPECT_EQ(pixel(shot, 5, 5), 0U);
    EXPECT_EQ(pixel(shot, 15, 5), 0xFF00FF00U);
    EXPECT_EQ(pixel(shot, 109, 99), 0xFF0000FFU);
    // A composition shows the root's background, on a display only.
    windows.setBackground(0x808080);
    const auto display = windowServer().grabber(platform::platform().displays().mainDisplay(), true);
    EXPECT_EQ(pixel(display->composed({0, 0, 640, 480}, {low}), 400, 400), 0xFF808080U);
    EXPECT_EQ(pixel(grabber->composed({0, 0, 640, 480}, {low}), 400, 400), 0U);
}

}  // namespace
}  // namespace orvo::testing
