// Sets of rectangles and the composition of windows against one byte a pixel.
#include <array>
#include <cstring>

#include "ScreenCapture/platform/software/bitmap.h"
#include "ScreenCapture/platform/software/compose.h"
#include "tests/fuzz/fuzz.h"

using namespace orvo::platform;
using namespace orvo::platform::software;

namespace {

constexpr int kSide = 24;
using Map = std::array<uint8_t, kSide * kSide>;

bool inside(const PixelRect& rect, int x, int y) {
    return x >= rect.x && y >= rect.y && x < rect.x + rect.width && y < rect.y + rect.height;
}

template <typename Change>
void eachPixel(Change change) {
    for (int y = 0; y < kSide; ++y)
        for (int x = 0; x < kSide; ++x) change(x, y);
}

// Partly outside, empty or turned inside out at times.
PixelRect rectOf(Input& input) {
    const auto number = [&](int low, int high) { return input.ConsumeIntegralInRange(low, high); };
    return {number(-6, kSide), number(-6, kSide), number(-2, kSide), number(-2, kSide)};
}

// How many of the rectangles cover each pixel.
Map coverage(const Region& region) {
    Map map{};
    eachPixel([&](int x, int y) {
        for (const PixelRect& rect : region.rects()) map[y * kSide + x] += inside(rect, x, y);
    });
    return map;
}

struct Pair {
    Region region;
    Map map{};
};

void change(Input& input, Pair& one, const Pair& other) {
    const int kind = input.ConsumeIntegralInRange(0, 5);
    const PixelRect rect = rectOf(input);
    if (kind == 0) one.region.unite(rect);
    if (kind == 1) one.region.subtract(rect);
    if (kind == 2) one.region = one.region.intersected(rect);
    if (kind == 3) one.region.unite(other.region);
    if (kind == 4) one.region.subtract(other.region);
    if (kind == 5) one.region = one.region.intersected(other.region);
    eachPixel([&](int x, int y) {
        const uint8_t with = kind < 3 ? inside(rect, x, y) : other.map[y * kSide + x];
        uint8_t& pixel = one.map[y * kSide + x];
        pixel = kind % 3 == 0 ? pixel | with : kind % 3 == 1 ? pixel & ~with : pixel & with;
    });
    REQUIRE(coverage(one.region) == one.map);
    for (const PixelRect& part : one.region.rects()) REQUIRE(!part.empty());
}

Layer layerOf(Input& input, uint8_t colour) {
    Layer layer{rectOf(input), {}, nullptr};
    for (int parts = input.ConsumeIntegralInRange(0, 3); parts > 0; --parts) layer.shape.push_back(rectOf(input));
    const int width = input.ConsumeIntegralInRange(0, kSide);
    const int height = input.ConsumeIntegralInRange(0, kSide);
    const auto image = MemoryBitmap::make(width, height, static_cast<size_t>(width) * 4);
    if (image) std::memset(image->data(), colour, static_cast<size_t>(height) * image->bytesPerRow());
    layer.image = image;
    return layer;
}

// The colour of the layer seen at a place; 0 without one.
uint8_t seenAt(const std::vector<Layer>& layers, int x, int y) {
    for (const Layer& layer : layers) {
        const int column = x - layer.bounds.x;
        const int row = y - layer.bounds.y;
        bool there = layer.shape.empty();
        for (const PixelRect& part : layer.shape) there = there || inside(part, column, row);
        if (!there || !inside(layer.bounds, x, y)) continue;
        const bool painted = layer.image && column < layer.image->width() && row < layer.image->height();
        return painted ? *layer.image->bytes() : 0;
    }
    return 0;
}

void composeWindows(Input& input) {
    std::vector<Layer> layers;
    const PixelRect bounds = rectOf(input);
    while (input.remaining_bytes() > 0 && layers.size() < 6)
        layers.push_back(layerOf(input, static_cast<uint8_t>(layers.size() + 1)));
    const Ref<Image> image = compose(bounds, layers);
    REQUIRE(!image == bounds.empty());
    if (!image) return;
    for (int y = 0; y < bounds.height; ++y)
        for (int x = 0; x < bounds.width * 4; ++x)
            REQUIRE(image->bytes()[static_cast<size_t>(y) * image->bytesPerRow() + static_cast<size_t>(x)] ==
                    seenAt(layers, bounds.x + x / 4, bounds.y + y));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
    Input input(bytes, size);
    Pair pairs[2];
    for (int steps = input.ConsumeIntegralInRange(0, 12); steps > 0; --steps) {
        const bool second = input.ConsumeBool();
        change(input, pairs[second], pairs[!second]);
    }
    composeWindows(input);
    return 0;
}
