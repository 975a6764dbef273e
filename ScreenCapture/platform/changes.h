// What of a picture differs from the one before: how it travels from whoever makes pictures to the host.
#pragma once

#include <cstdint>
#include <optional>
#include <utility>
#include <vector>

#include "ScreenCapture/platform/image.h"

namespace orvo::platform {

// Rectangles (pixels of the picture, origin top-left) outside of which nothing differs; none at all when nothing does,
// nullopt when everything may.
using Changes = std::optional<std::vector<PixelRect>>;

// How many rectangles are worth telling apart; beyond that their bounding box stands for all.
constexpr size_t kMaxChanges = 16;

inline PixelRect boundsOf(const std::vector<PixelRect>& rects) {
    if (rects.empty()) return {};
    PixelRect box = rects.front();
    for (const PixelRect& rect : rects) {
        const int right = std::max(box.x + box.width, rect.x + rect.width);
        const int bottom = std::max(box.y + box.height, rect.y + rect.height);
        box.x = std::min(box.x, rect.x);
        box.y = std::min(box.y, rect.y);
        box.width = right - box.x;
        box.height = bottom - box.y;
    }
    return box;
}

inline void addChange(Changes& changes, const PixelRect& rect) {
    if (!changes || rect.empty() || contains(*changes, rect)) return;
    changes->push_back(rect);
    if (changes->size() > kMaxChanges) changes->assign(1, boundsOf(*changes));
}

inline void addChanges(Changes& changes, const Changes& more) {
    if (!more) changes.reset();
    if (!changes) return;
    for (const PixelRect& rect : *more) addChange(changes, rect);
}

// Follows the pictures of one target, whoever makes them. For one thread.
class ChangeFollower {
  public:
    // What of the picture differs from the one of the call before, but for what was painted on the two.
    Changes next(const Image& image) {
        const uint64_t before = std::exchange(version_, image.version());
        if (before == 0 || version_ == 0) return std::nullopt;
        if (version_ == before) return Changes(std::in_place);
        if (!image.changed() || image.changedSince() != before) return std::nullopt;
        Changes changes(std::in_place);
        for (const PixelRect& rect : *image.changed()) addChange(changes, rect);
        return changes;
    }
    uint64_t version() const { return version_; }

  private:
    uint64_t version_ = 0;  // of the last picture; 0: unknown
};

}  // namespace orvo::platform
