// Where a picture goes inside the output size.
#include "ScreenCapture/window/placement.h"

#include <algorithm>

using namespace orvo::platform;

Rect placementOf(uint32_t resolutionMode, Size output, Size source) {
    if (resolutionMode > 1) return {0, 0, output.width, output.height};
    const double across = output.width / source.width;
    const double down = output.height / source.height;
    const double scale = resolutionMode == 0 ? std::min(across, down) : std::max(across, down);
    const double width = scale * source.width;
    const double height = scale * source.height;
    return {(output.width - width) * 0.5, (output.height - height) * 0.5, width, height};
}
