// Applications by their desktop entries: one place for the names that window owners, running applications and icon
// look-ups go by. Callable from any thread.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "ScreenCapture/platform/x11/windows.h"

using GAppInfo = struct _GAppInfo;

namespace orvo::platform::x11 {

struct DesktopEntry {
    std::string id;           // file name, "firefox.desktop"
    std::string path;         // of the file
    std::string name;         // localised
    std::string windowClass;  // StartupWMClass; empty without
    std::string icon;         // a file's path or a theme's name; empty without
};

// What an entry's file says; missing texts are empty.
DesktopEntry readEntry(GAppInfo* application);

// The entry of the application that a process belongs to; null when there is none.
std::shared_ptr<const DesktopEntry> entryOfProcess(const Process& process);
// By its localised name, exactly; then by its file's name.
std::shared_ptr<const DesktopEntry> entryByName(const std::string& name);
// By its file's path.
std::shared_ptr<const DesktopEntry> entryByPath(const std::string& path);

// One name for each process, whatever window is on top: the desktop entry's, else the class of its first window, else
// the process's own; empty when nothing is known.
std::string applicationName(const WindowList& windows, int32_t pid);

// The windows that a process shows its user, those included that are not on screen for some reason, front to back;
// valid while the list lives. withPopups: also those that no manager places, such as its menus.
std::vector<const DesktopWindow*> windowsOfProcess(const WindowList& windows, int32_t pid, bool withPopups = false);

}  // namespace orvo::platform::x11
