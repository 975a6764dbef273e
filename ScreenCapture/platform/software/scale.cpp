// Scaling of 32-bit pixels in memory: exact box steps while far above the target, then one weighted pass.
#include "ScreenCapture/platform/software/scale.h"

#include <libyuv/planar_functions.h>
#include <libyuv/scale_argb.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <vector>

#include "ScreenCapture/platform/software/bitmap.h"

namespace orvo::platform::software {
namespace {

// A placement's edges count as this far away when they are farther: lengths and four times them still fit.
constexpr double kFarthest = 1 << 27;  // pixels

int nearestPixel(double place) {
    return truncated<int>(std::clamp(std::floor(place + 0.5), -kFarthest, kFarthest));
}

// One axis of a placement: which source pixels are seen at all, and which target pixels all of those would cover.
struct Axis {
    int sourceFrom = 0;
    int sourceTo = 0;
    int targetFrom = 0;
    int targetTo = 0;
    bool empty() const { return sourceTo <= sourceFrom; }
};

Axis mapAxis(int sourceLength, int targetLength, double origin, double length) {
    // Written so that not-a-number counts as unseen.
    if (!(length > 0 && std::isfinite(length) && origin < targetLength && origin + length > 0)) return {};
    const double scale = length / sourceLength;
    Axis axis;
    axis.sourceFrom = std::clamp(truncated<int>(std::floor(-origin / scale)), 0, sourceLength - 1);
    axis.sourceTo =
        std::clamp(truncated<int>(std::ceil((targetLength - origin) / scale)), axis.sourceFrom + 1, sourceLength);
    const double low = origin + axis.sourceFrom * scale;
    axis.targetFrom = nearestPixel(low);
    axis.targetTo = nearestPixel(origin + axis.sourceTo * scale);
    if (axis.targetTo <= std::max(axis.targetFrom, 0) || axis.targetFrom >= targetLength) {
        axis.targetFrom = std::clamp(truncated<int>(std::floor(low)), 0, targetLength - 1);
        axis.targetTo = axis.targetFrom + 1;
    }
    return axis;
}

// By how much one box step may divide a length: an exact fit, or the rest is left to the weighted pass.
int boxStep(int length, int target) {
    for (const int step : {4, 2})
        if (length == step * target || length / step >= 2 * target) return step;
    return 1;
}

void halve(const Pixels& source, const Pixels& target, int step) {
    libyuv::ARGBScale(source.bytes, static_cast<int>(source.bytesPerRow), target.width * step, target.height * step,
                      target.bytes, static_cast<int>(target.bytesPerRow), target.width, target.height,
                      libyuv::kFilterBox);
}

// The source made smaller by exact steps. At most three columns or rows at the far edges are left out by a step. Null
// when there is nothing to do or no memory.
Ref<MemoryBitmap> reduced(Pixels source, int targetWidth, int targetHeight) {
    Ref<MemoryBitmap> result;
    for (;;) {
        // The library's exact kernels divide both axes alike.
        const int step = std::min(boxStep(source.width, targetWidth), boxStep(source.height, targetHeight));
        if (step == 1) return result;
        const int width = source.width / step;
        const int height = source.height / step;
        Ref<MemoryBitmap> next = MemoryBitmap::make(width, height, static_cast<size_t>(width) * 4);
        if (!next) return result;
        halve(source, {next->data(), width, height, next->bytesPerRow()}, step);
        source = {next->data(), width, height, next->bytesPerRow()};
        result = std::move(next);
    }
}

// Where the pixels of one axis come from: neighbours in the source with weights that sum to 256.
struct Taps {
    struct Span {
        int first;
        int count;
        size_t weights;
    };
    std::vector<Span> spans;
    std::vector<uint32_t> weights;
};

// Smaller: each pixel is the average of what it covers; larger: it lies between its two neighbours. Both keep an even
// colour exactly, which the library's own bilinear scaler does not (0xFF becomes 0xFD).
Taps makeTaps(int sourceLength, int targetLength, int from, int count) {
    Taps taps;
    const double ratio = static_cast<double>(sourceLength) / targetLength;
    for (int i = from; i < from + count; ++i) {
        const double reach = std::max(ratio, 1.0);
        const double low = ratio >= 1 ? i * ratio : std::clamp((i + 0.5) * ratio - 0.5, 0.0, sourceLength - 1.0);
        const int first = std::min(static_cast<int>(low), sourceLength - 1);
        Taps::Span span{first, 0, taps.weights.size()};
        for (int done = 0; done < 256; ++span.count) {
            const int next = first + span.count + 1;
            const double part = (next - low) / reach;
            const int upTo = next == sourceLength ? 256 : std::clamp(static_cast<int>(part * 256 + 0.5), done, 256);
            taps.weights.push_back(static_cast<uint32_t>(upTo - done));
            done = upTo;
        }
        taps.spans.push_back(span);
    }
    return taps;
}

// One row of the target, before its columns are drawn together: the weighted average of source rows.
void blendRows(const Pixels& source, const Taps& rows, const Taps::Span& span, uint8_t* out) {
    const uint8_t* sum = source.row(span.first);
    uint32_t total = rows.weights[span.weights];
    for (int i = 1; i < span.count; ++i) {
        const uint32_t weight = rows.weights[span.weights + static_cast<size_t>(i)];
        if (weight == 0) continue;
        total += weight;
        libyuv::ARGBInterpolate(sum, 0, source.row(span.first + i), 0, out, 0, source.width, 1,
                                std::min(static_cast<int>(weight * 256 / total), 255));
        sum = out;
    }
    if (sum != out) std::memcpy(out, sum, static_cast<size_t>(source.width) * 4);
}

// Two neighbouring pixels at a time, a channel in each lane: 255 times the full weight still fits.
typedef uint8_t Bytes __attribute__((vector_size(16)));
typedef uint8_t EightBytes __attribute__((vector_size(8)));
typedef uint64_t Quads __attribute__((vector_size(16)));
typedef uint16_t Lanes __attribute__((vector_size(16)));

// Every pixel has as many pairs, some with weight 0: then they need no loop of their own.
struct ColumnTaps {
    int pairs = 1;
    std::vector<int> first;      // byte offsets into the row
    std::vector<Lanes> weights;  // of all pixels' pairs, one after the other
};

ColumnTaps paired(const Taps& taps) {
    ColumnTaps result;
    for (const Taps::Span& span : taps.spans) result.pairs = std::max(result.pairs, (span.count + 1) / 2);
    for (const Taps::Span& span : taps.spans) {
        const auto weight = [&](int i) {
            return i < span.count ? static_cast<uint16_t>(taps.weights[span.weights + static_cast<size_t>(i)])
                                  : uint16_t{0};
        };
        for (int i = 0; i < 2 * result.pairs; i += 2) {
            const uint16_t a = weight(i), b = weight(i + 1);
            result.weights.push_back(Lanes{a, a, a, a, b, b, b, b});
        }
        result.first.push_back(span.first * 4);
    }
    return result;
}

inline Lanes weighted(const uint8_t* twoPixels, const Lanes& weight) {
    uint64_t both;
    std::memcpy(&both, twoPixels, 8);
    const Bytes bytes = (Bytes)Quads{both, 0};
    // Each byte widened to a lane.
    return (Lanes)__builtin_shufflevector(bytes, Bytes{}, 0, 16, 1, 17, 2, 18, 3, 19, 4, 20, 5, 21, 6, 22, 7, 23) *
           weight;
}

inline Lanes sumOf(const uint8_t* in, const Lanes* weight, int pairs) {
    Lanes sum = weighted(in, *weight);
    for (int i = 1; i < pairs; ++i) sum += weighted(in + 8 * i, weight[i]);
    return sum;
}

// Two pixels' sums, each in two halves to add, as two pixels.
inline uint64_t rounded(const Lanes& a, const Lanes& b) {
    const Lanes sum = (Lanes)__builtin_shufflevector((Quads)a, (Quads)b, 0, 2) +
                      (Lanes)__builtin_shufflevector((Quads)a, (Quads)b, 1, 3);
    const EightBytes packed = __builtin_convertvector((sum + 128) >> 8, EightBytes);
    uint64_t result;
    std::memcpy(&result, &packed, 8);
    return result;
}

// row: as much longer than the source as the pairs of its last pixel reach, with weight 0. Pairs: 0 for any number.
template <int Pairs>
void blendColumns(const uint8_t* row, const ColumnTaps& columns, uint8_t* out) {
    const int pairs = Pairs ? Pairs : columns.pairs;
    const Lanes* weight = columns.weights.data();
    const int* first = columns.first.data();
    const size_t count = columns.first.size();
    size_t i = 0;
    for (; i + 1 < count; i += 2, out += 8, weight += 2 * pairs) {
        const uint64_t two =
            rounded(sumOf(row + first[i], weight, pairs), sumOf(row + first[i + 1], weight + pairs, pairs));
        std::memcpy(out, &two, 8);
    }
    if (i < count) {
        const uint64_t one = rounded(sumOf(row + first[i], weight, pairs), Lanes{});
        std::memcpy(out, &one, 4);
    }
}

// The target: a part of a whole of width x height pixels, at the offset (skipX, skipY) inside it.
void resample(const Pixels& source, const Pixels& target, int width, int height, int skipX, int skipY) {
    const ColumnTaps columns = paired(makeTaps(source.width, width, skipX, target.width));
    const Taps rows = makeTaps(source.height, height, skipY, target.height);
    const auto blend = columns.pairs == 1 ? blendColumns<1> : columns.pairs == 2 ? blendColumns<2> : blendColumns<0>;
    std::vector<uint8_t> row(static_cast<size_t>(source.width + 2 * columns.pairs) * 4);
    for (int y = 0; y < target.height; ++y) {
        blendRows(source, rows, rows.spans[static_cast<size_t>(y)], row.data());
        blend(row.data(), columns, target.row(y));
    }
}

}  // namespace

PixelRect drawScaled(const Pixels& source, const Pixels& target, const Rect& placement) {
    const Axis x = mapAxis(source.width, target.width, placement.x, placement.width);
    const Axis y = mapAxis(source.height, target.height, placement.y, placement.height);
    if (x.empty() || y.empty()) return {};

    Pixels seen = source.part({x.sourceFrom, y.sourceFrom, x.sourceTo - x.sourceFrom, y.sourceTo - y.sourceFrom});
    const int width = x.targetTo - x.targetFrom;
    const int height = y.targetTo - y.targetFrom;
    PixelRect covered{std::max(x.targetFrom, 0), std::max(y.targetFrom, 0), 0, 0};
    covered.width = std::min(x.targetTo, target.width) - covered.x;
    covered.height = std::min(y.targetTo, target.height) - covered.y;
    const Pixels into = target.part(covered);
    const bool whole = covered.width == width && covered.height == height;
    // An exact half or quarter goes straight into the target.
    for (const int step : {2, 4})
        if (whole && seen.width == step * width && seen.height == step * height) {
            halve(seen, into, step);
            return covered;
        }

    const Ref<MemoryBitmap> smaller = reduced(seen, width, height);
    if (smaller) seen = {smaller->data(), smaller->width(), smaller->height(), smaller->bytesPerRow()};
    const int skipX = covered.x - x.targetFrom;
    const int skipY = covered.y - y.targetFrom;
    if (seen.width == width && seen.height == height) {
        const Pixels same = seen.part({skipX, skipY, covered.width, covered.height});
        libyuv::ARGBCopy(same.bytes, static_cast<int>(same.bytesPerRow), into.bytes, static_cast<int>(into.bytesPerRow),
                         covered.width, covered.height);
    } else {
        resample(seen, into, width, height, skipX, skipY);
    }
    return covered;
}

void clearOutside(const Pixels& target, const PixelRect& kept) {
    const PixelRect inner = kept.empty() ? PixelRect{0, target.height, 0, 0} : kept;
    const size_t before = static_cast<size_t>(inner.x) * 4;
    const size_t behind = static_cast<size_t>(inner.x + inner.width) * 4;
    std::memset(target.bytes, 0, static_cast<size_t>(inner.y) * target.bytesPerRow);
    for (int row = inner.y; row < inner.y + inner.height; ++row) {
        uint8_t* line = target.bytes + static_cast<size_t>(row) * target.bytesPerRow;
        std::memset(line, 0, before);
        std::memset(line + behind, 0, static_cast<size_t>(target.width) * 4 - behind);
    }
    const int below = inner.y + inner.height;
    std::memset(target.bytes + static_cast<size_t>(below) * target.bytesPerRow, 0,
                static_cast<size_t>(target.height - below) * target.bytesPerRow);
}

}  // namespace orvo::platform::software
