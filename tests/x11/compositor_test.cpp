// Damage-driven pictures equal full ones, whatever is drawn, and cost what they should.
#include <gtest/gtest.h>

#include <cstring>
#include <random>

#include "ScreenCapture/platform/platform.h"
#include "ScreenCapture/platform/x11/services.h"
#include "support/changes.h"
#include "support/x11/shots.h"

namespace orvo::testing {
namespace {

using platform::Image;
using platform::NoImage;
using platform::PixelRect;
using platform::Ref;
using platform::software::Frame;
using platform::software::FrameResult;
using platform::x11::desktopServer;
using platform::x11::openDisplaySource;
using platform::x11::Server;

// One run of the device path, asked tick by tick.
struct DisplayRun {
    explicit DisplayRun(const platform::Rect& crop = {}) {
        settings.display = platform::platform().displays().mainDisplay();
        settings.cursor = false;
        settings.crop = crop;
    }
    FrameResult next() { return source->next(settings); }

    platform::software::DisplaySettings settings;
    NoImage why{};
    std::unique_ptr<platform::software::DisplaySource> source = openDisplaySource(why);
};

// Draws, scrolls, shapes, moves, drags, stacks and destroys at random, sometimes while it has the server to itself.
class Scribbler {
  public:
    // paintsRoot: also beside the windows.
    explicit Scribbler(const XServer& server, bool paintsRoot = true) : client_(server), paintsRoot_(paintsRoot) {}

    void step() {
        const bool alone = number(0, 9) == 0;
        if (alone) xcb_grab_server(client_.raw());
        draw({number(-40, 300), number(-40, 220), number(1, 120), number(1, 120)},
             static_cast<uint32_t>(random_()) & 0xFFFFFF);
        if (alone) xcb_ungrab_server(client_.raw());
        client_.sync();
    }
    void draw(const Area& place, uint32_t colour) {
        const int kind = number(0, 9);
        if (kind == 0 && windows_.size() < 8) {
            windows_.push_back(client_.window(place, colour | 0x80000000U, paintsRoot_ && number(0, 3) == 0));
            if (number(0, 1) == 0 && canRedirect) client_.redirect(windows_.back());
            return;
        }
        if (kind <= 1 || windows_.empty()) {
            if (!paintsRoot_) return;
            if (number(0, 5) == 0) return client_.setRootBackground(colour);
            return client_.fill(client_.root(), place, colour);
        }
        const size_t which = random_() % windows_.size();
        const xcb_window_t window = windows_[which];
        const int size = place.width / 2 + 1;
        if (kind == 2) return client_.move(window, place.x, place.y);
        if (kind == 3) return client_.raise(window);
        if (kind == 4) return client_.clear(window, {0, 0, size, place.height});
        if (kind == 5) return client_.copy(window, {0, number(1, 9), size, place.height}, window, 0, 0);
        if (kind == 6) return client_.shape(window, {number(0, 9), 0, size, place.height});
        if (kind == 7) {
            for (int i = 0; i < 9; i++) client_.move(window, place.x + 3 * i, place.y + i);
            return;
        }
        if (kind == 8) return client_.clear(windows_.front(), {0, 0, 90, 90});  // under the others, again and again
        client_.destroy(window);
        windows_.erase(windows_.begin() + static_cast<ptrdiff_t>(which));
    }
    bool canRedirect = true;
    int number(int from, int to) { return from + static_cast<int>(random_() % static_cast<unsigned>(to - from + 1)); }
    Windows& client() { return client_; }

  private:
    Windows client_;
    const bool paintsRoot_;
    std::mt19937 random_{20240517};
    std::vector<xcb_window_t> windows_;
};

// On a server with everything, on servers that lack one extension each, and on one without shared pixmaps.
class GrabberOn : public ::testing::TestWithParam<std::vector<std::string>> {
  protected:
    GrabberOn() {
        if (lacks("pixmaps")) setenv("ORVO_SHARED_PIXMAPS", "0", 1);
    }
    ~GrabberOn() override { unsetenv("ORVO_SHARED_PIXMAPS"); }
    static std::vector<std::string> arguments() { return lacks("pixmaps") ? std::vector<std::string>() : GetParam(); }
    static bool lacks(const char* extension) { return !GetParam().empty() && GetParam().back() == extension; }
};

// With the cursor a run that has just begun shows what is right.
TEST_P(GrabberOn, ADisplayIsShownAsTheServerHasItWhateverIsDrawnAndHeld) {
    const XServer server("317x241x24", arguments());
    Scribbler scribbler(server);
    scribbler.canRedirect = !lacks("Composite");
    Windows& client = scribbler.client();
    const Area areas[] = {{0, 0, 317, 241}, {33, 21, 150, 99}, {0, 200, 57, 41}};
    // Counted from the bottom; the last reaches beyond the display.
    DisplayRun runs[] = {DisplayRun(), DisplayRun({33, 241 - 21 - 99, 150, 99}), DisplayRun({-100, -30, 157, 71})};
    std::vector<uint8_t> last[3];
    std::vector<std::pair<Ref<Frame>, std::vector<uint8_t>>> held;
    int reports = 0;
    for (int round = 0; round < 100; round++) {
        for (int steps = scribbler.number(0, 3); steps > 0; steps--) scribbler.step();
        client.warpPointer(scribbler.number(0, 316), scribbler.number(0, 240));
        // The server paints redirected windows into the root when it has nothing else to do: between the two.
        client.sync();
        client.sync();
        // Xvfb without XFixes does not survive clients that leave.
        const bool cursor = !lacks("XFIXES") && scribbler.number(0, 2) == 0;
        for (size_t i = 0; i < 3; i++) {
            runs[i].settings.cursor = cursor;
            auto [outcome, frame, why, changes] = runs[i].next();
            ASSERT_TRUE(frame);
            auto pixels = copyOf(*frame);
            const auto isFresh = [&] {
                DisplayRun fresh(runs[i].settings.crop);
                fresh.settings.cursor = true;
                return pixels == copyOf(*fresh.next().frame);
            };
            ASSERT_TRUE(cursor ? isFresh() : pixels == shownBy(client, areas[i])) << "round " << round;
            ASSERT_TRUE(last[i].empty() || isReported(changes, last[i], pixels, frame->width())) << "round " << round;
            reports += changes.isKnown() && changes.size() > 0;
            last[i] = pixels;
            if (scribbler.number(0, 2) == 0) held.emplace_back(std::move(frame), std::move(pixels));
        }
        for (const auto& [frame, copy] : held) ASSERT_EQ(copyOf(*frame), copy) << "round " << round;
        if (held.size() > 3) held.erase(held.begin(), held.begin() + 2);
    }
    EXPECT_EQ(reports > 30, !lacks("RENDER") && !lacks("DAMAGE") && !lacks("XFIXES"));
}

INSTANTIATE_TEST_SUITE_P(Servers, GrabberOn,
                         ::testing::Values(std::vector<std::string>{}, std::vector<std::string>{"pixmaps"},
                                           std::vector<std::string>{"-extension", "RENDER"},
                                           std::vector<std::string>{"-extension", "DAMAGE"},
                                           std::vector<std::string>{"-extension", "MIT-SHM"},
                                           std::vector<std::string>{"-extension", "XFIXES"},
                                           std::vector<std::string>{"-extension", "Composite"}));

// The windows of the screen put together again are the screen; beside them there is nothing.
TEST_P(GrabberOn, AllWindowsTogetherAreTheScreen) {
    if (lacks("Composite") || lacks("DAMAGE") || lacks("XFIXES")) GTEST_SKIP() << "no window has a picture of its own";
    const XServer server("317x241x24", arguments());
    Scribbler scribbler(server, false);
    constexpr uint32_t kGround = 0x010203;
    scribbler.client().fill(scribbler.client().root(), {0, 0, 317, 241}, kGround);
    scribbler.client().setRootBackground(kGround);
    const auto grabber = windowServer().grabber(platform::platform().displays().mainDisplay(), true);
    std::vector<uint32_t> numbers;
    int pictures = 0;
    for (int round = 0; round < 60; round++) {
        for (int steps = scribbler.number(0, 3); steps > 0; steps--) scribbler.step();
        scribbler.client().sync();
        windowServer().onScreenNumbers(numbers);
        const auto shot = grabber->composed({0, 0, 317, 241}, numbers);
        ASSERT_TRUE(shot.image);
        scribbler.client().sync();
        const auto root = shownBy(scribbler.client(), {0, 0, 317, 241}), shown = copyOf(*shot.image);
        int wrong = 0;
        for (int i = 0; i < 317 * 241; i++) {
            uint32_t composed = 0, seen = 0;
            std::memcpy(&composed, shown.data() + i * 4, 4);
            std::memcpy(&seen, root.data() + i * 4, 4);
            wrong += composed != seen && !(composed == 0 && seen == (0xFF000000U | kGround));
        }
        ASSERT_EQ(wrong, 0) << "round " << round;
        // The topmost one's own picture is what shows of it.
        const auto list = windowServer().onScreenWindows();
        if (list.empty()) continue;
        const auto top = windowServer().grabber(list.front().number, false)->window();
        const int left = static_cast<int>(list.front().bounds.x), above = static_cast<int>(list.front().bounds.y);
        const auto own = top.image ? copyOf(*top.image) : std::vector<uint8_t>();
        for (int i = 0; i < static_cast<int>(own.size()) / 4; i++) {
            const int x = left + i % top.image->width(), y = above + i / top.image->width();
            const bool isOutside = x < 0 || y < 0 || x >= 317 || y >= 241;
            const auto* const pixel = own.data() + i * 4;
            wrong += !isOutside && pixel[3] != 0 && std::memcmp(pixel, root.data() + (y * 317 + x) * 4, 4) != 0;
        }
        ASSERT_EQ(wrong, 0) << "round " << round;
        pictures += !own.empty();
    }
    EXPECT_GT(pictures, 30);
}

TEST(DisplaySource, ThePointerHasARingWhileAButtonIsDownAndOnceForAShortClick) {
    XServer server("200x200x24");
    Windows client(server);
    client.fill(client.root(), {0, 0, 200, 200}, 0x0000FF);
    DisplayRun run;
    const auto coloured = [&](const Area& area) {
        client.sync();
        const auto frame = run.next().frame;
        int count = 0;
        for (int y = area.y; y < area.y + area.height; y++)
            for (int x = area.x; x < area.x + area.width; x++)
                count += std::memcmp(frame->bytes() + static_cast<size_t>(y) * frame->bytesPerRow() + x * 4,
                                     "\xFF\0\0\xFF", 4) != 0;
        return count;
    };
    const Area all{0, 0, 200, 200}, edge{114, 99, 2, 2};
    client.warpPointer(199, 199);
    run.settings.cursor = true;
    EXPECT_GT(coloured({190, 190, 10, 10}), 0) << "cut at the display's edges";
    run.settings.cursor = false;
    client.warpPointer(100, 100);
    for (const bool wanted : {false, true}) {
        run.settings.clicks = wanted;
        EXPECT_EQ(coloured(all), 0);
        ASSERT_EQ(server.run({"xdotool", "mousedown", "1"}), 0);
        EXPECT_EQ(coloured(edge) > 0, wanted);
        ASSERT_EQ(server.run({"xdotool", "mouseup", "1"}), 0);
        EXPECT_EQ(coloured(all), 0);
        ASSERT_EQ(server.run({"xdotool", "click", "1"}), 0);
        EXPECT_EQ(coloured(edge) > 0, wanted) << "shorter than a tick";
        ASSERT_EQ(server.run({"xdotool", "click", "4"}), 0);
        EXPECT_EQ(coloured(all), 0) << "a wheel";
    }
}

// The mean of each block of side * side pixels, per byte.
std::vector<int> meansOf(const std::vector<uint8_t>& pixels, int width, int height, int side) {
    std::vector<int> means;
    for (int y = 0; y < height / side; y++) {
        for (int i = 0; i < width / side * 4; i++) {
            int sum = 0;
            for (int in = 0; in < side * side; in++)
                sum += pixels[static_cast<size_t>((y * side + in / side) * width * 4 + (i / 4 * side + in % side) * 4 +
                                                  i % 4)];
            means.push_back(sum / (side * side));
        }
    }
    return means;
}

TEST(DisplayPicture, IsHalvedAsOftenAsItsWidthAllows) {
    for (const std::vector<std::string>& lacking : {std::vector<std::string>{}, {"-extension", "RENDER"}}) {
        const XServer server("640x480x24", lacking);
        Scribbler scribbler(server);
        for (int i = 0; i < 40; i++) scribbler.step();
        Server::Use x = desktopServer().use();
        struct {
            PixelRect area;
            int neededWidth, side;
        } const rows[] = {{{0, 0, 640, 480}, 400, 1},   {{0, 0, 640, 480}, 320, 2}, {{0, 0, 640, 480}, 100, 4},
                          {{33, 21, 200, 100}, 50, 4},  {{1, 0, 320, 241}, 50, 1},  {{320, 240, 320, 230}, 50, 2},
                          {{479, 359, 161, 120}, 50, 1}};
        for (const auto& [area, neededWidth, wanted] : rows) {
            const auto shot = platform::x11::pictureOfDisplay(desktopServer(), x, area, neededWidth);
            ASSERT_TRUE(shot.image);
            const int side = lacking.empty() ? wanted : 1;
            const int width = area.width / side, height = area.height / side;
            ASSERT_TRUE(shot.image->width() == width && shot.image->height() == height);
            const auto pixels = shownBy(scribbler.client(), {area.x, area.y, area.width, area.height});
            const auto means = meansOf(pixels, area.width, area.height, side);
            const auto shown = copyOf(*shot.image);
            int worst = 0;
            for (size_t i = 0; i < shown.size(); i++) worst = std::max(worst, std::abs(shown[i] - means[i]));
            EXPECT_LE(worst, side / 2) << area.width << " to " << neededWidth;  // one of rounding for each halving
        }
    }
}

}  // namespace
}  // namespace orvo::testing
