// Sets of pixels as lists of rectangles that do not overlap.
#include "ScreenCapture/platform/software/region.h"

#include <cstddef>

namespace orvo::platform::software {

void Region::unite(PixelRect area) {
    if (area.empty()) return;
    subtract(area);
    rects_.push_back(area);
}

void Region::unite(const Region& other) {
    for (const PixelRect& rect : other.rects_) unite(rect);
}

void Region::subtract(PixelRect area) {
    const size_t count = rects_.size();
    size_t kept = 0;
    for (size_t i = 0; i < count; ++i) {
        const PixelRect rect = rects_[i];
        const PixelRect hole = intersection(rect, area);
        if (hole.empty()) {
            rects_[kept++] = rect;
            continue;
        }
        const int right = rect.x + rect.width;
        const int bottom = rect.y + rect.height;
        const PixelRect pieces[] = {{rect.x, rect.y, rect.width, hole.y - rect.y},
                                    {rect.x, hole.y + hole.height, rect.width, bottom - hole.y - hole.height},
                                    {rect.x, hole.y, hole.x - rect.x, hole.height},
                                    {hole.x + hole.width, hole.y, right - hole.x - hole.width, hole.height}};
        for (const PixelRect& piece : pieces)
            if (!piece.empty()) rects_.push_back(piece);
    }
    rects_.erase(rects_.begin() + static_cast<ptrdiff_t>(kept), rects_.begin() + static_cast<ptrdiff_t>(count));
}

void Region::subtract(const Region& other) {
    for (const PixelRect& rect : other.rects_) subtract(rect);
}

void Region::move(int dx, int dy) {
    for (PixelRect& rect : rects_) rect = moved(rect, dx, dy);
}

Region Region::intersected(const PixelRect& area) const {
    Region result;
    for (const PixelRect& rect : rects_) {
        const PixelRect shared = intersection(rect, area);
        if (!shared.empty()) result.rects_.push_back(shared);
    }
    return result;
}

Region Region::intersected(const Region& other) const {
    Region result;
    for (const PixelRect& rect : other.rects_) {
        const Region part = intersected(rect);
        result.rects_.insert(result.rects_.end(), part.rects_.begin(), part.rects_.end());
    }
    return result;
}

std::vector<Region> visibleParts(const PixelRect& bounds, const std::vector<Region>& layers,
                                 const std::vector<Region>& opaque) {
    std::vector<Region> parts;
    parts.reserve(layers.size());
    Region open(bounds);
    for (size_t i = 0; i < layers.size(); ++i) {
        parts.push_back(open.intersected(layers[i]));
        open.subtract(opaque[i]);
    }
    return parts;
}

}  // namespace orvo::platform::software
