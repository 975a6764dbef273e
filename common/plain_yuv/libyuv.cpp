// Scaling and conversion of pixels in plain code.
#include "libyuv.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>

namespace libyuv {
namespace {

constexpr int kChannels = 4;  // blue, green, red, alpha

template <typename Byte>
Byte* rowOf(Byte* plane, int stride, int y) {
    return plane + static_cast<ptrdiff_t>(y) * stride;
}

struct Span {
    int from, to;
};

// Which of `length` pixels the given one of `count` covers; one at least.
Span coveredBy(int pixel, int count, int length) {
    const auto place = [&](int edge) { return static_cast<int>(static_cast<int64_t>(edge) * length / count); };
    const int from = place(pixel);
    return {from, std::max(place(pixel + 1), from + 1)};
}

// The mean of the pixels of a rectangle.
std::array<uint8_t, kChannels> meanOf(const uint8_t* source, int stride, Span columns, Span rows) {
    std::array<uint64_t, kChannels> sums{};
    for (int y = rows.from; y < rows.to; ++y) {
        const uint8_t* pixel = rowOf(source, stride, y) + columns.from * kChannels;
        for (int x = columns.from; x < columns.to; ++x)
            for (uint64_t& sum : sums) sum += *pixel++;
    }
    const auto count = static_cast<uint64_t>(columns.to - columns.from) * static_cast<uint64_t>(rows.to - rows.from);
    std::array<uint8_t, kChannels> mean{};
    for (size_t i = 0; i < kChannels; ++i) mean[i] = static_cast<uint8_t>((sums[i] + count / 2) / count);
    return mean;
}

}  // namespace

int ARGBScale(const uint8_t* source, int sourceStride, int sourceWidth, int sourceHeight, uint8_t* target,
              int targetStride, int width, int height, FilterMode /*filter*/) {
    for (int y = 0; y < height; ++y) {
        const Span rows = coveredBy(y, height, sourceHeight);
        uint8_t* out = rowOf(target, targetStride, y);
        for (int x = 0; x < width; ++x, out += kChannels)
            std::memcpy(out, meanOf(source, sourceStride, coveredBy(x, width, sourceWidth), rows).data(), kChannels);
    }
    return 0;
}

int ARGBInterpolate(const uint8_t* first, int firstStride, const uint8_t* second, int secondStride, uint8_t* target,
                    int targetStride, int width, int height, int weight) {
    for (int y = 0; y < height; ++y) {
        const uint8_t* a = rowOf(first, firstStride, y);
        const uint8_t* b = rowOf(second, secondStride, y);
        uint8_t* out = rowOf(target, targetStride, y);
        for (int i = 0; i < width * kChannels; ++i)
            out[i] = static_cast<uint8_t>((a[i] * (256 - weight) + b[i] * weight + 128) >> 8);
    }
    return 0;
}

int ARGBCopy(const uint8_t* source, int sourceStride, uint8_t* target, int targetStride, int width, int height) {
    CopyPlane(source, sourceStride, target, targetStride, width * kChannels, height);
    return 0;
}

void CopyPlane(const uint8_t* source, int sourceStride, uint8_t* target, int targetStride, int width, int height) {
    for (int y = 0; y < height; ++y)
        std::memcpy(rowOf(target, targetStride, y), rowOf(source, sourceStride, y), static_cast<size_t>(width));
}

int ARGBToRAW(const uint8_t* source, int sourceStride, uint8_t* target, int targetStride, int width, int height) {
    for (int y = 0; y < height; ++y) {
        const uint8_t* in = rowOf(source, sourceStride, y);
        uint8_t* out = rowOf(target, targetStride, y);
        for (int x = 0; x < width; ++x, in += kChannels, out += 3) std::reverse_copy(in, in + 3, out);
    }
    return 0;
}

int ARGBToI420(const uint8_t* source, int sourceStride, uint8_t* y, int yStride, uint8_t* u, int uStride, uint8_t* v,
               int vStride, int width, int height) {
    for (int row = 0; row < height; ++row) {
        const uint8_t* in = rowOf(source, sourceStride, row);
        uint8_t* out = rowOf(y, yStride, row);
        for (int x = 0; x < width; ++x, in += kChannels)
            out[x] = static_cast<uint8_t>((25 * in[0] + 129 * in[1] + 66 * in[2] + 0x1080) >> 8);
    }
    for (int row = 0; row < height; row += 2)
        for (int x = 0; x < width; x += 2) {
            const auto [blue, green, red, alpha] =
                meanOf(source, sourceStride, {x, std::min(x + 2, width)}, {row, std::min(row + 2, height)});
            rowOf(u, uStride, row / 2)[x / 2] =
                static_cast<uint8_t>((112 * blue - 74 * green - 38 * red + 0x8080) >> 8);
            rowOf(v, vStride, row / 2)[x / 2] =
                static_cast<uint8_t>((112 * red - 94 * green - 18 * blue + 0x8080) >> 8);
        }
    return 0;
}

}  // namespace libyuv
