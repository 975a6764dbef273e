// Orders to windows, the way a window manager expects them. Messages raise no error: what matters is looked at again.
#pragma once

#include <xcb/xcb.h>

#include <functional>

namespace orvo::platform::x11 {

struct WindowList;

// Looks at the windows again and again until the condition holds; false when it does not within 200 ms.
bool awaitWindows(const std::function<bool(const WindowList&)>& condition);

// Brings a window to the front and gives it the focus; false when that has not happened within 200 ms.
bool activateWindow(xcb_window_t window);
// Asks for the rest; false when the order could not be sent.
bool raiseWindow(xcb_window_t window);
bool iconifyWindow(xcb_window_t window);
bool restoreWindow(xcb_window_t window);
bool setFullScreen(xcb_window_t window, bool fullScreen);
bool askToClose(xcb_window_t window);

}  // namespace orvo::platform::x11
