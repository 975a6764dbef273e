// Where the cursor is painted into a picture, and when it is left out.
#include "ScreenCapture/window/OrvoWindowCursor.h"

#include "support/desktop/host.h"

namespace orvo::test {
namespace {

using platform::PixelRect;
using platform::Rect;

constexpr Pixel ink{1, 2, 3, 255};

// The rectangle that is inked, origin top-left.
PixelRect inked(const Bitmap& image) {
    PixelRect found{image.width(), image.height(), 0, 0};
    int right = 0, bottom = 0;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            if (image.at(x, y) != ink) continue;
            found.x = std::min(found.x, x);
            found.y = std::min(found.y, y);
            right = std::max(right, x + 1);
            bottom = std::max(bottom, y + 1);
        }
    }
    return right == 0 ? PixelRect{} : PixelRect{found.x, found.y, right - found.x, bottom - found.y};
}

std::string words(const PixelRect& r) {
    return std::to_string(r.x) + "," + std::to_string(r.y) + " " + std::to_string(r.width) + "x" +
           std::to_string(r.height);
}

class CursorOverlay : public DesktopTest {
  protected:
    void showCursor(int width, int height, platform::Point hotSpot, double scale = 1) {
        desk.cursor = platform::Cursor{pictureOf(filled(width, height, ink), scale), hotSpot};
    }
    // Paints and tells what was inked.
    std::string painted(const OrvoWindow* item, int width, int height, platform::Point pointer) {
        desk.pointer = pointer;
        auto image = platform::makeCounted<Bitmap>(width, height);
        const bool told{OrvoWindowCursor().appendMouseCursor(*image, item)};
        const PixelRect where = inked(*image);
        EXPECT_EQ(told, where != PixelRect{});
        return words(where);
    }
    static OrvoWindow screen(uint32_t number, const Rect& frame) {
        OrvoWindow item;
        item.isScreen = true;
        item.windowID = number;
        item.windowBounds = frame;
        return item;
    }
    static OrvoWindow window(const Rect& bounds) {
        OrvoWindow item;
        item.windowID = 7;
        item.windowBounds = bounds;
        return item;
    }
};

TEST_F(CursorOverlay, OnDisplaysItHangsCentredBelowThePointer) {
    desk.addDisplay({.number = 2, .bounds = {1920, -20, 400, 300}});
    const auto main = screen(1, {0, 0, 400, 300});
    const auto second = screen(2, {1920, 800, 400, 300});
    const struct {
        const OrvoWindow* item;
        int width, height;  // of the picture, pixels
        platform::Point pointer;
        const char* inked;
    } cases[] = {
        {&main, 400, 300, {100.9, 200.9}, "92,100 17x23"},  // whole points; 17 / 2 is 8
        {&main, 400, 300, {8, 23}, "0,277 17x23"},          // the corner
        {&main, 400, 300, {7, 23}, "0,0 0x0"},              // one pixel out
        {&main, 400, 300, {8, 22}, "0,0 0x0"},
        {&main, 400, 300, {391, 300}, "383,0 17x23"},
        {&main, 400, 300, {392, 300}, "0,0 0x0"},
        {&main, 400, 300, {391, 301}, "0,0 0x0"},
        {&second, 400, 300, {2020, 1000}, "92,100 17x23"},
    };
    showCursor(17, 23, {5, 5});
    for (const auto& c : cases) {
        EXPECT_EQ(painted(c.item, c.width, c.height, c.pointer), c.inked) << c.pointer.x << "," << c.pointer.y;
    }
}

TEST_F(CursorOverlay, AtScaleTwoItNeedsABitmapOfExactlyThatSize) {
    const auto item = screen(1, {0, 0, 144, 90});
    showCursor(34, 46, {0, 0}, 2);  // 17 x 23 points
    EXPECT_EQ(painted(&item, 288, 180, {50, 60}), "83,60 34x46");
    showCursor(17, 23, {0, 0});
    EXPECT_EQ(painted(&item, 288, 180, {50, 60}), "0,0 0x0");
    EXPECT_EQ(takeLog(), Lines{"unnamed cursor size is Error"});
    const auto large = filled(34, 46, ink);
    desk.cursor->picture.representations.push_back({{34, 46}, large});
    EXPECT_EQ(painted(&item, 288, 180, {50, 60}), "83,60 34x46");
    desk.cursor->picture.representations = {{{34, 46}, nullptr}};  // back to the picture's own
    EXPECT_EQ(painted(&item, 288, 180, {50, 60}), "0,0 0x0");
}

TEST_F(CursorOverlay, OnWindowsTheHotSpotCountsAndHeightsAreMixed) {
    const auto item = window({10, 20, 64, 48});
    const struct {
        int width, height;
        platform::Point pointer;
        const char* inked;
    } cases[] = {
        {64, 48, {30, 1030}, "18,29 8x8"},  // py = 1030 - 7, y = 48 - (1080 - 1023 - 20)
        {64, 48, {30.9, 1030.9}, "18,29 8x8"}, {64, 48, {12, 1059}, "0,0 8x8"},  // the top left corner
        {64, 48, {11, 1059}, "0,0 0x0"},       {64, 48, {12, 1060}, "0,0 0x0"},
        {64, 48, {68, 1019}, "56,40 8x8"},  // the bottom right corner
        {64, 48, {69, 1019}, "0,0 0x0"},       {64, 48, {68, 1018}, "0,0 0x0"},
    };
    showCursor(8, 8, {2, 3});
    for (const auto& c : cases) EXPECT_EQ(painted(&item, c.width, c.height, c.pointer), c.inked) << c.pointer.x;
    showCursor(16, 16, {2, 3}, 2);
    EXPECT_EQ(painted(&item, 128, 96, {30, 1030}), "36,58 16x16");
    desk.displays[0].scale = 2;  // the display's height counts in pixels
    EXPECT_EQ(painted(&item, 128, 96, {30, 2110}), "36,58 16x16");
    EXPECT_EQ(painted(nullptr, 128, 96, {30, 1030}), "0,0 0x0");
}

TEST_F(CursorOverlay, OnlyOpaquePixelsCountAndAreCopiedAsTheyAre) {
    auto cursor = filled(4, 2, ink);
    cursor->set(1, 0, {9, 9, 9, 254});
    cursor->set(2, 1, {9, 9, 9, 0});
    const auto image = pattern(5, 20, 10);
    ASSERT_TRUE(OrvoWindowCursor::fixCursor(image.get(), 16, 0, 4, 2, cursor.get()));
    for (int y = 0; y < 10; ++y) {
        for (int x = 0; x < 20; ++x) {
            const bool covered = x >= 16 && y >= 8 && cursor->at(x - 16, y - 8) == ink;
            EXPECT_EQ(image->at(x, y), covered ? ink : patternPixel(5, x, y)) << x << "," << y;
        }
    }
}

TEST_F(CursorOverlay, OddBitmapsAreRefusedWithALine) {
    Bitmap good(4, 4), thin(4, 4, 24), deep(4, 4, 64, 16), hidden(4, 4);
    hidden.hidesBytes = true;
    const struct {
        Bitmap* source;
        const Bitmap* cursor;
        int w, h;
        const char* line;     // of the log
        const char* console;  // empty: none
    } cases[] = {
        {&thin, &good, 4, 4, "unnamed sourceImage is error", "原图异常"},
        {nullptr, &good, 4, 4, "unnamed sourceImage is error", "原图异常"},
        {&good, &deep, 4, 4, "unnamed cursor is error", "鼠标异常"},
        {&good, &good, 4, 3, "unnamed cursor size is Error", ""},
        {&good, &hidden, 4, 4, "unnamed cursor is error,data is nil", ""},
    };
    for (const auto& c : cases) {
        desk.console.clear();
        EXPECT_FALSE(OrvoWindowCursor::fixCursor(c.source, 0, 0, c.w, c.h, c.cursor));
        EXPECT_EQ(takeLog(), Lines{c.line});
        EXPECT_EQ(desk.console, *c.console ? Lines{c.console} : Lines{});
    }
    EXPECT_FALSE(OrvoWindowCursor::fixCursor(&hidden, 0, 0, 4, 4, &good));  // not writable
}

TEST_F(CursorOverlay, IsOnAfterInitAndFollowsTheSwitch) {
    desk.addWindow({.number = 7, .pid = 100, .bounds = {0, 0, 64, 48}});
    showCursor(8, 8, {0, 0});
    desk.pointer = {20, 1060};
    init();
    orvo_screencapture_set_target_window(7);
    orvo_screencapture_start_capture();
    for (const bool visible : {true, false, true}) {
        orvo_screencapture_set_cursor_visible(visible);
        runSteps();
        desk.stepper.run(mainQueue);
        desk.stepper.advance(0.1);
        ASSERT_FALSE(host.windowFrames.empty());
        EXPECT_EQ(host.windowFrames.back().at(24, 20) == ink, visible);
    }
}

}  // namespace
}  // namespace orvo::test
