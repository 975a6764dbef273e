// The same pictures as window_pictures.h by ScreenCaptureKit, for systems whose window server has no image functions.
// 14.0 and later; each waits a bounded time for the system's answer, on the main thread too.
#pragma once

#include <CoreGraphics/CoreGraphics.h>

#include <vector>

#include "ScreenCapture/platform/image.h"

namespace orvo::platform::macos::screencapturekit {

Shot pictureOfWindow(CGWindowID window, CGWindowImageOption options);
Shot pictureOfArea(CGRect area);
Shot pictureOfWindows(CGRect bounds, const std::vector<uint32_t>& windows);
Shot pictureOfDisplay(CGDirectDisplayID display);

// A picture that shows a part (`place`) of an area as one of the whole area: what it does not show is four zero bytes a
// pixel. Both in points, global.
Shot pictureInArea(const Ref<Image>& image, CGRect place, CGRect area);

}  // namespace orvo::platform::macos::screencapturekit
