// Orders to windows, the way a window manager expects them. Messages raise no error: what comes of them shows in the
// snapshots.
#pragma once

#include <xcb/xcb.h>

#include <cstdint>
#include <functional>

#include "ScreenCapture/platform/x11/server.h"
#include "ScreenCapture/platform/x11/window_list.h"

namespace orvo::platform::x11 {

// Waits until the windows are as the condition wants them, event by event; false when they are not within 200 ms. A
// manager that has just let that time pass gets only 20 ms, so that a call with several orders does not wait for each.
bool awaitWindows(const std::function<bool(const WindowList&)>& condition);

// Brings a window to the front and gives it, or the modal dialog that keeps the focus from it, the focus; false when
// that has not happened in time.
bool activateWindow(xcb_window_t window);
// The same with the window of a process that had the focus last; nothing is done where one has it.
bool activateProcess(int32_t pid);

// Orders on the desktop server, sent when they return; false when there is no server. Minimising needs a manager.
bool raiseWindow(const Server::Use& x, xcb_window_t window);
bool minimizeWindow(const Server::Use& x, xcb_window_t window);
bool restoreWindow(const Server::Use& x, xcb_window_t window);
bool setFullScreen(const Server::Use& x, xcb_window_t window, bool fullScreen);
bool requestClose(const Server::Use& x, xcb_window_t window);

}  // namespace orvo::platform::x11
