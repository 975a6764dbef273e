// Pictures of windows on real servers that hold nothing but their windows' own: hostile sizes, backgrounds that are not
// there, targets that have gone.
#include <gtest/gtest.h>
#include <xcb/composite.h>

#include <algorithm>
#include <cstdlib>
#include <numeric>
#include <random>

#include "ScreenCapture/platform/x11/redirected_window.h"
#include "support/x11/shots.h"

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

// A target's picture as each mode of capture takes it.
std::vector<Shot> allShots(platform::Grabber& grabber) {
    return {grabber.window(), grabber.area({10, 10, 50, 50}), grabber.composed({10, 10, 50, 50}, shownWindows())};
}

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
            for (const Shot& shot : allShots(*grabber)) EXPECT_TRUE(shot.image);
            if (!withServer) windows.destroy(window);
        }
        if (withServer) server.restart();
        Windows windows(server);
        windows.make({.area = {10, 10, 50, 50}, .number = window});  // another one of that number
        for (const Shot& shot : allShots(*grabber)) EXPECT_EQ(shot.why, NoImage::gone);
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
        const auto pictures = windowServer().pictures(numbers);
        EXPECT_EQ(pictures->take(window).why, NoImage::tooLarge);
        EXPECT_EQ(pixel(pictures->take(other), 50, 50), 0xFF00FF00U);
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
        xcb_free_pixmap(windows.raw(), freed);
        windows.sync();
        EXPECT_EQ(pixel(grabber->composed(kAll, {}), 50, 50), 0U);
        const xcb_pixmap_t shallow = xcb_generate_id(windows.raw());
        xcb_create_pixmap(windows.raw(), 1, shallow, windows.root(), 64, 64);
        for (const xcb_pixmap_t bad : {freed, shallow, windows.root()}) {
            EXPECT_EQ(pixel(grabber->composed(kAll, {window}), 50, 50), 0xFFFF0000U);
            windows.setNumber(windows.root(), "_XROOTPMAP_ID", XCB_ATOM_PIXMAP, bad);
            EXPECT_EQ(pixel(grabber->composed(kAll, {}), 50, 50), 0U) << bad;
        }
    }
}

// Pictures in which nothing but what their windows' owners drew may be.
class Foreign : public ::testing::TestWithParam<std::vector<std::string>> {
  protected:
    static constexpr uint32_t kSecret = 0xFF0000, kOwn = 0x0000FF;

    Foreign() { platform::x11::setRepaintLimit(std::chrono::milliseconds(2)); }
    ~Foreign() override { platform::x11::setRepaintLimit(std::chrono::milliseconds(50)); }

    static int count(const Shot& shot, uint32_t wanted) {
        int found = 0;
        for (int y = 0; shot.image && y < shot.image->height(); ++y)
            for (int x = 0; x < shot.image->width(); ++x) found += pixel(shot, x, y) == wanted;
        return found;
    }
    static int secrets(const Shot& shot) { return count(shot, 0xFF000000U | kSecret); }
    int number(int from, int to) { return from + static_cast<int>(random_() % static_cast<unsigned>(to - from + 1)); }

    // ORVO_TEST_SEED chooses one.
    static std::vector<unsigned> seeds() {
        if (const char* only = std::getenv("ORVO_TEST_SEED")) return {static_cast<unsigned>(std::atoi(only))};
        std::vector<unsigned> all(std::getenv("ORVO_TEST_FULL") ? 100 : 1);
        std::iota(all.begin(), all.end(), 11U);
        return all;
    }
    void run();

    std::minstd_rand random_;
};

// Clients that never paint again, with a background and without one, while excluded windows come, go, move and change
// their shape above and below them, and they themselves are moved, resized, mapped again and made over them.
TEST_P(Foreign, NoPictureShowsWhatItsWindowsDidNotDraw) {
    for (const unsigned seed : seeds()) {
        SCOPED_TRACE(seed);
        random_.seed(seed);
        run();
        if (HasFailure()) return;
    }
}

void Foreign::run() {
    const bool isRedirected = GetParam() == std::vector<std::string>{"redirected"};  // by another program already
    const bool isManaged = !isRedirected && !GetParam().empty() && GetParam().front() != "-extension";
    XServer server("400x300x24", isManaged || isRedirected ? std::vector<std::string>() : GetParam());
    Windows windows(server);
    if (isRedirected)
        xcb_composite_redirect_subwindows(windows.raw(), windows.root(), XCB_COMPOSITE_REDIRECT_AUTOMATIC);
    if (isManaged) server.start(GetParam());
    ASSERT_TRUE(!isManaged || windows.awaitManager());
    std::vector<xcb_window_t> secrets, clients;
    const auto place = [&] { return Area{number(-30, 250), number(-30, 200), number(40, 150), number(40, 120)}; };
    const auto addSecret = [&] { secrets.push_back(windows.make({.area = place(), .background = kSecret})); };
    const auto addClient = [&](bool isDrawn) {
        const Area area = place();
        clients.push_back(windows.make(
            {.area = area, .border = number(0, 3), .background = 0x00FF00, .hasBackground = number(0, 2) == 0}));
        if (isManaged && isDrawn) windows.awaitMapped(clients.back());
        if (isDrawn) windows.fill(clients.back(), {0, 0, 400, 300}, kOwn);
    };
    for (int i = 0; i < 3; ++i) addClient(true);
    for (int i = 0; i < 2; ++i) addSecret();
    for (const xcb_window_t secret : secrets)
        if (isManaged) windows.awaitMapped(secret);
    const auto display = windowServer().grabber(platform::platform().displays().mainDisplay(), true);
    const auto target = windowServer().grabber(clients.front(), false);
    // What was on the screen before the first picture nobody can tell from what a window drew itself.
    display->composed({0, 0, 400, 300}, clients);
    for (int step = 0; step < 150; ++step) {
        auto& some = number(0, 1) == 0 ? secrets : clients;
        const size_t which = static_cast<size_t>(number(0, static_cast<int>(some.size()) - 1));
        const Area area = place();
        const int kind = number(0, 9);
        if (kind <= 1) windows.move(some[which], area.x, area.y);
        if (kind == 2) windows.raise(some[which]);
        if (kind == 3) windows.lower(some[which]);
        if (kind == 4) windows.resize(some[which], area.width, area.height);
        if (kind == 5) windows.unmap(some[which]);
        if (kind <= 6) windows.map(some[which]);
        if (kind == 7) windows.shape(secrets.front(), {number(0, 60), 0, area.width, area.height});
        if (kind == 8 && clients.size() < 8) addClient(false);
        if (kind == 9) {
            windows.destroy(secrets.back());
            secrets.pop_back();
            addSecret();
        }
        if (number(0, 3) == 0) windows.fill(clients.back(), {number(0, 60), number(0, 60), 30, 30}, kOwn);
        auto shown = shownWindows();
        std::erase_if(shown, [&](uint32_t each) { return std::count(secrets.begin(), secrets.end(), each) > 0; });
        ASSERT_EQ(this->secrets(display->composed({0, 0, 400, 300}, shown)), 0) << "step " << step << " kind " << kind;
        ASSERT_EQ(this->secrets(target->window()), 0) << "step " << step << " kind " << kind;
        // Another capture and a picker, that find windows redirected by this one. A frame that is redirected beside its
        // client is painted by the server itself, from what the client's picture holds.
        if (isManaged) continue;
        const xcb_window_t other = clients[static_cast<size_t>(number(0, static_cast<int>(clients.size()) - 1))];
        ASSERT_EQ(this->secrets(windowServer().grabber(other, false)->window()), 0) << "step " << step;
        ASSERT_EQ(this->secrets(windowServer().windowPicture(other)), 0) << "step " << step;
    }
    // What is painted at last shows.
    windows.raise(clients.front());
    windows.map(clients.front());
    ASSERT_TRUE(!isManaged || windows.awaitMapped(clients.front()));
    Shot last = target->window();
    const auto isWhole = [&] {
        return last.image && count(last, 0xFF000000U | kOwn) == last.image->width() * last.image->height();
    };
    for (int i = 0; i < (isManaged ? 9 : 1); ++i) {  // a manager may restack meanwhile
        windows.fill(clients.front(), {0, 0, 400, 300}, kOwn);
        last = target->window();
        if (isWhole()) break;
    }
    EXPECT_TRUE(isWhole());
}

INSTANTIATE_TEST_SUITE_P(Servers, Foreign,
                         ::testing::Values(std::vector<std::string>{},
                                           std::vector<std::string>{"-extension", "MIT-SHM"},
                                           std::vector<std::string>{"openbox"},
                                           std::vector<std::string>{"redirected"}));

}  // namespace
}  // namespace orvo::testing
