// Plain values of the port: points, sizes, rectangles, and the one way doubles become integers.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <type_traits>
#include <vector>

namespace orvo::platform {

struct Point {
    double x = 0;
    double y = 0;
    bool operator==(const Point&) const = default;
};

struct Size {
    double width = 0;
    double height = 0;
    bool operator==(const Size&) const = default;
};

// The origin's corner and the unit are said where a rectangle is declared.
struct Rect {
    double x = 0;
    double y = 0;
    double width = 0;
    double height = 0;
    bool operator==(const Rect&) const = default;

    Size size() const { return {width, height}; }
    Point origin() const { return {x, y}; }
};

// A rectangle of whole pixels inside an image, origin top-left.
struct PixelRect {
    int x = 0;
    int y = 0;
    int width = 0;
    int height = 0;
    bool operator==(const PixelRect&) const = default;

    bool empty() const { return width <= 0 || height <= 0; }
};

// Truncates toward zero; what does not fit becomes the nearest limit, not-a-number becomes 0.
template <typename Integer>
constexpr Integer truncated(double value) {
    using Limits = std::numeric_limits<Integer>;
    if (value != value) return 0;
    // The upper limit as a double may be one above the type's maximum, hence the >=.
    if (value >= static_cast<double>(Limits::max())) return Limits::max();
    if (value <= static_cast<double>(Limits::min())) return Limits::min();
    return static_cast<Integer>(value);
}

// The sum of two 32-bit numbers as the boundary describes it: it wraps.
constexpr int32_t wrappingSum(int32_t a, int32_t b) {
    return static_cast<int32_t>(static_cast<uint32_t>(a) + static_cast<uint32_t>(b));
}

// The whole pixels that a rectangle touches, as far as they lie inside a size; empty when there are none.
inline PixelRect touchedPixels(const Rect& area, int width, int height) {
    const auto span = [](double origin, double length, int limit, int& from, int& count) {
        const double low = std::min(origin, origin + length);
        const double high = std::max(origin, origin + length);
        from = std::clamp(truncated<int>(std::floor(low)), 0, limit);
        count = high > low ? std::clamp(truncated<int>(std::ceil(high)), from, limit) - from : 0;
    };
    PixelRect touched;
    span(area.x, area.width, width, touched.x, touched.width);
    span(area.y, area.height, height, touched.y, touched.height);
    return touched;
}

// The part that two rectangles share; empty() when they share none.
inline PixelRect intersection(const PixelRect& a, const PixelRect& b) {
    const int x = std::max(a.x, b.x);
    const int y = std::max(a.y, b.y);
    return {x, y, std::min(a.x + a.width, b.x + b.width) - x, std::min(a.y + a.height, b.y + b.height) - y};
}

inline PixelRect moved(const PixelRect& area, int dx, int dy) {
    return {area.x + dx, area.y + dy, area.width, area.height};
}

template <typename Number>
bool contains(const std::vector<Number>& numbers, std::type_identity_t<Number> number) {
    return std::find(numbers.begin(), numbers.end(), number) != numbers.end();
}

}  // namespace orvo::platform
