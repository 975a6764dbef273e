// Imaging on the CPU: crops, placements, quality, wrapping, pictures.
#include "ScreenCapture/platform/software/imaging.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <random>

#include "ScreenCapture/platform/software/bitmap.h"

namespace orvo::platform::software {
namespace {

SoftwareImaging imaging;

uint32_t pixel(const Image& image, int x, int y) {
    uint32_t value = 0;
    std::memcpy(&value, image.bytes() + static_cast<size_t>(y) * image.bytesPerRow() + static_cast<size_t>(x) * 4, 4);
    return value;
}

template <typename Paint>
Ref<MemoryBitmap> painted(int width, int height, size_t bytesPerRow, Paint paint) {
    Ref<MemoryBitmap> image = MemoryBitmap::make(width, height, bytesPerRow);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            const uint32_t value = paint(x, y);
            std::memcpy(image->data() + static_cast<size_t>(y) * bytesPerRow + static_cast<size_t>(x) * 4, &value, 4);
        }
    return image;
}

Ref<MemoryBitmap> numbered(int width, int height) {
    return painted(width, height, static_cast<size_t>(width) * 4 + 64,
                   [](int x, int y) { return 0xFF000000U | static_cast<uint32_t>(y << 12 | x); });
}

TEST(Imaging, CropIsAViewOfWhatLiesInside) {
    const Ref<Image> image = numbered(100, 80);
    const double nan = std::nan("");
    const struct {
        Rect area;
        PixelRect expected;
    } cases[] = {
        {{10, 20, 30, 40}, {10, 20, 30, 40}},
        {{-10, -5, 30, 40}, {0, 0, 20, 35}},
        {{90, 70, 50, 50}, {90, 70, 10, 10}},
        {{10.4, 20.6, 1, 1}, {10, 20, 2, 2}},
        {{30, 20, -20, 10}, {10, 20, 20, 10}},
        {{100, 0, 5, 5}, {}},
        {{-5, -5, 5, 5}, {}},
        {{10, 10, 0, 5}, {}},
        {{nan, 0, 5, 5}, {}},
        {{-1e300, -1e300, 3e300, 3e300}, {0, 0, 100, 80}},
    };
    for (const auto& [area, expected] : cases) {
        const Ref<Image> part = imaging.crop(image, area);
        ASSERT_EQ(!part, expected.empty()) << area.x << ' ' << area.width;
        if (!part) continue;
        EXPECT_EQ(part->width(), expected.width);
        EXPECT_EQ(part->height(), expected.height);
        EXPECT_EQ(part->bytesPerRow(), image->bytesPerRow());
        EXPECT_EQ(pixel(*part, 0, 0), pixel(*image, expected.x, expected.y));
        EXPECT_GE(part->bytes(), image->bytes());  // the same memory
        EXPECT_LT(part->bytes(), image->bytes() + 80 * image->bytesPerRow());
    }
    EXPECT_EQ(imaging.crop(image, {0, 0, 100, 80}).get(), image.get());
    EXPECT_EQ(imaging.crop(nullptr, {0, 0, 1, 1}).get(), nullptr);
}

TEST(Imaging, DrawKeepsRowBytesAndLeavesTheRestZero) {
    const Ref<Image> image = painted(300, 200, 1216, [](int, int) { return 0xFF112233U; });
    const struct {
        uint32_t width, height;
        Rect placement;
        PixelRect covered;
    } cases[] = {
        {200, 200, {0, 33.333, 200, 133.333}, {0, 33, 200, 134}},  // fit: rows of bars above and below
        {200, 200, {-50, 0, 300, 200}, {0, 0, 200, 200}},          // fill: both sides cut
        {304, 100, {0, 0, 304, 100}, {0, 0, 304, 100}},            // the widest that fits
        {100, 100, {10, 0, 20, 30}, {10, 70, 20, 30}},             // the placement's origin is bottom-left
        {100, 100, {-1000, -1000, 3000, 3000}, {0, 0, 100, 100}},
        {100, 100, {-3.015e11, -3.015e11, 9e11, 9e11}, {0, 0, 100, 100}},  // a pixel of the image is 3e9 wide
        {100, 100, {0, 50.2, 100, 0.01}, {0, 49, 100, 1}},
        {100, 100, {100, 0, 50, 50}, {}},
        {100, 100, {0, 0, std::nan(""), 50}, {}},
    };
    for (const auto& c : cases) {
        painted(304, 200, 1216, [](int, int) { return ~0U; });  // whose memory comes back
        const Ref<Image> result = imaging.draw(image, c.width, c.height, c.placement);
        ASSERT_TRUE(result);
        EXPECT_EQ(result->bytesPerRow(), 1216U);
        int wrong = 0;
        for (int y = 0; y < result->height(); ++y)
            for (int x = 0; x < 304; ++x) {
                const bool inside = x >= c.covered.x && x < c.covered.x + c.covered.width && y >= c.covered.y &&
                                    y < c.covered.y + c.covered.height;
                wrong += pixel(*result, x, y) != (inside ? 0xFF112233U : 0U);
            }
        EXPECT_EQ(wrong, 0) << c.placement.x << ' ' << c.placement.y;
    }
    EXPECT_FALSE(imaging.draw(image, 305, 100, {0, 0, 305, 100}));
    EXPECT_FALSE(imaging.draw(image, 0, 100, {0, 0, 0, 100}));
    EXPECT_FALSE(imaging.draw(image, 100, 0x80000000U, {0, 0, 100, 100}));
    const Ref<Image> same = imaging.draw(image, 300, 200, {0, 0, 300, 200});
    EXPECT_EQ(pixel(*same, 299, 199), 0xFF112233U);
    EXPECT_EQ(pixel(*same, 300, 0), 0U);
}

TEST(Imaging, ReductionStaysCloseToAnAreaAverage) {
    std::mt19937 random(7);
    // Structure of the size of text on a soft ground.
    const auto paint = [&](int x, int y) {
        const auto base = static_cast<uint32_t>(120 + 80 * std::sin(x / 37.0) * std::cos(y / 23.0));
        const uint32_t ink = (x / 3 + y / 5) % 7 == 0 ? 60 : 0;
        const uint32_t value = base - ink + random() % 8;
        return 0xFF000000U | value << 16 | value << 8 | value;
    };
    const Ref<Image> image = painted(1920, 1080, 7680, paint);
    const int width = 384;
    const int height = 216;
    const Ref<Image> result = imaging.draw(image, width, height, {0, 0, width, height});
    double squares = 0;
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            double sum = 0;
            for (int dy = 0; dy < 5; ++dy)
                for (int dx = 0; dx < 5; ++dx) sum += pixel(*image, x * 5 + dx, y * 5 + dy) & 0xFF;
            const double difference = sum / 25 - (pixel(*result, x, y) & 0xFF);
            squares += difference * difference;
        }
    EXPECT_GE(10 * std::log10(255.0 * 255.0 * width * height / squares), 33.0);
}

TEST(Imaging, WrappingAllocatesNothingAndCountsTogether) {
    Ref<Image> image = numbered(8, 8);
    const uint8_t* bytes = image->bytes();
    Ref<PixelBuffer> buffer = imaging.wrap(image);
    EXPECT_EQ(dynamic_cast<Image*>(buffer.get()), image.get());
    image = nullptr;
    EXPECT_TRUE(buffer->unique());
    EXPECT_EQ(buffer->baseAddress(), bytes);
    EXPECT_EQ(buffer->bytesPerRow(), 96U);
    const Ref<Image> viewOnly = makeCounted<BitmapView>(numbered(8, 8), PixelRect{2, 3, 4, 5});
    EXPECT_EQ(viewOnly->paint({0, 0, 1, 1}), nullptr);
}

TEST(Imaging, PicturesAndPackedColours) {
    const auto solid = [](int size, uint32_t colour) {
        return painted(size, size, static_cast<size_t>(size) * 4, [=](int, int) { return colour; });
    };
    Picture icon = imaging.picture(solid(16, 0xFF000010U));
    icon.representations.push_back({{64, 64}, solid(64, 0xFF000040U)});
    icon.representations.push_back({{256, 256}, solid(256, 0xFF0000F0U)});
    const auto small = imaging.scaled(icon, {50.7, 20});
    ASSERT_TRUE(small);
    EXPECT_EQ(small->image->width(), 50);
    EXPECT_EQ(small->image->bytesPerRow(), 200U);
    EXPECT_EQ(small->size, (Size{50.7, 20}));
    EXPECT_EQ(pixel(*imaging.flatten(*small), 49, 19), 0xFF000040U);
    EXPECT_EQ(pixel(*imaging.scaled(icon, {400, 400})->image, 0, 0), 0xFF0000F0U);
    EXPECT_FALSE(imaging.scaled(icon, {0.9, 20}));
    EXPECT_FALSE(imaging.scaled({}, {10, 10}));

    const Ref<PixelBuffer> buffer = imaging.wrap(solid(10, 0xFF102030U));
    const Ref<PixelBuffer> packed = imaging.scaledRGB(*buffer, {2, 2, 4, 4}, 3, 2);
    ASSERT_TRUE(packed);
    const uint8_t red[] = {0x10, 0x20, 0x30, 0x10, 0x20, 0x30};
    EXPECT_EQ(packed->bytesPerRow(), 9U);
    EXPECT_EQ(std::memcmp(packed->baseAddress(), red, sizeof red), 0);
    EXPECT_FALSE(imaging.scaledRGB(*buffer, {20, 2, 4, 4}, 3, 2));
    EXPECT_EQ(pixel(*imaging.picture(*buffer).image, 9, 9), 0xFF102030U);
}

}  // namespace
}  // namespace orvo::platform::software
