// Applications hidden as a whole: all their windows minimised here, and exactly those brought back.
#pragma once

#include <chrono>
#include <cstdint>
#include <vector>

#include "ScreenCapture/platform/x11/windows.h"

namespace orvo::platform::x11 {

// False when there was nothing to hide or show, no window manager runs that could do it, or it has not happened within
// 200 ms; it may still happen then. Any thread but the desktop's own.
bool hideApplication(int32_t pid);
bool showApplication(int32_t pid);

// For the desktop's snapshots. An application is hidden from the order on. It ends when one of its windows shows again
// after all were gone, when it shows another window, or when the manager has not followed for two seconds. until: when
// the answer may be another although the windows are the same.
std::vector<int32_t> hiddenApplications(const WindowList& windows, std::chrono::steady_clock::time_point& until);
// Whether there were orders since the last such question.
bool takeHidingOrders();

}  // namespace orvo::platform::x11
