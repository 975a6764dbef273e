// Pictures of windows and displays. Callable from any thread.
#pragma once

#include <CoreGraphics/CoreGraphics.h>

#include <vector>

#include "ScreenCapture/platform/image.h"

namespace orvo::platform::macos {

// One window alone, whatever covers it, over its own rectangle.
Shot pictureOfWindow(CGWindowID window, CGWindowImageOption options);
// A rectangle (points, origin top-left) of the screen without desktop elements, frames not counted.
Shot pictureOfArea(CGRect area);
// The listed windows, frames and shadows included, over a rectangle (points, origin top-left).
Shot pictureOfWindows(CGRect bounds, const std::vector<uint32_t>& windows);
// A whole display.
Shot pictureOfDisplay(CGDirectDisplayID display);

}  // namespace orvo::platform::macos
