// Sets of pixels as lists of rectangles that do not overlap.
#pragma once

#include <vector>

#include "ScreenCapture/platform/values.h"

namespace orvo::platform::software {

using platform::intersection;
using platform::moved;

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

// Of layers from front to back: the part of each inside the bounds that nothing opaque of those before it covers.
std::vector<Region> visibleParts(const PixelRect& bounds, const std::vector<Region>& layers,
                                 const std::vector<Region>& opaque);

}  // namespace orvo::platform::software
