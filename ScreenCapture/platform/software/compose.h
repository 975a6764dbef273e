// Composition of windows over a rectangle: which parts of each are seen, and their pixels in one image.
#pragma once

#include <vector>

#include "ScreenCapture/platform/image.h"
#include "ScreenCapture/platform/software/region.h"

namespace orvo::platform::software {

// One window to compose; its coordinates are those of the composition's bounds.
struct Layer {
    PixelRect bounds;
    std::vector<PixelRect> shape;  // what of the bounds the window consists of, relative to them; empty: all
    Ref<Image> image;              // its pixels, the top left of the bounds first; null: it only covers
};

// For each layer (front to back) the parts inside the bounds that no layer before it covers. Areas without a layer are
// in none.
std::vector<Region> visibleParts(const PixelRect& bounds, const std::vector<Layer>& layers);

// The layers over the bounds, front to back, each pixel fetched once. Pixels without a layer, shaped away, or of a
// layer whose image does not reach there are four zero bytes. Null for empty bounds.
Ref<Image> compose(const PixelRect& bounds, const std::vector<Layer>& layers);

}  // namespace orvo::platform::software
