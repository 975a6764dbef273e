// Applications hidden as a whole: all their windows iconified here, and exactly those brought back. Any thread.
#pragma once

#include <cstdint>

#include "ScreenCapture/platform/x11/windows.h"

namespace orvo::platform::x11 {

// False when there was nothing to hide or show, or it has not happened within 200 ms.
bool hideApplication(int32_t pid);
bool showApplication(int32_t pid);
// Hidden here, and all those windows that still exist are iconic.
bool isHiddenApplication(const WindowList& windows, int32_t pid);

}  // namespace orvo::platform::x11
