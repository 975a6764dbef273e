// The device path on a real server: pixels, cursor, clicks, crops, endings.
#include <gtest/gtest.h>

#include "ScreenCapture/platform/platform.h"
#include "support/x11/capture_recorder.h"
#include "support/x11/x_server.h"

namespace orvo::testing {
namespace {

using platform::DisplayCapture;
using platform::DisplayInput;

// A capture of the main display at 100 frames a second.
struct Capture {
    explicit Capture(uint32_t display = platform::platform().displays().mainDisplay())
        : capture(platform::platform().makeDisplayCapture()), input(capture->makeInput(display)) {
        if (!input) return;
        input->setMinFrameDuration({1, 100});
        input->setCapturesCursor(false);
        capture->addInput(input);
        capture->addOutput(recorder);
        capture->observeFailures(recorder);
    }

    std::shared_ptr<CaptureRecorder> recorder = std::make_shared<CaptureRecorder>();
    std::shared_ptr<DisplayCapture> capture;
    std::shared_ptr<DisplayInput> input;
};

// What the server shows, as a frame should hold it.
void expectFrameEquals(const CaptureRecorder& recorder, const std::vector<uint8_t>& root, const Area& area) {
    ASSERT_EQ(recorder.width, area.width);
    ASSERT_EQ(recorder.height, area.height);
    int differing = 0;
    for (size_t i = 0; i < root.size(); i += 4) {
        const auto pixel = static_cast<int>(i / 4);
        differing += recorder.pixel(pixel % area.width, pixel / area.width) !=
                     (0xFF000000U | static_cast<uint32_t>(root[i + 2] << 16 | root[i + 1] << 8 | root[i]));
    }
    EXPECT_EQ(differing, 0);
}

// The ways down from the best server to the poorest.
class DisplayCaptureOn : public ::testing::TestWithParam<std::vector<std::string>> {};

TEST_P(DisplayCaptureOn, ShowsThePaintedPixelsWholeAndCropped) {
    const XServer server("331x200x24", GetParam());  // rows that do not end on 64 bytes
    Painter painter(server);
    painter.fill(painter.root(), {0, 0, 331, 200}, 0x102030);
    painter.fill(painter.root(), {10, 20, 30, 40}, 0xFF8001);
    Capture c;
    c.capture->startRunning();
    EXPECT_TRUE(c.capture->isRunning());
    ASSERT_TRUE(c.recorder->nextSample());
    EXPECT_EQ(c.recorder->pixel(10, 20), 0xFFFF8001U);
    EXPECT_EQ(c.recorder->pixel(9, 20), 0xFF102030U);
    expectFrameEquals(*c.recorder, painter.read({0, 0, 331, 200}), {0, 0, 331, 200});

    painter.fill(painter.root(), {35, 50, 20, 20}, 0x00FF00);
    c.input->setCropRect({5, 200 - 15 - 60, 101, 60});  // top 15
    ASSERT_TRUE(c.recorder->nextSample());
    EXPECT_EQ(c.recorder->pixel(35 - 5, 50 - 15), 0xFF00FF00U);
    expectFrameEquals(*c.recorder, painter.read({5, 15, 101, 60}), {5, 15, 101, 60});
}

INSTANTIATE_TEST_SUITE_P(Servers, DisplayCaptureOn,
                         ::testing::Values(std::vector<std::string>{}, std::vector<std::string>{"-extension", "RENDER"},
                                           std::vector<std::string>{"-extension", "DAMAGE"},
                                           std::vector<std::string>{"-extension", "MIT-SHM"},
                                           std::vector<std::string>{"-extension", "MIT-SHM", "-extension", "DAMAGE"},
                                           std::vector<std::string>{"-extension", "XFIXES"}));

TEST(DisplayCapture, TheCursorIsBlendedMovesAndGoes) {
    const XServer server("200x200x24");
    Painter painter(server);
    painter.fill(painter.root(), {0, 0, 200, 200}, 0x0000FF);
    painter.warpPointer(50, 60);
    Capture c;
    const auto coloured = [&](const Area& area) {
        int count = 0;
        for (int y = area.y; y < area.y + area.height; y++)
            for (int x = area.x; x < area.x + area.width; x++) count += c.recorder->pixel(x, y) != 0xFF0000FFU;
        return count;
    };
    c.input->setCapturesCursor(true);
    c.capture->startRunning();
    ASSERT_TRUE(c.recorder->nextSample());
    const int atFirst = coloured({40, 50, 20, 20});
    EXPECT_GT(atFirst, 20);
    EXPECT_EQ(coloured({0, 0, 200, 200}), atFirst);

    painter.warpPointer(150, 60);
    ASSERT_TRUE(c.recorder->nextSample());
    EXPECT_EQ(coloured({40, 50, 20, 20}), 0);
    EXPECT_EQ(coloured({140, 50, 20, 20}), atFirst);

    painter.warpPointer(199, 199);  // cut at the edges
    ASSERT_TRUE(c.recorder->nextSample());
    EXPECT_GT(coloured({190, 190, 10, 10}), 0);

    c.input->setCapturesCursor(false);
    ASSERT_TRUE(c.recorder->nextSample());
    EXPECT_EQ(coloured({0, 0, 200, 200}), 0);
}

TEST(DisplayCapture, AButtonHeldShowsARingWhenWanted) {
    XServer server("200x200x24");
    Painter painter(server);
    painter.fill(painter.root(), {0, 0, 200, 200}, 0x0000FF);
    painter.warpPointer(100, 100);
    Capture c;
    const auto ring = [&] { return c.recorder->pixel(100 + 15, 100) != 0xFF0000FFU; };
    c.capture->startRunning();
    ASSERT_EQ(server.run({"xdotool", "mousedown", "1"}), 0);
    ASSERT_TRUE(c.recorder->nextSample());
    EXPECT_FALSE(ring());
    c.input->setCapturesMouseClicks(true);
    ASSERT_TRUE(c.recorder->nextSample());
    EXPECT_TRUE(ring());
    ASSERT_EQ(server.run({"xdotool", "mouseup", "1"}), 0);
    ASSERT_TRUE(c.recorder->nextSample());
    EXPECT_FALSE(ring());
}

TEST(DisplayCapture, AClickShorterThanATickShowsOnce) {
    XServer server("200x200x24");
    Painter painter(server);
    painter.warpPointer(100, 100);
    Capture c;
    c.input->setCapturesMouseClicks(true);
    c.input->setMinFrameDuration({1, 4});
    c.capture->startRunning();
    ASSERT_TRUE(c.recorder->nextSample());
    const uint32_t ground = c.recorder->pixel(115, 100);
    const int before = c.recorder->samples;
    ASSERT_EQ(server.run({"xdotool", "click", "1"}), 0);
    ASSERT_TRUE(runUntil([&] { return c.recorder->samples > before && c.recorder->pixel(115, 100) != ground; }));
    ASSERT_TRUE(runUntil([&] { return c.recorder->pixel(115, 100) == ground; }));
}

TEST(DisplayCapture, HeldBuffersStayAsTheyAreAndAFullPoolDropsTicks) {
    const XServer server("64x64x24");
    Painter painter(server);
    Capture c;
    c.recorder->keep = true;
    c.capture->startRunning();
    uint32_t colour = 0x010101;
    std::vector<uint32_t> first;
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(400);
    while (std::chrono::steady_clock::now() < end) {
        painter.fill(painter.root(), {0, 0, 64, 64}, colour += 0x010101);
        const size_t before = c.recorder->kept.size();
        platform::linux::runMainQueue(10);
        for (size_t i = before; i < c.recorder->kept.size(); i++)
            first.push_back(*static_cast<const uint32_t*>(c.recorder->kept[i]->baseAddress()));
    }
    ASSERT_GE(first.size(), 3U);
    EXPECT_LT(first.size(), 20U);
    for (size_t i = 0; i < first.size(); i++)
        EXPECT_EQ(*static_cast<const uint32_t*>(c.recorder->kept[i]->baseAddress()), first[i]) << i;
    // It goes on when they come back; the memory of those that are held outlives the capture.
    c.recorder->kept.resize(1);
    c.recorder->keep = false;
    ASSERT_TRUE(c.recorder->nextSample());
    c.capture->stopRunning();
    c.capture = nullptr;
    EXPECT_EQ(*static_cast<const uint32_t*>(c.recorder->kept[0]->baseAddress()), first[0]);
}

}  // namespace
}  // namespace orvo::testing
