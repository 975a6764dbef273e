// Frames, their pool, and the pointer blended into them.
#include <gtest/gtest.h>

#include <cstdlib>
#include <vector>

#include "ScreenCapture/platform/software/frame.h"
#include "ScreenCapture/platform/software/pointer_blend.h"

namespace orvo::testing {
namespace {

using platform::makeCounted;
using platform::PixelRect;
using platform::Ref;
using platform::software::blendSprite;
using platform::software::Frame;
using platform::software::FrameMemory;
using platform::software::makeClickRing;
using platform::software::Sprite;

constexpr uint32_t kGround = 0xFF204060;

Ref<Frame> makeFrame(int width = 16, int height = 8, int rowPixels = 20) {
    const size_t size = static_cast<size_t>(rowPixels) * static_cast<size_t>(height) * 4;
    auto* bytes = static_cast<uint8_t*>(std::malloc(size));
    for (size_t i = 0; i < size / 4; i++) reinterpret_cast<uint32_t*>(bytes)[i] = kGround;
    return makeCounted<Frame>(FrameMemory(bytes, size, [](uint8_t* memory, size_t) { std::free(memory); }), width,
                              height, static_cast<size_t>(rowPixels) * 4);
}

uint32_t& pixel(Frame& frame, int x, int y) {
    return reinterpret_cast<uint32_t*>(frame.data() + static_cast<size_t>(y) * frame.bytesPerRow())[x];
}

int paintedPixels(Frame& frame) {
    int count = 0;
    for (int y = 0; y < frame.height(); y++)
        for (size_t x = 0; x < frame.bytesPerRow() / 4; x++) count += pixel(frame, static_cast<int>(x), y) != kGround;
    return count;
}

TEST(Frame, RestoresOverlappingPaintInside) {
    const auto frame = makeFrame();
    for (const PixelRect& area :
         {PixelRect{2, 1, 5, 4}, PixelRect{4, 2, 6, 5}, PixelRect{-3, -3, 6, 6}, PixelRect{14, 6, 9, 9}}) {
        frame->paint(area);
        for (int y = std::max(area.y, 0); y < std::min(area.y + area.height, 8); y++)
            for (int x = std::max(area.x, 0); x < std::min(area.x + area.width, 16); x++)
                pixel(*frame, x, y) = 0xFF000000U + static_cast<uint32_t>(area.width);
    }
    EXPECT_GT(paintedPixels(*frame), 40);
    frame->restore();
    EXPECT_EQ(paintedPixels(*frame), 0);
}

TEST(PointerBlend, PremultipliedColoursOverTheGroundCutAtTheEdges) {
    struct Case {
        uint32_t source;
        uint32_t result;
    };
    for (const Case& c :
         {Case{0, kGround}, Case{0xFF112233, 0xFF112233}, Case{0x80800000, 0xFF902030}, Case{0x80000000, 0xFF102030}}) {
        const auto frame = makeFrame();
        blendSprite(*frame, Sprite{1, 1, 0, 0, {c.source}}, 3, 4);
        EXPECT_EQ(pixel(*frame, 3, 4), c.result) << std::hex << c.source;
        EXPECT_EQ(paintedPixels(*frame), c.result != kGround);
    }
    const Sprite square{4, 4, 1, 2, std::vector<uint32_t>(16, 0xFFFFFFFF)};
    struct Place {
        int x, y, covered;
    };
    for (const Place& p : {Place{5, 5, 16}, Place{0, 0, 6}, Place{15, 7, 6}, Place{-9, 3, 0}, Place{3, 40, 0}}) {
        const auto frame = makeFrame();
        blendSprite(*frame, square, p.x, p.y);
        EXPECT_EQ(paintedPixels(*frame), p.covered) << p.x << ',' << p.y;
        for (int x = 16; x < 20; x++) EXPECT_EQ(pixel(*frame, x, 5), kGround);
        frame->restore();
        EXPECT_EQ(paintedPixels(*frame), 0);
    }
}

TEST(PointerBlend, TheClickRingLeavesThePointerFreeAndTheFrameOpaque) {
    const auto frame = makeFrame(64, 64, 64);
    blendSprite(*frame, makeClickRing(), 32, 32);
    EXPECT_EQ(pixel(*frame, 32, 32), kGround);
    EXPECT_EQ(pixel(*frame, 32 + 17, 32), 0xFF000000U);  // black outside
    EXPECT_EQ(pixel(*frame, 32, 32 - 15), 0xFFFFFFFFU);  // white inside
    for (int y = 0; y < 64; y++)
        for (int x = 0; x < 64; x++) ASSERT_EQ(pixel(*frame, x, y) >> 24, 0xFFU);
}

}  // namespace
}  // namespace orvo::testing
