// Sets of rectangles, and what is seen of layers, against one byte a pixel.
#include <array>

#include "ScreenCapture/platform/software/region.h"
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

void seeLayers(Input& input) {
    std::vector<Region> layers, opaque;
    const PixelRect bounds = rectOf(input);
    std::vector<Map> seen;  // of each layer
    Map hidden{};
    while (input.remaining_bytes() > 0 && layers.size() < 6) {
        opaque.emplace_back(rectOf(input));
        layers.push_back(opaque.back());
        layers.back().unite(rectOf(input));
        const Map covered = coverage(layers.back()), hiding = coverage(opaque.back());
        Map& map = seen.emplace_back();
        eachPixel([&](int x, int y) {
            const int i = y * kSide + x;
            map[i] = inside(bounds, x, y) && covered[i] && !hidden[i];
            hidden[i] |= hiding[i];
        });
    }
    const std::vector<Region> parts = visibleParts(bounds, layers, opaque);
    REQUIRE(parts.size() == layers.size());
    for (size_t i = 0; i < parts.size(); ++i) REQUIRE(coverage(parts[i]) == seen[i]);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
    Input input(bytes, size);
    Pair pairs[2];
    for (int steps = input.ConsumeIntegralInRange(0, 12); steps > 0; --steps) {
        const bool second = input.ConsumeBool();
        change(input, pairs[second], pairs[!second]);
    }
    seeLayers(input);
    return 0;
}
