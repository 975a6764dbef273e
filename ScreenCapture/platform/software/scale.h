// Scaling of 32-bit pixels in memory.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "ScreenCapture/platform/software/bitmap.h"
#include "ScreenCapture/platform/values.h"

namespace orvo::platform::software {

// 32-bit pixels, not owned, row 0 on top.
struct Pixels {
    uint8_t* bytes = nullptr;
    int width = 0;
    int height = 0;
    size_t bytesPerRow = 0;

    uint8_t* row(int y) const { return bytes + static_cast<size_t>(y) * bytesPerRow; }
    Pixels part(const PixelRect& area) const {
        return {bytes + static_cast<size_t>(area.y) * bytesPerRow + static_cast<size_t>(area.x) * 4, area.width,
                area.height, bytesPerRow};
    }
};

// How a source of one size is drawn scaled into a target of another, all of it or a part.
class Scaling {
  public:
    // placement: where the source goes, in pixels of the target, origin top-left. Its fractional edges go to the
    // nearest whole pixel, one thinner than a pixel still covers one; what lies outside the target is left out.
    Scaling(int sourceWidth, int sourceHeight, int targetWidth, int targetHeight, const Rect& placement);

    // The part of the target that is drawn.
    const PixelRect& covered() const { return covered_; }
    // The part of the target that a part of the source has an influence on.
    PixelRect affectedBy(const PixelRect& part) const;
    // Draws a part of what is covered, and perhaps a few pixels of it beside that: each as if all were drawn. False
    // when there is no memory.
    bool draw(const Pixels& source, const Pixels& target, PixelRect part) const;

  private:
    // Pixels of a level and their place in it.
    struct Piece {
        Ref<MemoryBitmap> memory;
        Pixels pixels;
        int x = 0;
        int y = 0;
        Pixels part(const PixelRect& area) const { return pixels.part(moved(area, -x, -y)); }
    };
    // The source made smaller by exact steps; level 0 is what is seen of the source.
    struct Level {
        int step = 1;
        int width = 0;
        int height = 0;
    };

    struct Weights;

    static PixelRect aligned(const PixelRect& part, int width);
    bool isExact() const { return levels_.back().width == width_ && levels_.back().height == height_; }
    bool reduce(const Pixels& seen, size_t level, const PixelRect& part, const Pixels& into) const;
    bool piece(const Pixels& seen, size_t level, const PixelRect& part, Piece& result) const;
    bool resample(const Pixels& seen, const Pixels& target, const PixelRect& part) const;

    PixelRect seen_;     // of the source
    PixelRect covered_;  // of the target
    int width_ = 0;      // what all of the seen part would cover
    int height_ = 0;
    int skipX_ = 0;  // how much of that lies before the target's edges
    int skipY_ = 0;
    std::vector<Level> levels_;
    std::shared_ptr<const Weights> weights_;  // of the last step; null when it is exact
};

// Sets every pixel of the target that is not in one rectangle to zero bytes. What lies behind the pixels of a row is
// zero already.
void clearOutside(const Pixels& target, const PixelRect& kept);

}  // namespace orvo::platform::software
