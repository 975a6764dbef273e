// Damage-driven pictures equal full ones, whatever is drawn, and cost what they should.
#include <gtest/gtest.h>

#include <cstring>
#include <random>

#include "ScreenCapture/platform/x11/display_grabber.h"
#include "support/x11/x_server.h"

namespace orvo::testing {
namespace {

using platform::Image;
using platform::NoImage;
using platform::PixelRect;
using platform::Ref;
using platform::software::Frame;
using platform::x11::Connection;
using platform::x11::DisplayGrabber;

// A grabber that knows all that was drawn before it is asked.
struct Grabbing {
    explicit Grabbing(const PixelRect& area) : x(Connection::open()), grabber(*x, area) {}
    Ref<Frame> take() {
        // The server paints redirected windows into the root when it has nothing else to do: between the two.
        x->sync();
        x->sync();
        while (const auto event = x->nextEvent()) grabber.handle(*event);
        NoImage why = NoImage::none;
        return grabber.takeFrame(why);
    }
    std::unique_ptr<Connection> x;
    DisplayGrabber grabber;
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

// Draws, moves, stacks and destroys at random.
class Scribbler {
  public:
    explicit Scribbler(const XServer& server) : painter_(server) {}

    void step() {
        const Area place{number(-40, 300), number(-40, 220), number(1, 120), number(1, 120)};
        const uint32_t colour = static_cast<uint32_t>(random_()) & 0xFFFFFF;
        const int kind = number(0, 5);
        if (kind == 0 && windows_.size() < 8) {
            windows_.push_back(painter_.window(place, colour));
            if (number(0, 1) == 0) painter_.redirect(windows_.back());
            return;
        }
        if (kind == 1 || windows_.empty()) return painter_.fill(painter_.root(), place, colour);
        const size_t which = random_() % windows_.size();
        if (kind == 2) return painter_.move(windows_[which], place.x, place.y);
        if (kind == 3) return painter_.raise(windows_[which]);
        if (kind == 4) return painter_.fill(windows_[which], {0, 0, place.width / 2, place.height}, colour);
        painter_.destroy(windows_[which]);
        windows_.erase(windows_.begin() + static_cast<ptrdiff_t>(which));
    }
    int number(int from, int to) { return from + static_cast<int>(random_() % static_cast<unsigned>(to - from + 1)); }
    Painter& painter() { return painter_; }

  private:
    Painter painter_;
    std::mt19937 random_{20240517};
    std::vector<xcb_window_t> windows_;
};

class GrabberOn : public ::testing::TestWithParam<std::vector<std::string>> {};

TEST_P(GrabberOn, EqualsAFullGrabWhateverIsDrawnPaintedAndHeld) {
    const XServer server("317x241x24", GetParam());
    Scribbler scribbler(server);
    const PixelRect areas[] = {{0, 0, 317, 241}, {33, 21, 150, 99}};
    Grabbing grabbings[] = {Grabbing(areas[0]), Grabbing(areas[1])};
    std::vector<std::pair<Ref<Frame>, std::vector<uint8_t>>> held;
    for (int round = 0; round < 100; round++) {
        for (int steps = scribbler.number(0, 3); steps > 0; steps--) scribbler.step();
        for (Grabbing& grabbing : grabbings) {
            const PixelRect& area = grabbing.grabber.area();
            auto frame = grabbing.take();
            ASSERT_TRUE(frame);
            ASSERT_EQ(differences(*frame, scribbler.painter().read({area.x, area.y, area.width, area.height})), 0)
                << "round " << round;
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
}

INSTANTIATE_TEST_SUITE_P(Servers, GrabberOn,
                         ::testing::Values(std::vector<std::string>{}, std::vector<std::string>{"-extension", "RENDER"},
                                           std::vector<std::string>{"-extension", "DAMAGE"},
                                           std::vector<std::string>{"-extension", "MIT-SHM"}));

TEST(Grabber, AnUnchangedSceneAsksNothingAndAChangedOneWaitsOnce) {
    const XServer server("320x240x24");
    Painter painter(server);
    Grabbing grabbing({0, 0, 160, 240});
    Connection& x = *grabbing.x;
    const Image* first = grabbing.take().get();
    const uint64_t version = grabbing.take()->version();
    NoImage why = NoImage::none;

    const uint64_t sent = xcb_total_written(x.raw());
    for (int i = 0; i < 5; i++) {
        const auto frame = grabbing.grabber.takeFrame(why);
        EXPECT_EQ(frame.get(), first);
        EXPECT_EQ(frame->version(), version);
    }
    x.flush();
    EXPECT_EQ(xcb_total_written(x.raw()), sent);

    painter.fill(painter.root(), {10, 10, 20, 20}, 0x123456);
    x.sync();
    while (const auto event = x.nextEvent()) grabbing.grabber.handle(*event);
    EXPECT_TRUE(grabbing.grabber.changed());
    const uint64_t trips = x.roundTrips();
    const auto changed = grabbing.grabber.takeFrame(why);
    EXPECT_EQ(x.roundTrips(), trips + 1);
    EXPECT_EQ(changed.get(), first);  // nobody held it
    EXPECT_GT(changed->version(), version);

    // What is drawn beside the area is no change of its picture.
    painter.fill(painter.root(), {200, 10, 20, 20}, 0x654321);
    EXPECT_EQ(grabbing.take()->version(), changed->version());
}

}  // namespace
}  // namespace orvo::testing
