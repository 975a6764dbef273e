// Scaling of 32-bit pixels in memory: exact box steps while far above the target, then one weighted pass.
#include "ScreenCapture/platform/software/scale.h"

#include <libyuv.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <vector>

namespace orvo::platform::software {
namespace {

// A placement's edges count as this far away when they are farther: lengths and four times them still fit.
constexpr double kMaxDistance = 1 << 27;  // pixels

int nearestPixel(double place) {
    return truncated<int>(std::clamp(std::floor(place + 0.5), -kMaxDistance, kMaxDistance));
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

// One row of the target, before its columns are drawn together: the weighted average of source rows. top: the row of
// the source that the given pixels begin with.
void blendRows(const Pixels& source, int top, const Taps& rows, const Taps::Span& span, uint8_t* out) {
    const uint8_t* sum = source.row(span.first - top);
    uint32_t total = rows.weights[span.weights];
    for (int i = 1; i < span.count; ++i) {
        const uint32_t weight = rows.weights[span.weights + static_cast<size_t>(i)];
        if (weight == 0) continue;
        total += weight;
        libyuv::ARGBInterpolate(sum, 0, source.row(span.first + i - top), 0, out, 0, source.width, 1,
                                std::min(static_cast<int>(weight * 256 / total), 255));
        sum = out;
    }
    if (sum != out) std::memcpy(out, sum, static_cast<size_t>(source.width) * 4);
}

// Columns are blended by vectors of eight 16-bit lanes: two neighbouring pixels of four channels, one channel in each
// lane. The taps of a target pixel are taken in pairs, the lower four lanes multiplied by the first weight and the
// upper four by the second; the weights of a pixel sum up to 256, so that 255 times all of them fits into 16 bits. At
// the end the lower half of the sum is added to the upper, for two target pixels at once, and (sum + 128) >> 8 is the
// rounded mean. GCC and clang turn these types into the processor's instructions, on x86-64 and on ARM.
typedef uint8_t Bytes __attribute__((vector_size(16)));
typedef uint64_t Quads __attribute__((vector_size(16)));
typedef uint16_t Lanes __attribute__((vector_size(16)));
// One instruction in both spellings; g++ has the first since version 12.
#if __has_builtin(__builtin_shufflevector)
#define SHUFFLE(Vector, a, b, ...) __builtin_shufflevector(a, b, __VA_ARGS__)
#else
#define SHUFFLE(Vector, a, b, ...) __builtin_shuffle(a, b, Vector{__VA_ARGS__})
#endif

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
    return (Lanes)SHUFFLE(Bytes, bytes, Bytes{}, 0, 16, 1, 17, 2, 18, 3, 19, 4, 20, 5, 21, 6, 22, 7, 23) * weight;
}

inline Lanes sumOf(const uint8_t* in, const Lanes* weight, int pairs) {
    Lanes sum = weighted(in, *weight);
    for (int i = 1; i < pairs; ++i) sum += weighted(in + 8 * i, weight[i]);
    return sum;
}

// Two pixels' sums, each in two halves to add; the mean is in the upper byte of each lane.
inline Lanes rounded(const Lanes& a, const Lanes& b) {
    return (Lanes)SHUFFLE(Quads, (Quads)a, (Quads)b, 0, 2) + (Lanes)SHUFFLE(Quads, (Quads)a, (Quads)b, 1, 3) + 128;
}

// Four pixels from their sums.
inline Bytes packed(const Lanes (&sums)[4]) {
    const Lanes low = rounded(sums[0], sums[1]), high = rounded(sums[2], sums[3]);
    return SHUFFLE(Bytes, (Bytes)low, (Bytes)high, 1, 3, 5, 7, 9, 11, 13, 15, 17, 19, 21, 23, 25, 27, 29, 31);
}

// Draws count pixels from one on. row: begins with the column `left` of the source, and is as much longer than what is
// read as the pairs of the last pixel reach, with weight 0. Pairs: 0 for any number.
//
// ahead: two rows of the source, with the same columns, that are blended next. The server has just written them, so
// they come from another core's cache or from memory, and each begins where no earlier access lets the processor know
// that it follows. Asked for a little at a time between the pixels of this row they are there when their turn comes;
// asked for at once they would have this row wait.
template <int Pairs>
void blendColumns(const uint8_t* row, int left, const ColumnTaps& columns, int from, int count, uint8_t* out,
                  const uint8_t* const (&ahead)[2]) {
    const int pairs = Pairs ? Pairs : columns.pairs;
    const Lanes* weight = columns.weights.data() + static_cast<ptrdiff_t>(from) * pairs;
    const int* first = columns.first.data() + from;
    const int start = left * 4;
    const auto sum = [&](int i) {
        return sumOf(row + (first[i] - start), weight + static_cast<ptrdiff_t>(i) * pairs, pairs);
    };
    int i = 0;
    for (; i + 4 <= count; i += 4) {
        if (i % 8 == 0)
            for (const uint8_t* next : ahead) __builtin_prefetch(next + (first[i] - start));
        const Bytes four = packed({sum(i), sum(i + 1), sum(i + 2), sum(i + 3)});
        std::memcpy(out + i * 4, &four, 16);
    }
    Lanes rest[4] = {};
    for (int j = i; j < count; ++j) rest[j - i] = sum(j);
    const Bytes last = packed(rest);
    std::memcpy(out + i * 4, &last, static_cast<size_t>(count - i) * 4);
}

// From the first to behind the last pixel that some of a target's pixels are made from.
void readBy(const Taps& taps, int from, int count, int& first, int& length) {
    const Taps::Span& last = taps.spans[static_cast<size_t>(from + count - 1)];
    first = taps.spans[static_cast<size_t>(from)].first;
    length = last.first + last.count - first;
}

// Which of `length` pixels, made from sourceLength ones, are made from some of those between two edges; one more on
// either side makes up for rounding.
void affectedPixels(int sourceLength, int length, int& from, int& to) {
    const double ratio = static_cast<double>(length) / sourceLength;
    const int first = truncated<int>(std::floor((from - 1) * ratio)) - 1;
    const int end = truncated<int>(std::ceil((to + 1) * ratio)) + 1;
    from = std::clamp(first, 0, length);
    to = std::clamp(end, from, length);
}

PixelRect between(int left, int top, int right, int bottom) {
    return {left, top, right - left, bottom - top};
}

PixelRect times(const PixelRect& rect, int factor) {
    return {rect.x * factor, rect.y * factor, rect.width * factor, rect.height * factor};
}

}  // namespace

// Of the pixels that are covered: all of the whole may be more than there is memory for.
struct Scaling::Weights {
    Taps rows;
    Taps columns;
    ColumnTaps pairs;  // of the columns
};

Scaling::Scaling(int sourceWidth, int sourceHeight, int targetWidth, int targetHeight, const Rect& placement) {
    const Axis x = mapAxis(sourceWidth, targetWidth, placement.x, placement.width);
    const Axis y = mapAxis(sourceHeight, targetHeight, placement.y, placement.height);
    if (x.empty() || y.empty()) return;
    seen_ = between(x.sourceFrom, y.sourceFrom, x.sourceTo, y.sourceTo);
    width_ = x.targetTo - x.targetFrom;
    height_ = y.targetTo - y.targetFrom;
    covered_ = between(std::max(x.targetFrom, 0), std::max(y.targetFrom, 0), std::min(x.targetTo, targetWidth),
                       std::min(y.targetTo, targetHeight));
    skipX_ = covered_.x - x.targetFrom;
    skipY_ = covered_.y - y.targetFrom;
    for (Level level{1, seen_.width, seen_.height};; level.width /= level.step, level.height /= level.step) {
        if (!levels_.empty() && level.step == 1) break;
        levels_.push_back(level);
        // The library's exact kernels divide both axes alike. A step leaves out at most three columns or rows at the
        // far edges.
        level.step = std::min(boxStep(level.width, width_), boxStep(level.height, height_));
    }
    if (isExact()) return;
    auto weights = std::make_shared<Weights>();
    weights->rows = makeTaps(levels_.back().height, height_, skipY_, covered_.height);
    weights->columns = makeTaps(levels_.back().width, width_, skipX_, covered_.width);
    weights->pairs = paired(weights->columns);
    weights_ = std::move(weights);
}

PixelRect Scaling::affectedBy(const PixelRect& part) const {
    const PixelRect inside = intersection(part, seen_);
    if (inside.empty()) return {};
    int left = inside.x - seen_.x, right = left + inside.width;
    int top = inside.y - seen_.y, bottom = top + inside.height;
    int step = 1;
    for (const Level& level : levels_) step *= level.step;
    const Level& last = levels_.back();
    left = left / step, right = std::min((right + step - 1) / step, last.width);
    top = top / step, bottom = std::min((bottom + step - 1) / step, last.height);
    affectedPixels(last.width, width_, left, right);
    affectedPixels(last.height, height_, top, bottom);
    return intersection(moved(between(left, top, right, bottom), covered_.x - skipX_, covered_.y - skipY_), covered_);
}

bool Scaling::draw(const Pixels& source, const Pixels& target, PixelRect part) const {
    part = intersection(part, covered_);
    if (part.empty()) return true;
    const Pixels seen = source.part(seen_);
    const PixelRect place = moved(part, skipX_ - covered_.x, skipY_ - covered_.y);  // in the whole
    if (!isExact()) return resample(seen, target.part(part), moved(part, -covered_.x, -covered_.y));
    if (levels_.size() > 1) {
        const PixelRect wide = intersection(aligned(place, width_), {skipX_, skipY_, covered_.width, covered_.height});
        const Pixels into = target.part(moved(wide, covered_.x - skipX_, covered_.y - skipY_));
        return reduce(seen, levels_.size() - 1, wide, into);
    }
    const Pixels from = seen.part(place);
    const Pixels into = target.part(part);
    libyuv::ARGBCopy(from.bytes, static_cast<int>(from.bytesPerRow), into.bytes, static_cast<int>(into.bytesPerRow),
                     part.width, part.height);
    return true;
}

// The library's kernels take four pixels at a time and round what is left over at the end of a row in another way. A
// part gives the same pixels as the whole when it begins and ends where the whole has its groups of four.
PixelRect Scaling::aligned(const PixelRect& part, int width) {
    const int left = part.x & ~3;
    const int right = std::min((part.x + part.width + 3) & ~3, width);
    return between(left, part.y, right, part.y + part.height);
}

// Draws a part of a level that was aligned.
bool Scaling::reduce(const Pixels& seen, size_t level, const PixelRect& part, const Pixels& into) const {
    const PixelRect below = times(part, levels_[level].step);
    Piece source;
    if (!piece(seen, level - 1, below, source)) return false;
    halve(source.part(below), into, levels_[level].step);
    return true;
}

bool Scaling::piece(const Pixels& seen, size_t level, const PixelRect& part, Piece& result) const {
    if (level == 0) {
        result = {nullptr, seen, 0, 0};
        return true;
    }
    const PixelRect wide = aligned(part, levels_[level].width);
    result.memory = MemoryBitmap::make(wide.width, wide.height, static_cast<size_t>(wide.width) * 4);
    if (!result.memory) return false;
    result.pixels = {result.memory->data(), wide.width, wide.height, result.memory->bytesPerRow()};
    result.x = wide.x;
    result.y = wide.y;
    return reduce(seen, level, wide, result.pixels);
}

// The target: the pixels of the part, which is one of what is covered.
bool Scaling::resample(const Pixels& seen, const Pixels& target, const PixelRect& part) const {
    const Taps& rows = weights_->rows;
    const ColumnTaps& columns = weights_->pairs;
    PixelRect read;
    readBy(weights_->columns, part.x, part.width, read.x, read.width);
    readBy(rows, part.y, part.height, read.y, read.height);
    Piece middle;
    if (!piece(seen, levels_.size() - 1, read, middle)) return false;
    const Pixels source = middle.part(read);

    const auto blend = columns.pairs == 1 ? blendColumns<1> : columns.pairs == 2 ? blendColumns<2> : blendColumns<0>;
    const size_t pixels = static_cast<size_t>(source.width) + static_cast<size_t>(columns.pairs) * 2;
    std::vector<uint8_t> row(pixels * 4);
    for (int y = 0; y < target.height; ++y) {
        const int line = part.y + y;
        const Taps::Span& span = rows.spans[static_cast<size_t>(line)];
        const int next = span.first + span.count - read.y;
        const uint8_t* const ahead[] = {source.row(std::min(next, source.height - 1)),
                                        source.row(std::min(next + 1, source.height - 1))};
        blendRows(source, read.y, rows, span, row.data());
        blend(row.data(), read.x, columns, part.x, part.width, target.row(y), ahead);
    }
    return true;
}

void clearOutside(const Pixels& target, const PixelRect& kept) {
    const PixelRect inner = kept.empty() ? PixelRect{0, target.height, 0, 0} : kept;
    const size_t before = static_cast<size_t>(inner.x) * 4;
    const size_t end = static_cast<size_t>(inner.x + inner.width) * 4;
    std::memset(target.bytes, 0, static_cast<size_t>(inner.y) * target.bytesPerRow);
    for (int row = inner.y; row < inner.y + inner.height; ++row) {
        uint8_t* line = target.bytes + static_cast<size_t>(row) * target.bytesPerRow;
        std::memset(line, 0, before);
        std::memset(line + end, 0, static_cast<size_t>(target.width) * 4 - end);
    }
    const int below = inner.y + inner.height;
    std::memset(target.bytes + static_cast<size_t>(below) * target.bytesPerRow, 0,
                static_cast<size_t>(target.height - below) * target.bytesPerRow);
}

}  // namespace orvo::platform::software
