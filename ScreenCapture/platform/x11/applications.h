// Applications: the windows of a process, the names it goes by, and hiding it as a whole. Callable from any thread but
// where it is said.
#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "ScreenCapture/platform/linux/desktop_entries.h"
#include "ScreenCapture/platform/x11/window_list.h"

namespace orvo::platform::x11 {

// The entry of the application that a process belongs to; null when there is none.
std::shared_ptr<const linux::DesktopEntry> entryOfProcess(const Process& process);

// One name for each process, whatever window is on top: the desktop entry's, else the class of its first window, else
// the process's own; empty when nothing is known.
std::string applicationName(const WindowList& windows, int32_t pid);

// The windows that a process shows its user, those included that are not on screen for some reason, front to back;
// valid while the list lives. withPopups: also those that no manager places, such as its menus.
std::vector<const DesktopWindow*> windowsOfProcess(const WindowList& windows, int32_t pid, bool withPopups = false);

// All windows of an application are minimised, and exactly those brought back. False when there was nothing to hide or
// show, no window manager runs that could do it, or it has not happened within 200 ms; it may still happen then.
bool hideApplication(int32_t pid);
bool showApplication(int32_t pid);

// The processes whose application is hidden, for the desktop's snapshots; the next two are used under the desktop
// server's lock. An application is hidden from the order on. It ends when one of its windows shows again after all were
// gone, when it shows another window, or when the manager has not followed for two seconds. until: when the answer may
// be another although the windows are the same.
std::vector<int32_t> hiddenApplications(const WindowList& windows, std::chrono::steady_clock::time_point& until);
// Whether there were orders since the last such question.
bool takeHidingOrders();

}  // namespace orvo::platform::x11
