// One picture of a display for a picker.
#pragma once

#include "ScreenCapture/platform/image.h"
#include "ScreenCapture/platform/x11/connection.h"

namespace orvo::platform::x11 {

// The area of the root window now, opaque, halved as often as that leaves the width at least needed. The server halves
// it: memory to share comes at its price, which is paid for each page that is touched first, here and there.
Shot pictureOfDisplay(Connection& x, const PixelRect& area, int neededWidth);

}  // namespace orvo::platform::x11
