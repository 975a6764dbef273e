// Applications: the processes behind windows, and the names they go by.
#include "ScreenCapture/platform/x11/applications.h"

namespace orvo::platform::x11 {

std::shared_ptr<const linux::DesktopEntry> entryOfProcess(const Process& process) {
    for (const auto& [instance, className] : process.classes)
        if (auto entry = linux::entryOfClass(instance, className)) return entry;
    return nullptr;
}

std::string applicationName(const WindowList& windows, int32_t pid) {
    const Process* const process = windows.process(pid);
    if (!process) return {};
    if (const auto entry = entryOfProcess(*process); entry && !entry->name.empty()) return entry->name;
    if (process->classes.empty()) return process->name;
    const auto& [instance, className] = process->classes.front();
    return className.empty() ? instance : className;
}

std::vector<const DesktopWindow*> windowsOfProcess(const WindowList& windows, int32_t pid, bool withPopups) {
    std::vector<const DesktopWindow*> found;
    for (const DesktopWindow& window : windows.all) {
        const bool isWanted = window.managed || (withPopups && window.onScreen && !window.helper);
        if (isWanted && window.pid == pid && window.type != WindowType::desktop && window.type != WindowType::dock)
            found.push_back(&window);
    }
    return found;
}

}  // namespace orvo::platform::x11
