// Pictures by the window server's image functions; none where the system has no such function. Callable from any
// thread.
#pragma once

#include <CoreGraphics/CoreGraphics.h>

#include <optional>
#include <vector>

#include "ScreenCapture/platform/image.h"

namespace orvo::platform::macos {

using MaybeShot = std::optional<Shot>;

// One window alone, whatever covers it, over its own rectangle.
MaybeShot imageOfWindow(CGWindowID window, CGWindowImageOption options);
// A rectangle (points, origin top-left) of the screen without desktop elements, frames not counted.
MaybeShot imageOfArea(CGRect area);
// The listed windows, frames and shadows included, over a rectangle (points, origin top-left).
MaybeShot imageOfWindows(CGRect bounds, const std::vector<uint32_t>& windows);
// A whole display.
MaybeShot imageOfDisplay(CGDirectDisplayID display);

// Whether nothing else has to be tried: a picture, or a refusal. Nothing but a null picture is no answer yet, since a
// function that is there may have lost its use.
bool isFinal(const MaybeShot& shot);

}  // namespace orvo::platform::macos
