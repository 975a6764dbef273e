// Pictures of one colour scaled to and placed in any size: what is drawn has that colour, the rest is zero. A crop is a
// view of the pixels that its area touches.
#include <algorithm>
#include <cmath>
#include <cstring>

#include "ScreenCapture/platform/software/bitmap.h"
#include "ScreenCapture/platform/software/imaging.h"
#include "tests/fuzz/fuzz.h"

using namespace orvo::platform;
using namespace orvo::platform::software;

namespace {

constexpr int kSide = 70;

double numberOf(Input& input) {
    if (input.ConsumeBool()) return input.ConsumeFloatingPointInRange(-2.0 * kSide, 2.0 * kSide);
    double number = 0;
    const auto bits = input.ConsumeIntegral<uint64_t>();
    std::memcpy(&number, &bits, sizeof number);
    return number;
}

Ref<Image> imageOf(Input& input, uint32_t colour) {
    const int width = input.ConsumeIntegralInRange(0, kSide);
    const int height = input.ConsumeIntegralInRange(0, kSide);
    const size_t padding = input.ConsumeIntegralInRange<size_t>(0, 8) * 4;
    const auto image = MemoryBitmap::make(width, height, static_cast<size_t>(width) * 4 + padding);
    // The bytes behind the rows have another colour, which must not come in.
    if (image) std::memset(image->data(), ~colour, imageMemory(height, image->bytesPerRow()));
    for (int y = 0; y < height && image; ++y)
        for (int x = 0; x < width; ++x)
            std::memcpy(image->data() + static_cast<size_t>(y) * image->bytesPerRow() + static_cast<size_t>(x) * 4,
                        &colour, 4);
    return image;
}

// How many pixels have the colour; the others are zero.
int64_t coloured(const Image& image, uint32_t colour) {
    int64_t count = 0;
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x) {
            uint32_t pixel = 0;
            std::memcpy(&pixel,
                        image.bytes() + static_cast<size_t>(y) * image.bytesPerRow() + static_cast<size_t>(x) * 4, 4);
            REQUIRE(pixel == colour || pixel == 0);
            count += pixel == colour;
        }
    return count;
}

bool isWhole(const Image& image, uint32_t colour) {
    return coloured(image, colour) == int64_t{image.width()} * image.height();
}

// The pixels that one side of an area touches, from and to; it may be turned inside out, or no number.
std::pair<int, int> touched(double origin, double length, int limit) {
    const double end = origin + length;
    const auto clamped = [&](double number) { return static_cast<int>(std::clamp<double>(number, 0, limit)); };
    if (!(std::min(origin, end) < std::max(origin, end))) return {0, 0};
    return {clamped(std::floor(std::min(origin, end))), clamped(std::ceil(std::max(origin, end)))};
}

void cropIsAView(SoftwareImaging& imaging, const Ref<Image>& image, const Rect& area) {
    const Ref<Image> part = imaging.crop(image, area);
    const auto [left, right] = touched(area.x, area.width, image ? image->width() : 0);
    const auto [top, bottom] = touched(area.y, area.height, image ? image->height() : 0);
    REQUIRE(!part == (left >= right || top >= bottom));
    if (!part) return;
    REQUIRE(part->width() == right - left && part->height() == bottom - top);
    REQUIRE(part->bytes() == image->bytes() + static_cast<size_t>(top) * image->bytesPerRow() + size_t(left) * 4);
    REQUIRE(part->bytesPerRow() == image->bytesPerRow());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
    Input input(bytes, size);
    const uint32_t colour = input.ConsumeIntegral<uint32_t>() | 1;
    const Ref<Image> image = imageOf(input, colour);
    SoftwareImaging imaging;
    Picture picture = imaging.picture(image);
    for (int more = input.ConsumeIntegralInRange(0, 3); more > 0; --more)
        picture.representations.push_back({{}, imageOf(input, colour)});

    const Size wanted{input.ConsumeFloatingPointInRange(-2.0, 2.0 * kSide),
                      input.ConsumeFloatingPointInRange(-2.0, 2.0 * kSide)};
    const auto scaled = imaging.scaled(picture, wanted);
    if (scaled) REQUIRE(isWhole(*scaled->image, colour));

    const auto width = input.ConsumeIntegralInRange<uint32_t>(0, 2 * kSide);
    const auto height = input.ConsumeIntegralInRange<uint32_t>(0, 2 * kSide);
    const Rect place{numberOf(input), numberOf(input), numberOf(input), numberOf(input)};
    const Ref<Image> drawn = imaging.draw(image, width, height, place);
    REQUIRE(image || !drawn);
    if (drawn) {
        REQUIRE(drawn->width() == static_cast<int>(width) && drawn->height() == static_cast<int>(height));
        coloured(*drawn, colour);
    }

    cropIsAView(imaging, image, {numberOf(input), numberOf(input), numberOf(input), numberOf(input)});
    return 0;
}
