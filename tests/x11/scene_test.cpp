// Pictures of windows on real servers that hold nothing but their windows' own: hostile sizes, backgrounds that are not
// there, targets that have gone.
#include <gtest/gtest.h>

#include <functional>

#include "support/x11/shots.h"
#include "support/x11/x_server.h"

namespace orvo::testing {
namespace {

using platform::NoImage;
using platform::Rect;
using platform::Shot;

constexpr Rect kAll{0, 0, 640, 480};

std::vector<uint32_t> shownWindows() {
    std::vector<uint32_t> numbers;
    windowServer().onScreenNumbers(numbers);
    return numbers;
}

// The questions by which a mode of capture takes a target's picture.
struct Question {
    const char* name;
    std::function<Shot(platform::Grabber&)> ask;
} const questions[] = {
    {"window", [](platform::Grabber& grabber) { return grabber.window(); }},
    {"area",
     [](platform::Grabber& grabber) {
         return grabber.area({10, 10, 50, 50});
     }},
    {"composed",
     [](platform::Grabber& grabber) {
         return grabber.composed({10, 10, 50, 50}, shownWindows());
     }},
};

TEST(Scene, ATargetThatIsGoneHasNoPictureInAnyMode) {
    for (const bool withServer : {false, true}) {
        XServer server("640x480x24");
        std::unique_ptr<platform::Grabber> grabber;
        xcb_window_t window = 0;
        {
            Windows windows(server);
            windows.make({.area = {10, 10, 300, 300}, .background = 0xFF0000});  // of others
            window = windows.make({.area = {10, 10, 50, 50}});
            grabber = windowServer().grabber(window, false);
            for (const Question& each : questions) EXPECT_TRUE(each.ask(*grabber).image) << each.name;
            if (!withServer) windows.painter().destroy(window);
        }
        if (withServer) server.restart();
        Windows windows(server);
        windows.make({.area = {10, 10, 50, 50}});
        for (const Question& each : questions) EXPECT_EQ(each.ask(*grabber).why, NoImage::gone) << each.name;
    }
}

// Windows whose pictures the server would not survive, or not get done, among others that keep theirs.
TEST(Scene, WindowsThatAreTooLargeHaveNoPicture) {
    for (const Area& large :
         {Area{0, 0, 32767, 10}, Area{0, 0, 10, 32767}, Area{0, 0, 40000, 10}, Area{0, 0, 9000, 9000}}) {
        const XServer server("640x480x24");
        Windows windows(server);
        const auto other = windows.make({.area = {300, 300, 100, 100}, .background = 0x00FF00});
        const auto window = windows.make({.area = large, .border = 1, .background = 0xFF0000});
        const auto grabber = windowServer().grabber(window, false);
        EXPECT_EQ(grabber->window().why, NoImage::tooLarge);
        const auto numbers = shownWindows();
        ASSERT_EQ(numbers.size(), 2U);
        const auto expected = windowServer().expectPictures(numbers);
        EXPECT_EQ(windowServer().windowPicture(window).why, NoImage::tooLarge);
        EXPECT_EQ(pixel(windowServer().windowPicture(other), 50, 50), 0xFF00FF00U);
        const Shot all = grabber->composed(kAll, numbers);
        EXPECT_EQ(pixel(all, 5, 5), 0U);
        windows.resize(window, 50, 60);
        EXPECT_EQ(pixel(grabber->window(), 49, 59), 0xFFFF0000U);
        EXPECT_EQ(pixel(grabber->composed(kAll, numbers), 5, 5), 0xFFFF0000U);
        windows.resize(window, 8500, 8500);
        EXPECT_EQ(grabber->window().why, NoImage::tooLarge);
        EXPECT_EQ(pixel(grabber->composed(kAll, numbers), 5, 5), 0U);
    }
}

// A root's background that is none leaves nothing of earlier pictures behind.
TEST(Scene, ABackgroundThatIsNotThereShowsNothing) {
    for (const std::vector<std::string>& arguments : {std::vector<std::string>{}, {"-extension", "MIT-SHM"}}) {
        const XServer server("640x480x24", arguments);
        Windows windows(server);
        const auto window = windows.make({.area = {10, 10, 200, 150}, .background = 0xFF0000});
        const auto grabber = windowServer().grabber(platform::platform().displays().mainDisplay(), true);
        const auto freed = windows.setBackground(0x808080);
        EXPECT_EQ(pixel(grabber->composed(kAll, {window}), 50, 50), 0xFFFF0000U);
        xcb_free_pixmap(windows.painter().raw(), freed);
        windows.painter().sync();
        EXPECT_EQ(pixel(grabber->composed(kAll, {}), 50, 50), 0U);
        const xcb_pixmap_t shallow = xcb_generate_id(windows.painter().raw());
        xcb_create_pixmap(windows.painter().raw(), 1, shallow, windows.painter().root(), 64, 64);
        for (const xcb_pixmap_t bad : {freed, shallow, windows.painter().root()}) {
            EXPECT_EQ(pixel(grabber->composed(kAll, {window}), 50, 50), 0xFFFF0000U);
            windows.setNumber(windows.painter().root(), "_XROOTPMAP_ID", XCB_ATOM_PIXMAP, bad);
            EXPECT_EQ(pixel(grabber->composed(kAll, {}), 50, 50), 0U) << bad;
        }
    }
}

}  // namespace
}  // namespace orvo::testing
