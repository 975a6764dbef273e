// Composition of windows over a rectangle, front to back with what is covered left out.
#include "ScreenCapture/platform/software/compose.h"

#include <cstring>

#include "ScreenCapture/platform/software/bitmap.h"

namespace orvo::platform::software {
namespace {

Region regionOf(const Layer& layer) {
    if (layer.shape.empty()) return Region(layer.bounds);
    Region region;
    for (const PixelRect& part : layer.shape)
        region.unite(
            intersection({layer.bounds.x + part.x, layer.bounds.y + part.y, part.width, part.height}, layer.bounds));
    return region;
}

}  // namespace

std::vector<Region> visibleParts(const PixelRect& bounds, const std::vector<Layer>& layers) {
    std::vector<Region> parts;
    parts.reserve(layers.size());
    Region open(bounds);
    for (const Layer& layer : layers) {
        const Region whole = regionOf(layer);
        parts.push_back(open.intersected(whole));
        open.subtract(whole);
    }
    return parts;
}

Ref<Image> compose(const PixelRect& bounds, const std::vector<Layer>& layers) {
    if (bounds.empty()) return nullptr;
    const Ref<MemoryBitmap> result =
        MemoryBitmap::make(bounds.width, bounds.height, static_cast<size_t>(bounds.width) * 4);
    if (!result) return nullptr;

    Region uncovered(bounds);
    const std::vector<Region> parts = visibleParts(bounds, layers);
    for (size_t i = 0; i < layers.size(); ++i) {
        const Layer& layer = layers[i];
        if (!layer.image || !layer.image->bytes()) continue;
        const PixelRect painted{layer.bounds.x, layer.bounds.y, layer.image->width(), layer.image->height()};
        const Region seen = parts[i].intersected(painted);
        for (const PixelRect& part : seen.rects()) {
            const uint8_t* from = layer.image->bytes() +
                                  static_cast<size_t>(part.y - painted.y) * layer.image->bytesPerRow() +
                                  static_cast<size_t>(part.x - painted.x) * 4;
            uint8_t* to = result->data() + static_cast<size_t>(part.y - bounds.y) * result->bytesPerRow() +
                          static_cast<size_t>(part.x - bounds.x) * 4;
            for (int row = 0; row < part.height; ++row) {
                std::memcpy(to, from, static_cast<size_t>(part.width) * 4);
                from += layer.image->bytesPerRow();
                to += result->bytesPerRow();
            }
            uncovered.subtract(part);
        }
    }
    for (const PixelRect& part : uncovered.rects())
        result->clear({part.x - bounds.x, part.y - bounds.y, part.width, part.height});
    return result;
}

}  // namespace orvo::platform::software
