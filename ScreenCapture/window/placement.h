// Where a picture goes inside the output size.
#pragma once

#include <cstdint>

#include "ScreenCapture/platform/values.h"

// Mode 0 fits the source into the output and centres it, 1 fills the output and centres what overflows, any other
// stretches. All in pixels; the origin is the output's corner, negative where the source overflows.
orvo::platform::Rect placementOf(uint32_t resolutionMode, orvo::platform::Size output, orvo::platform::Size source);
