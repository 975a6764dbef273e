// Pixels on the CPU: crops, placements, scaling, pictures, frames, the pointer blended into them.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <random>

#include "ScreenCapture/platform/software/imaging.h"
#include "ScreenCapture/platform/software/pointer_blend.h"
#include "support/desktop/pictures.h"

namespace orvo::test {
namespace {

using namespace platform;
using namespace platform::software;

SoftwareImaging imaging;

Pixel pixel(const Image& image, int x, int y) {
    Pixel value;
    std::memcpy(value.data(), image.bytes() + static_cast<size_t>(y) * image.bytesPerRow() + size_t(x) * 4, 4);
    return value;
}

bool covers(const PixelRect& rect, int x, int y) {
    return x >= rect.x && x < rect.x + rect.width && y >= rect.y && y < rect.y + rect.height;
}

TEST(Imaging, DrawKeepsRowBytesAndLeavesTheRestZero) {
    constexpr Pixel colour{0x33, 0x22, 0x11, 0xFF};
    const Ref<Image> image = filled(300, 200, colour);  // rows of 1216 bytes
    const struct {
        uint32_t width, height;
        Rect placement;
        PixelRect covered;
    } cases[] = {
        {200, 200, {0, 33.333, 200, 133.333}, {0, 33, 200, 134}},          // fit: rows of bars above and below
        {200, 200, {-50, 0, 300, 200}, {0, 0, 200, 200}},                  // fill: both sides cut
        {304, 100, {0, 0, 304, 100}, {0, 0, 304, 100}},                    // the widest that fits
        {100, 100, {10, 0, 20, 30}, {10, 70, 20, 30}},                     // the placement's origin is bottom-left
        {100, 100, {-3.015e11, -3.015e11, 9e11, 9e11}, {0, 0, 100, 100}},  // a pixel of the image is 3e9 wide
        {100, 100, {0, 50.2, 100, 0.01}, {0, 49, 100, 1}},
        {100, 100, {100, 0, 50, 50}, {}},
    };
    for (const auto& c : cases) {
        imaging.draw(filled(304, 200, {1, 2, 3, 4}), 304, 200, {0, 0, 304, 200});  // whose memory comes back
        const Ref<Image> result = imaging.draw(image, c.width, c.height, c.placement);
        ASSERT_TRUE(result);
        EXPECT_EQ(result->bytesPerRow(), 1216U);
        int wrong = 0;
        for (int y = 0; y < result->height(); ++y)
            for (int x = 0; x < 304; ++x) wrong += pixel(*result, x, y) != (covers(c.covered, x, y) ? colour : Pixel{});
        EXPECT_EQ(wrong, 0) << c.placement.x << ' ' << c.placement.y;
    }
    EXPECT_FALSE(imaging.draw(image, 305, 100, {0, 0, 305, 100}));
    EXPECT_FALSE(imaging.draw(image, 0, 100, {0, 0, 0, 100}));
    EXPECT_FALSE(imaging.draw(image, 100, 0x80000000U, {0, 0, 100, 100}));
    EXPECT_FALSE(imaging.draw(makeCounted<Bitmap>(300, 200, 24), 100, 100, {0, 0, 100, 100}));
}

// Whatever was drawn when, however long results are held: a scaled output shows what drawing all of it would show.
TEST(Imaging, ScalingWhatHasChangedIsScalingAll) {
    const bool full = std::getenv("ORVO_TEST_FULL");
    for (uint32_t seed = 1; seed <= (full ? 2000U : 60U); ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        std::mt19937 random(seed);
        const auto number = [&](int from, int to) {
            return from + static_cast<int>(random() % unsigned(to - from + 1));
        };
        const int width = number(1, 220), height = number(1, 160);
        const Ref<MemoryBitmap> image = MemoryBitmap::make(width, height, static_cast<size_t>(width) * 4 + 1024);
        std::generate_n(image->data(), image->bytesPerRow() * size_t(height), [&] { return uint8_t(random()); });
        // Often a half, a quarter or the same size, where exact steps are taken.
        const int divisor = number(0, 1) ? number(1, 4) : 0;
        const auto outWidth = uint32_t(divisor ? std::max(width / divisor, 1) : number(1, 250));
        const auto outHeight = uint32_t(divisor ? std::max(height / divisor, 1) : number(1, 180));
        Rect placement{0, 0, double(outWidth), double(outHeight)};
        if (number(0, 2) == 0) placement = {number(-90, 20) / 3.0, number(-90, 20) / 3.0, number(1, 900) / 3.0, 99.5};
        SoftwareScaledOutput output;
        Changes changes;
        std::vector<std::pair<Ref<Image>, Ref<Image>>> held;
        Ref<Image> last;
        for (int step = 0; step < 8; ++step) {
            const Shot shot = output.draw(image, outWidth, outHeight, placement, changes);
            const Ref<Image> whole = imaging.draw(image, outWidth, outHeight, placement);
            ASSERT_TRUE(shot.image && whole);
            const auto isIn = [&](int x, int y) {
                return !changes.isKnown() || std::any_of(changes.begin(), changes.end(),
                                                         [&](const PixelRect& rect) { return covers(rect, x, y); });
            };
            for (int y = 0; y < whole->height(); ++y)
                for (int x = 0; x < whole->width(); ++x) {
                    ASSERT_EQ(pixel(*shot.image, x, y), pixel(*whole, x, y)) << "step " << step << " " << x << "," << y;
                    ASSERT_TRUE(isIn(x, y) || pixel(*last, x, y) == pixel(*whole, x, y)) << x << "," << y;
                }
            last = whole;
            if (number(0, 1) && held.size() < 5) held.emplace_back(shot.image, whole);
            if (number(0, 4) == 0) held.clear();
            for (const auto& [kept, then] : held) ASSERT_EQ(pixel(*kept, 0, 0), pixel(*then, 0, 0));
            changes = Changes::nothing();
            for (int i = number(0, 3); i > 0; --i) {
                const int x = number(0, width - 1), y = number(0, height - 1);
                const PixelRect rect{x, y, number(1, width - x), number(1, std::min(height - y, 9))};
                for (int at = 0; at < rect.width * rect.height; ++at)
                    *reinterpret_cast<uint32_t*>(image->data() +
                                                 size_t(rect.y + at / rect.width) * image->bytesPerRow() +
                                                 size_t(rect.x + at % rect.width) * 4) = random();
                changes.add(rect);
            }
        }
    }
}

TEST(Imaging, ReductionStaysCloseToAnAreaAverage) {
    std::mt19937 random(7);
    // Structure of the size of text on a soft ground.
    const auto image = painted(1920, 1080, [&](int x, int y) {
        const double ground = 120 + 80 * std::sin(x / 37.0) * std::cos(y / 23.0);
        const double ink = (x / 3 + y / 5) % 7 == 0 ? 60 : 0;
        const auto value = static_cast<uint8_t>(std::max(0., ground - ink + random() % 8));
        return Pixel{value, value, value, 255};
    });
    const Ref<Image> result = imaging.draw(image, 384, 216, {0, 0, 384, 216});
    double squares = 0;
    for (int y = 0; y < 216; ++y)
        for (int x = 0; x < 384; ++x) {
            double sum = 0;
            for (int i = 0; i < 25; ++i) sum += image->at(x * 5 + i % 5, y * 5 + i / 5)[0];
            squares += std::pow(sum / 25 - pixel(*result, x, y)[0], 2);
        }
    EXPECT_GE(10 * std::log10(255.0 * 255.0 * 384 * 216 / squares), 33.0);
}

TEST(Imaging, PicturesComeFromTheSmallestBitmapThatIsLargeEnough) {
    const auto solid = [](int size) { return filled(size, size, {static_cast<uint8_t>(size), 0, 0, 255}); };
    Picture icon = imaging.picture(solid(16));
    for (const int size : {64, 192}) icon.representations.push_back({{}, solid(size)});
    const auto small = imaging.scaled(icon, {50.7, 20});
    ASSERT_TRUE(small);
    EXPECT_EQ(small->image->width(), 50);
    EXPECT_EQ(small->image->bytesPerRow(), 200U);
    EXPECT_EQ(small->size, (Size{50.7, 20}));
    EXPECT_EQ(pixel(*imaging.flatten(*small), 49, 19)[0], 64);
    EXPECT_EQ(pixel(*imaging.scaled(icon, {400, 400})->image, 0, 0)[0], 192);
    EXPECT_FALSE(imaging.scaled(icon, {0.9, 20}));
    EXPECT_FALSE(imaging.scaled({}, {10, 10}));

    const Ref<PixelBuffer> buffer = imaging.wrap(painted(10, 10, [](int x, int) {
        return x < 4 ? Pixel{1, 1, 1, 255} : Pixel{0x30, 0x20, 0x10, 255};
    }));
    EXPECT_TRUE(buffer->unique()) << "wrapping copies nothing";
    const Ref<PixelBuffer> packed = imaging.scaledRGB(*buffer, {4, 2, 4, 4}, 3, 2);
    ASSERT_TRUE(packed);
    EXPECT_EQ(packed->bytesPerRow(), 9U);
    const uint8_t red[] = {0x10, 0x20, 0x30, 0x10, 0x20, 0x30, 0x10, 0x20, 0x30};
    EXPECT_EQ(std::memcmp(packed->baseAddress(), red, sizeof red), 0);
    EXPECT_FALSE(imaging.scaledRGB(*buffer, {20, 2, 4, 4}, 3, 2));
    EXPECT_EQ(pixel(*imaging.picture(*buffer).image, 9, 9), (Pixel{0x30, 0x20, 0x10, 255}));
}

// ---- Frames ----

constexpr uint32_t kGround = 0xFF204060;

// Its rows are longer than its pixels, which nothing may write.
Ref<Frame> makeFrame(int width = 16, int height = 8) {
    const size_t row = static_cast<size_t>(width) + 4;
    auto* pixels = new uint32_t[row * static_cast<size_t>(height)];
    std::fill_n(pixels, row * static_cast<size_t>(height), kGround);
    const auto release = [](uint8_t* memory) { delete[] reinterpret_cast<uint32_t*>(memory); };
    return makeCounted<Frame>(FrameMemory(reinterpret_cast<uint8_t*>(pixels), release), width, height, row * 4);
}
uint32_t& at(Frame& frame, int x, int y) {
    return reinterpret_cast<uint32_t*>(frame.data() + static_cast<size_t>(y) * frame.bytesPerRow())[x];
}
bool isGround(Frame& frame) {
    const auto* first = &at(frame, 0, 0);
    const auto size = static_cast<ptrdiff_t>(frame.bytesPerRow()) / 4 * frame.height();
    return std::all_of(first, first + size, [](uint32_t each) { return each == kGround; });
}

// What is blended is rounded to the nearest, stays inside the frame, and is gone again after restore().
TEST(Frame, PicturesAreBlendedOverTheGroundAndRestored) {
    std::mt19937 random(3);
    const auto number = [&](int from, int to) { return from + static_cast<int>(random() % unsigned(to - from + 1)); };
    for (int round = 0; round < 300; ++round) {
        const auto frame = makeFrame();
        std::vector<uint32_t> expected(16 * 8, kGround);
        for (int layer = number(1, 3); layer > 0; --layer) {
            const int width = number(1, 6), height = number(1, 6);
            const auto picture = MemoryBitmap::make(width, height, static_cast<size_t>(width) * 4);
            auto* const pixels = reinterpret_cast<uint32_t*>(picture->data());
            for (int i = width * height; i > 0; --i) {
                const auto alpha = static_cast<uint32_t>(number(0, 2) == 0 ? number(0, 1) * 255 : number(0, 255));
                pixels[i - 1] = alpha << 24 | alpha / 2 << 16 | alpha / 3 << 8 | alpha;
            }
            const int left = number(-8, 18), top = number(-8, 10);
            blend(*frame, *picture, left, top);
            for (int y = 0; y < 8; ++y)
                for (int x = 0; x < 16; ++x) {
                    if (!covers({left, top, width, height}, x, y)) continue;
                    const uint32_t source = pixels[(y - top) * width + x - left];
                    uint32_t& target = expected[static_cast<size_t>(y * 16 + x)];
                    uint32_t mixed = 0;
                    for (int shift = 0; shift < 32; shift += 8) {
                        const double rest = (target >> shift & 255) * (255 - (source >> 24)) / 255.0;
                        mixed |= ((source >> shift & 255) + static_cast<uint32_t>(std::lround(rest))) << shift;
                    }
                    target = mixed;
                }
        }
        for (int y = 0; y < 8; ++y)
            for (int x = 0; x < 20; ++x)
                ASSERT_EQ(at(*frame, x, y), x < 16 ? expected[static_cast<size_t>(y * 16 + x)] : kGround) << round;
        frame->restore();
        ASSERT_TRUE(isGround(*frame)) << round;
    }
}

}  // namespace
}  // namespace orvo::test
