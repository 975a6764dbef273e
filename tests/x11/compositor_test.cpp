// Damage-driven pictures equal full ones, whatever is drawn, and cost what they should.
#include <gtest/gtest.h>

#include <cstring>
#include <random>

#include "ScreenCapture/platform/platform.h"
#include "ScreenCapture/platform/x11/compositor.h"
#include "ScreenCapture/platform/x11/display_source.h"
#include "ScreenCapture/platform/x11/picker_pictures.h"
#include "support/x11/x_server.h"

namespace orvo::testing {
namespace {

using platform::Image;
using platform::NoImage;
using platform::PixelRect;
using platform::Ref;
using platform::software::Frame;
using platform::x11::desktopServer;
using platform::x11::openDisplaySource;
using platform::x11::Server;

// Pictures of the screen, by who knows all that was drawn before they are asked for.
struct Grabbing {
    explicit Grabbing(const PixelRect& place) : area(place) {
        compositor = std::make_unique<platform::x11::Compositor>(desktopServer(), desktopServer().use());
    }
    ~Grabbing() {
        const Server::Use x = desktopServer().use();
        compositor = nullptr;
    }
    Ref<Frame> take() {
        Server::Use x = desktopServer().use();
        // The server paints redirected windows into the root when it has nothing else to do: between the two.
        x->sync();
        x->sync();
        x.readEvents();
        compositor->update(x, area, {platform::x11::layerOfRoot(*x)}, {});
        compositor->begin();
        NoImage why = NoImage::none;
        return compositor->finishFrame(x, why);
    }
    // How many pixels differ from those of the frame before beyond what the frame says has changed.
    int unreported(const Frame& frame) {
        int count = 0;
        const std::vector<PixelRect>* const changed = frame.changedSince() == lastVersion ? frame.changed() : nullptr;
        const bool isSame = frame.version() == lastVersion;
        for (int i = 0; (changed || isSame) && i < frame.width() * frame.height(); i++) {
            const int column = i % frame.width(), row = i / frame.width();
            const size_t at = static_cast<size_t>(row) * frame.bytesPerRow() + static_cast<size_t>(column) * 4;
            const auto covers = [=](const PixelRect& rect) {
                return column >= rect.x && row >= rect.y && column < rect.x + rect.width && row < rect.y + rect.height;
            };
            if (!isSame && std::any_of(changed->begin(), changed->end(), covers)) continue;
            count += std::memcmp(frame.bytes() + at, last.data() + at, 4) != 0;
        }
        reports += changed && !isSame;
        lastVersion = frame.version();
        last.assign(frame.bytes(), frame.bytes() + frame.bytesPerRow() * static_cast<size_t>(frame.height()));
        return count;
    }
    const PixelRect area;
    std::unique_ptr<platform::x11::Compositor> compositor;
    uint64_t lastVersion = 0;
    std::vector<uint8_t> last;
    int reports = 0;
};

// How many rows of a frame differ from the server's, opaque.
int differences(const Frame& frame, std::vector<uint8_t> root) {
    for (size_t i = 3; i < root.size(); i += 4) root[i] = 0xFF;
    const size_t rowSize = static_cast<size_t>(frame.width()) * 4;
    int count = 0;
    for (size_t y = 0; y < static_cast<size_t>(frame.height()); y++)
        count += std::memcmp(frame.bytes() + y * frame.bytesPerRow(), root.data() + y * rowSize, rowSize) != 0;
    return count;
}

std::vector<uint8_t> copyOf(const Frame& frame) {
    return {frame.bytes(), frame.bytes() + frame.bytesPerRow() * static_cast<size_t>(frame.height())};
}

// Draws, scrolls, shapes, moves, drags, stacks and destroys at random, sometimes while it has the server to itself.
class Scribbler {
  public:
    // paintsRoot: also beside the windows.
    explicit Scribbler(const XServer& server, bool paintsRoot = true) : painter_(server), paintsRoot_(paintsRoot) {}

    void step() {
        const bool alone = number(0, 9) == 0;
        if (alone) xcb_grab_server(painter_.raw());
        draw({number(-40, 300), number(-40, 220), number(1, 120), number(1, 120)},
             static_cast<uint32_t>(random_()) & 0xFFFFFF);
        if (alone) xcb_ungrab_server(painter_.raw());
        painter_.sync();
    }
    void draw(const Area& place, uint32_t colour) {
        const int kind = number(0, 9);
        if (kind == 0 && windows_.size() < 8) {
            windows_.push_back(number(0, 3) == 0 ? painter_.translucentWindow(place, colour | 0x80000000U)
                                                 : painter_.window(place, colour));
            if (number(0, 1) == 0 && canRedirect) painter_.redirect(windows_.back());
            return;
        }
        if (kind <= 1 || windows_.empty()) {
            if (!paintsRoot_) return;
            if (number(0, 5) == 0) return painter_.setRootBackground(colour);
            return painter_.fill(painter_.root(), place, colour);
        }
        const size_t which = random_() % windows_.size();
        const xcb_window_t window = windows_[which];
        const int size = place.width / 2 + 1;
        if (kind == 2) return painter_.move(window, place.x, place.y);
        if (kind == 3) return painter_.raise(window);
        if (kind == 4) return painter_.clear(window, {0, 0, size, place.height});
        if (kind == 5) return painter_.scroll(window, {0, number(1, 9), size, place.height});
        if (kind == 6) return painter_.shape(window, {number(0, 9), 0, size, place.height});
        if (kind == 7) {
            for (int i = 0; i < 9; i++) painter_.move(window, place.x + 3 * i, place.y + i);
            return;
        }
        if (kind == 8) return painter_.clear(windows_.front(), {0, 0, 90, 90});  // under the others, again and again
        painter_.destroy(window);
        windows_.erase(windows_.begin() + static_cast<ptrdiff_t>(which));
    }
    bool canRedirect = true;
    int number(int from, int to) { return from + static_cast<int>(random_() % static_cast<unsigned>(to - from + 1)); }
    Painter& painter() { return painter_; }

  private:
    Painter painter_;
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

TEST_P(GrabberOn, EqualsAFullGrabWhateverIsDrawnPaintedAndHeld) {
    const XServer server("317x241x24", arguments());
    Scribbler scribbler(server);
    scribbler.canRedirect = !lacks("Composite");
    const PixelRect areas[] = {{0, 0, 317, 241}, {33, 21, 150, 99}};
    Grabbing grabbings[] = {Grabbing(areas[0]), Grabbing(areas[1])};
    std::vector<std::pair<Ref<Frame>, std::vector<uint8_t>>> held;
    for (int round = 0; round < 100; round++) {
        for (int steps = scribbler.number(0, 3); steps > 0; steps--) scribbler.step();
        for (Grabbing& grabbing : grabbings) {
            const PixelRect& area = grabbing.area;
            auto frame = grabbing.take();
            ASSERT_TRUE(frame);
            ASSERT_EQ(differences(*frame, scribbler.painter().read({area.x, area.y, area.width, area.height})), 0)
                << "round " << round;
            ASSERT_EQ(grabbing.unreported(*frame), 0) << "round " << round;
            // A host paints on some and keeps some.
            const PixelRect spot{scribbler.number(0, 100), scribbler.number(0, 60), 20, 20};
            uint8_t* bytes = frame->paint(spot);
            for (int y = spot.y; y < spot.y + spot.height; y++)
                std::memset(bytes + static_cast<size_t>(y) * frame->bytesPerRow() + static_cast<size_t>(spot.x) * 4,
                            0x5A, 80);
            if (scribbler.number(0, 2) == 0) {
                auto copy = copyOf(*frame);
                held.emplace_back(std::move(frame), std::move(copy));
            }
        }
        for (const auto& [frame, copy] : held) ASSERT_EQ(copyOf(*frame), copy) << "round " << round;
        if (held.size() > 3) held.erase(held.begin(), held.begin() + 2);
    }
    EXPECT_EQ(grabbings[0].reports > 20, !lacks("RENDER") && !lacks("DAMAGE") && !lacks("XFIXES"));
}

INSTANTIATE_TEST_SUITE_P(Servers, GrabberOn,
                         ::testing::Values(std::vector<std::string>{}, std::vector<std::string>{"pixmaps"},
                                           std::vector<std::string>{"-extension", "RENDER"},
                                           std::vector<std::string>{"-extension", "DAMAGE"},
                                           std::vector<std::string>{"-extension", "MIT-SHM"},
                                           std::vector<std::string>{"-extension", "XFIXES"},
                                           std::vector<std::string>{"-extension", "Composite"}));

// A capture that goes on for long shows what one that has just begun shows, the cursor included.
TEST_P(GrabberOn, ARunGoesOnAsItWouldBegin) {
    if (lacks("XFIXES")) GTEST_SKIP() << "Xvfb without XFixes does not survive clients that leave";
    const XServer server("317x241x24", arguments());
    Scribbler scribbler(server);
    scribbler.canRedirect = !lacks("Composite");
    platform::software::DisplaySettings settings;
    settings.display = platform::platform().displays().mainDisplay();
    NoImage why{};
    const auto run = openDisplaySource(why);
    for (int round = 0; round < 60; round++) {
        for (int steps = scribbler.number(0, 3); steps > 0; steps--) scribbler.step();
        scribbler.painter().warpPointer(scribbler.number(0, 316), scribbler.number(0, 240));
        scribbler.painter().sync();
        const auto fresh = openDisplaySource(why);
        const auto shown = run->next(settings).frame;
        const auto expected = fresh->next(settings).frame;
        ASSERT_TRUE(shown && expected);
        ASSERT_EQ(copyOf(*shown), copyOf(*expected)) << "round " << round;
    }
}

// The windows of the screen put together again are the screen; beside them there is nothing.
TEST_P(GrabberOn, AllWindowsTogetherAreTheScreen) {
    if (lacks("Composite") || lacks("DAMAGE") || lacks("XFIXES")) GTEST_SKIP() << "no window has a picture of its own";
    const XServer server("317x241x24", arguments());
    Scribbler scribbler(server, false);
    constexpr uint32_t kGround = 0x010203;
    scribbler.painter().fill(scribbler.painter().root(), {0, 0, 317, 241}, kGround);
    scribbler.painter().setRootBackground(kGround);
    auto& windowServer = platform::platform().windowServer();
    const auto grabber = windowServer.grabber(platform::platform().displays().mainDisplay(), true);
    std::vector<uint32_t> numbers;
    for (int round = 0; round < 60; round++) {
        for (int steps = scribbler.number(0, 3); steps > 0; steps--) scribbler.step();
        scribbler.painter().sync();
        windowServer.onScreenNumbers(numbers);
        const auto shot = grabber->composed({0, 0, 317, 241}, numbers);
        ASSERT_TRUE(shot.image);
        scribbler.painter().sync();
        const std::vector<uint8_t> root = scribbler.painter().read({0, 0, 317, 241});
        int wrong = 0;
        for (int i = 0; i < 317 * 241; i++) {
            uint32_t composed = 0, seen = 0;
            std::memcpy(&composed,
                        shot.image->bytes() + static_cast<size_t>(i / 317) * shot.image->bytesPerRow() + i % 317 * 4,
                        4);
            std::memcpy(&seen, root.data() + i * 4, 4);
            seen &= 0xFFFFFF;
            wrong += composed != (seen | 0xFF000000U) && !(composed == 0 && seen == kGround);
        }
        ASSERT_EQ(wrong, 0) << "round " << round;
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
            auto pixels = scribbler.painter().read({area.x, area.y, area.width, area.height});
            for (size_t i = 3; i < pixels.size(); i += 4) pixels[i] = 0xFF;
            const auto means = meansOf(pixels, area.width, area.height, side);
            int worst = 0;
            for (int i = 0; i < width * 4 * height; i++) {
                const uint8_t* row =
                    shot.image->bytes() + shot.image->bytesPerRow() * static_cast<size_t>(i / width / 4);
                worst = std::max(worst, std::abs(row[i % (width * 4)] - means[static_cast<size_t>(i)]));
            }
            EXPECT_LE(worst, side / 2) << area.width << " to " << neededWidth;  // one of rounding for each halving
        }
    }
}

}  // namespace
}  // namespace orvo::testing
