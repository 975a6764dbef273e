// What of a picture differs from the one before: how it travels from whoever makes pictures to the host.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <utility>

#include "ScreenCapture/platform/image.h"

namespace orvo::platform {

// Rectangles (pixels of the picture, origin top-left) outside of which nothing differs. A few of them: when there are
// more, one that encloses all stands for them. Allocates nothing.
class Changes {
  public:
    static constexpr size_t kMaxRects = 16;

    Changes() = default;  // anything may differ
    static Changes nothing() {
        Changes changes;
        changes.isKnown_ = true;
        return changes;
    }

    bool isKnown() const { return isKnown_; }  // else anything may differ, and there are no rectangles
    size_t size() const { return count_; }
    const PixelRect* begin() const { return rects_.data(); }
    const PixelRect* end() const { return rects_.data() + count_; }
    bool operator==(const Changes& other) const {
        return isKnown_ == other.isKnown_ && std::equal(begin(), end(), other.begin(), other.end());
    }

    void add(const PixelRect& rect) {
        if (!isKnown_ || rect.empty() || std::find(begin(), end(), rect) != end()) return;
        if (count_ == kMaxRects) {
            rects_[0] = bounds();
            count_ = 1;
        }
        rects_[count_++] = rect;
    }
    void add(const Changes& other) {
        if (!other.isKnown_) *this = Changes();
        for (const PixelRect& rect : other) add(rect);
    }
    PixelRect bounds() const {
        PixelRect box = count_ > 0 ? rects_[0] : PixelRect();
        for (const PixelRect& rect : *this) {
            const int right = std::max(box.x + box.width, rect.x + rect.width);
            const int bottom = std::max(box.y + box.height, rect.y + rect.height);
            box.x = std::min(box.x, rect.x);
            box.y = std::min(box.y, rect.y);
            box.width = right - box.x;
            box.height = bottom - box.y;
        }
        return box;
    }

  private:
    bool isKnown_ = false;
    size_t count_ = 0;
    std::array<PixelRect, kMaxRects> rects_{};
};

// Follows the pictures of one target, whoever makes them. For one thread.
class ChangeFollower {
  public:
    // What of the picture differs from the one of the call before, but for what was painted on the two.
    Changes next(const Image& image) {
        const uint64_t before = std::exchange(version_, image.version());
        if (before == 0 || version_ == 0) return {};
        Changes changes = Changes::nothing();
        if (version_ == before) return changes;
        if (!image.changed() || image.changedSince() != before) return {};
        for (const PixelRect& rect : *image.changed()) changes.add(rect);
        return changes;
    }

  private:
    uint64_t version_ = 0;  // of the last picture; 0: unknown
};

}  // namespace orvo::platform
