// Sets of pixels as lists of rectangles that do not overlap.
#pragma once

#include <algorithm>
#include <vector>

#include "ScreenCapture/platform/values.h"

namespace orvo::platform::software {

// The part that two rectangles share; empty() when they share none.
inline PixelRect intersection(const PixelRect& a, const PixelRect& b) {
    const int x = std::max(a.x, b.x);
    const int y = std::max(a.y, b.y);
    return {x, y, std::min(a.x + a.width, b.x + b.width) - x, std::min(a.y + a.height, b.y + b.height) - y};
}

inline PixelRect moved(const PixelRect& rect, int dx, int dy) {
    return {rect.x + dx, rect.y + dy, rect.width, rect.height};
}

class Region {
  public:
    Region() = default;
    explicit Region(const PixelRect& area) { unite(area); }

    const std::vector<PixelRect>& rects() const { return rects_; }
    bool empty() const { return rects_.empty(); }
    void clear() { rects_.clear(); }

    void unite(PixelRect area);
    void unite(const Region& other);
    void subtract(PixelRect area);
    void subtract(const Region& other);
    void move(int dx, int dy);
    // What the two have in common.
    Region intersected(const PixelRect& area) const;
    Region intersected(const Region& other) const;

  private:
    std::vector<PixelRect> rects_;
};

// Of layers from front to back: the part of each inside the bounds that none before it covers.
std::vector<Region> visibleParts(const PixelRect& bounds, const std::vector<Region>& layers);

}  // namespace orvo::platform::software
