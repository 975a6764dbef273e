// Icons: what a window carries, and what a desktop entry names. BGRA with colours multiplied by alpha.
#pragma once

#include <xcb/xcb.h>

#include <optional>
#include <string>

#include "ScreenCapture/platform/image.h"

namespace orvo::platform::x11 {

// _NET_WM_ICON with all its sizes, the largest as the picture's own bitmap; none when the window has none.
std::optional<Picture> iconOfWindow(xcb_window_t window);

// The icon of that name: a file's path, or a name looked up in the hicolor theme and the pixmaps folder.
std::optional<Picture> iconByName(const std::string& name);

}  // namespace orvo::platform::x11
