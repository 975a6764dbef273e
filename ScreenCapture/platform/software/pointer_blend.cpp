// The pointer as the device path shows it.
#include "ScreenCapture/platform/software/pointer_blend.h"

#include <cmath>

#include "ScreenCapture/platform/software/region.h"

namespace orvo::platform::software {
namespace {

constexpr int kRingRadius = 16;  // pixels, to the middle of the stroke
constexpr int kRingStroke = 4;   // half of it black, outside, the other white

// source over an opaque target, one pixel; the products are rounded to the nearest.
uint32_t over(uint32_t source, uint32_t target) {
    const uint32_t share = 255 - (source >> 24);
    uint32_t result = 0;
    for (int shift = 0; shift < 32; shift += 8) {
        const uint32_t product = ((target >> shift) & 0xFF) * share + 127;
        const uint32_t sum = ((source >> shift) & 0xFF) + product / 255;
        result |= (sum > 255 ? 255 : sum) << shift;
    }
    return result;
}

// How much of a pixel at a distance from the centre a circle of a radius covers, 0 to 1.
double coverage(double distance, double radius) {
    return std::fmin(1, std::fmax(0, radius - distance + 0.5));
}

}  // namespace

Ref<MemoryBitmap> makeClickRing() {
    constexpr int kReach = kRingRadius + kRingStroke;
    constexpr int kSide = 2 * kReach + 1;
    auto ring = MemoryBitmap::make(kSide, kSide, size_t{kSide} * 4);
    if (!ring) return nullptr;
    auto* pixel = reinterpret_cast<uint32_t*>(ring->data());
    for (int y = -kReach; y <= kReach; y++)
        for (int x = -kReach; x <= kReach; x++) {
            const double distance = std::hypot(x, y);
            const double outer = coverage(distance, kRingRadius + kRingStroke / 2.0);
            const double middle = coverage(distance, kRingRadius);
            const double inner = coverage(distance, kRingRadius - kRingStroke / 2.0);
            const auto alpha = static_cast<uint32_t>(std::lround((outer - inner) * 255));
            const auto white = static_cast<uint32_t>(std::lround((middle - inner) * 255));
            *pixel++ = alpha << 24 | white << 16 | white << 8 | white;
        }
    return ring;
}

void blend(Frame& frame, const Image& picture, int left, int top) {
    const PixelRect area =
        intersection({left, top, picture.width(), picture.height()}, {0, 0, frame.width(), frame.height()});
    if (area.empty()) return;
    uint8_t* bytes = frame.paint(area);
    for (int line = area.y; line < area.y + area.height; line++) {
        const uint8_t* const row = picture.bytes() + static_cast<size_t>(line - top) * picture.bytesPerRow();
        const auto* source = reinterpret_cast<const uint32_t*>(row) + (area.x - left);
        auto* target = reinterpret_cast<uint32_t*>(bytes + static_cast<size_t>(line) * frame.bytesPerRow()) + area.x;
        for (int i = 0; i < area.width; i++)
            if (source[i] != 0) target[i] = over(source[i], target[i]);
    }
}

}  // namespace orvo::platform::software
