// The frames of the device path on x11: a display as it shows, with the pointer.
#pragma once

#include <memory>

#include "ScreenCapture/platform/software/display_stream.h"

namespace orvo::platform::x11 {

// The root's rectangle that a crop (points, origin at the display's bottom-left corner) of a display means, cut to the
// display; the whole display for an empty crop. Empty when the two do not meet.
PixelRect captureArea(const PixelRect& display, const Rect& crop);

// Null with the reason when the server cannot be reached, or does not show the displays. A frame stays as it is while
// it is held outside; an unchanged scene gives the same frame again. The source is lost with the server's connection.
std::unique_ptr<software::DisplaySource> openDisplaySource(NoImage& why);

}  // namespace orvo::platform::x11
