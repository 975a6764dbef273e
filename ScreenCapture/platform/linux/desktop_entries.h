// Applications as their desktop entries describe them. Callable from any thread.
#pragma once

#include <memory>
#include <string>

using GAppInfo = struct _GAppInfo;

namespace orvo::platform::linux {

struct DesktopEntry {
    std::string id;           // file name, "firefox.desktop"
    std::string path;         // of the file
    std::string name;         // localised
    std::string windowClass;  // StartupWMClass; empty without
    std::string icon;         // a file's path or a theme's name; empty without
};

// What an entry's file says; missing texts are empty.
DesktopEntry readEntry(GAppInfo* application);

// The entry of the application that gives its windows this instance and class name; null when there is none. An entry
// that names the class wins over one whose file has the name.
std::shared_ptr<const DesktopEntry> entryOfClass(const std::string& instance, const std::string& className);
// By its localised name, exactly; then by its file's name.
std::shared_ptr<const DesktopEntry> entryByName(const std::string& name);
// By its file's path.
std::shared_ptr<const DesktopEntry> entryByPath(const std::string& path);

}  // namespace orvo::platform::linux
