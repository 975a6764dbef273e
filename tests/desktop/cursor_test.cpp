// Where the cursor is painted into a picture, and when it is left out.
#include "ScreenCapture/window/OrvoWindowCursor.h"

#include "support/desktop/host.h"

namespace orvo::test {
namespace {

using platform::Rect;

constexpr Pixel ink{1, 2, 3, 255};

class CursorOverlay : public DesktopTest {
  protected:
    void showCursor(int width, int height, platform::Point hotSpot, double scale = 1) {
        desk.cursor = platform::Cursor{pictureOf(filled(width, height, ink), scale), hotSpot};
    }
    // Paints into an empty picture and tells what was inked.
    std::string painted(const OrvoWindow* item, int width, int height, platform::Point pointer) {
        desk.pointer = pointer;
        auto image = platform::makeCounted<Bitmap>(width, height);
        const bool told{OrvoWindowCursor().appendMouseCursor(*image, item)};
        const auto [seen, first] = opaquePart(*image);
        EXPECT_EQ(told, seen.width > 0);
        return words(seen);
    }
    static OrvoWindow item(uint32_t number, const Rect& bounds, bool isScreen) {
        OrvoWindow item;
        item.isScreen = isScreen;
        item.windowID = number;
        item.windowBounds = bounds;
        return item;
    }
};

TEST_F(CursorOverlay, LiesWhereThePointerIs) {
    perform("plug 2 1920 -20 400 300");
    const auto main = item(1, {0, 0, 400, 300}, true);
    const auto second = item(2, {1920, 800, 400, 300}, true);
    const auto retina = item(1, {0, 0, 144, 90}, true);
    const auto window = item(7, {10, 20, 64, 48}, false);
    struct Case {
        const OrvoWindow* item;
        int width, height;  // of the picture, pixels
        platform::Point pointer;
        const char* inked;  // origin top-left
    };
    // On a display it hangs centred below the pointer, whatever its hot spot.
    showCursor(17, 23, {5, 5});
    for (const Case& c :
         {Case{&main, 400, 300, {100.9, 200.9}, "92,100 17x23"},  // whole points; 17 / 2 is 8
          Case{&main, 400, 300, {8, 23}, "0,277 17x23"},          // the corner
          Case{&main, 400, 300, {7, 23}, "0,0 0x0"},              // one pixel out
          Case{&main, 400, 300, {8, 22}, "0,0 0x0"}, Case{&main, 400, 300, {391, 300}, "383,0 17x23"},
          Case{&main, 400, 300, {392, 300}, "0,0 0x0"}, Case{&main, 400, 300, {391, 301}, "0,0 0x0"},
          Case{&second, 400, 300, {2020, 1000}, "92,100 17x23"}, Case{&retina, 288, 180, {50, 60}, "0,0 0x0"}})
        EXPECT_EQ(painted(c.item, c.width, c.height, c.pointer), c.inked) << c.pointer.x << "," << c.pointer.y;
    // On a window the hot spot counts, and points and pixels of the main display's height are mixed.
    showCursor(8, 8, {2, 3});
    for (const Case& c : {Case{&window, 64, 48, {30.9, 1030.9}, "18,29 8x8"},  // y = 48 - (1080 - 1023 - 20)
                          Case{&window, 64, 48, {12, 1059}, "0,0 8x8"},        // the top left corner
                          Case{&window, 64, 48, {11, 1059}, "0,0 0x0"}, Case{&window, 64, 48, {12, 1060}, "0,0 0x0"},
                          Case{&window, 64, 48, {68, 1019}, "56,40 8x8"},  // the bottom right corner
                          Case{&window, 64, 48, {69, 1019}, "0,0 0x0"}, Case{&window, 64, 48, {68, 1018}, "0,0 0x0"},
                          Case{nullptr, 64, 48, {30, 1030}, "0,0 0x0"}})
        EXPECT_EQ(painted(c.item, c.width, c.height, c.pointer), c.inked) << c.pointer.x << "," << c.pointer.y;
    // At scale two a bitmap of exactly that size is needed: a representation, else the picture's own.
    showCursor(16, 16, {2, 3}, 2);
    EXPECT_EQ(painted(&window, 128, 96, {30, 1030}), "36,58 16x16");
    desk.displays[0].scale = 2;
    EXPECT_EQ(painted(&window, 128, 96, {30, 2110}), "36,58 16x16");
    showCursor(34, 46, {0, 0}, 2);  // 17 x 23 points
    EXPECT_EQ(painted(&retina, 288, 180, {50, 60}), "83,60 34x46");
    showCursor(17, 23, {0, 0});
    desk.cursor->picture.representations.push_back({{34, 46}, filled(34, 46, ink)});
    EXPECT_EQ(painted(&retina, 288, 180, {50, 60}), "83,60 34x46");
    desk.cursor->picture.representations = {{{34, 46}, nullptr}};
    EXPECT_EQ(painted(&retina, 288, 180, {50, 60}), "0,0 0x0");
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
    Bitmap good(4, 4), thin(4, 4, 24), deep(4, 4, 64, 16), hidden(4, 4, 32, 8, true);
    const struct {
        Bitmap* source;
        const Bitmap* cursor;
        int h;
        Lines lines;
    } cases[] = {
        {&thin, &good, 4, {"原图异常", "unnamed sourceImage is error"}},
        {nullptr, &good, 4, {"原图异常", "unnamed sourceImage is error"}},
        {&good, &deep, 4, {"鼠标异常", "unnamed cursor is error"}},
        {&good, &good, 3, {"unnamed cursor size is Error"}},
        {&good, &hidden, 4, {"unnamed cursor is error,data is nil"}},
        {&hidden, &good, 4, {}},  // not writable
    };
    for (const auto& c : cases) {
        EXPECT_FALSE(OrvoWindowCursor::fixCursor(c.source, 0, 0, 4, c.h, c.cursor));
        EXPECT_EQ(desk.gate.take(kConsole | kLog), c.lines);
    }
}

TEST_F(CursorOverlay, IsOnAfterInitAndFollowsTheSwitch) {
    perform("open 7 100 0 0 64 48");
    desk.window(7)->picture = platform::makeCounted<Bitmap>(64, 48);  // the cursor alone is opaque
    showCursor(8, 8, {0, 0});
    desk.pointer = {20, 1060};
    follow(R"(
        init, deafen, window 7, start, steps, main, ticks -> frame 64x48 of 3 in 20,16 8x8 from 1,2
        cursor 0, steps, wait 70 -> frame 64x48 of 0 in 0,0 0x0
    )");
    follow("cursor 1, steps, wait 70 -> frame 64x48 of 3 in 20,16 8x8 from 1,2");
}

}  // namespace
}  // namespace orvo::test
