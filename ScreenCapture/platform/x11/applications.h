// Applications: one place for the names that window owners, running applications and icon look-ups go by. Callable from
// any thread.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "ScreenCapture/platform/linux/desktop_entries.h"
#include "ScreenCapture/platform/x11/windows.h"

namespace orvo::platform::x11 {

// The entry of the application that a process belongs to; null when there is none.
std::shared_ptr<const linux::DesktopEntry> entryOfProcess(const Process& process);

// One name for each process, whatever window is on top: the desktop entry's, else the class of its first window, else
// the process's own; empty when nothing is known.
std::string applicationName(const WindowList& windows, int32_t pid);

// The windows that a process shows its user, those included that are not on screen for some reason, front to back;
// valid while the list lives. withPopups: also those that no manager places, such as its menus.
std::vector<const DesktopWindow*> windowsOfProcess(const WindowList& windows, int32_t pid, bool withPopups = false);

}  // namespace orvo::platform::x11
