// Orders to windows, the way a window manager expects them. Messages raise no error: what matters is looked at again.
#pragma once

#include <xcb/xcb.h>

#include <cstdint>
#include <functional>

namespace orvo::platform::x11 {

struct WindowList;

// Looks at the windows again and again until the condition holds; false when it does not within 200 ms. A manager that
// has just let that time pass gets only 20 ms, so that a call with several orders does not wait for each.
bool awaitWindows(const std::function<bool(const WindowList&)>& condition);

// Brings a window to the front and gives it, or the modal dialog that keeps the focus from it, the focus; false when
// that has not happened in time.
bool activateWindow(xcb_window_t window);
// The same with the window of a process that had the focus last; nothing is done where one has it.
bool activateProcess(int32_t pid);
// Asks for the rest; false when the order could not be sent, or there is no manager to take it.
bool raiseWindow(xcb_window_t window);
bool minimizeWindow(xcb_window_t window);
bool restoreWindow(xcb_window_t window);
bool setFullScreen(xcb_window_t window, bool fullScreen);
bool askToClose(xcb_window_t window);

}  // namespace orvo::platform::x11
