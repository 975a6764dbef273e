// The same pictures as window_pictures.h by ScreenCaptureKit, for systems whose window server has no image functions.
// 14.0 and later; each waits a bounded time for the system's answer, so none of them answers on the main thread.
#pragma once

#include <CoreGraphics/CoreGraphics.h>

#include <vector>

#include "ScreenCapture/platform/image.h"

namespace orvo::platform::macos::screencapturekit {

Shot pictureOfWindow(CGWindowID window, CGWindowImageOption options);
Shot pictureOfArea(CGRect area);
Shot pictureOfWindows(CGRect bounds, const std::vector<uint32_t>& windows);
Shot pictureOfDisplay(CGDirectDisplayID display);

}  // namespace orvo::platform::macos::screencapturekit
