// Scaling in memory, beside libyuv's own time and a copy of the source. Uses internals of the library.
#include <benchmark/benchmark.h>
#include <libyuv/scale_argb.h>

#include <cstring>

#include "ScreenCapture/platform/software/bitmap.h"
#include "ScreenCapture/platform/software/scale.h"

namespace {

using namespace orvo::platform;
using software::MemoryBitmap;
using software::Pixels;

Ref<MemoryBitmap> filled(int width, int height, int seed) {
    auto bitmap = MemoryBitmap::make(width, height, static_cast<size_t>(width) * 4);
    for (int i = 0; i < width * height * 4; ++i) bitmap->data()[i] = static_cast<uint8_t>(i * 31 + seed);
    return bitmap;
}
Pixels pixelsOf(const Ref<MemoryBitmap>& bitmap) {
    return {bitmap->data(), bitmap->width(), bitmap->height(), bitmap->bytesPerRow()};
}

enum Way { kOurs, kBox, kBilinear, kCopy };

void scale(Way way, const Pixels& from, const Pixels& to) {
    if (way == kOurs) {
        const Rect whole = {0, 0, static_cast<double>(to.width), static_cast<double>(to.height)};
        const software::Scaling scaling(from.width, from.height, to.width, to.height, whole);
        scaling.draw(from, to, scaling.covered());
    } else if (way == kCopy) {
        memcpy(to.bytes, from.bytes, from.bytesPerRow * static_cast<size_t>(from.height));
    } else {
        libyuv::ARGBScale(from.bytes, static_cast<int>(from.bytesPerRow), from.width, from.height, to.bytes,
                          static_cast<int>(to.bytesPerRow), to.width, to.height,
                          way == kBox ? libyuv::kFilterBox : libyuv::kFilterBilinear);
    }
}

// Arguments: way, source width, target width; both are 16 to 9.
void BM_scale(benchmark::State& state) {
    const auto way = static_cast<Way>(state.range(0));
    const auto width = static_cast<int>(state.range(1)), target = static_cast<int>(state.range(2));
    const auto source = filled(width, width * 9 / 16, 1);
    const auto result = way == kCopy ? filled(width, width * 9 / 16, 2) : filled(target, target * 9 / 16, 2);
    for (auto _ : state) {
        scale(way, pixelsOf(source), pixelsOf(result));
        benchmark::ClobberMemory();
    }
}
BENCHMARK(BM_scale)
    ->Name("scale")
    ->ArgNames({"way", "from", "to"})
    ->ArgsProduct({{kOurs, kBox, kBilinear, kCopy}, {1920}, {1280, 640, 384}})
    ->ArgsProduct({{kOurs, kBox, kBilinear, kCopy}, {1280}, {640}})
    ->ArgsProduct({{kOurs, kBox, kBilinear, kCopy}, {320, 640}, {400}})
    ->Unit(benchmark::kMicrosecond);

}  // namespace

BENCHMARK_MAIN();
