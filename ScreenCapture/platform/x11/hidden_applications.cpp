// Applications hidden as a whole.
#include "ScreenCapture/platform/x11/hidden_applications.h"

#include <algorithm>
#include <map>
#include <mutex>

#include "ScreenCapture/platform/x11/applications.h"
#include "ScreenCapture/platform/x11/desktop_model.h"
#include "ScreenCapture/platform/x11/window_control.h"

namespace orvo::platform::x11 {
namespace {

struct Hidden {
    std::mutex mutex;
    std::map<int32_t, std::vector<xcb_window_t>> windows;  // by process
};

Hidden& hidden() {
    static Hidden& one = *new Hidden;
    return one;
}

bool areIconic(const WindowList& windows, const std::vector<xcb_window_t>& numbers, bool iconic) {
    return std::all_of(numbers.begin(), numbers.end(), [&](xcb_window_t number) {
        const DesktopWindow* window = windows.find(number);
        return !window || window->iconic == iconic;
    });
}

}  // namespace

bool hideApplication(int32_t pid) {
    const auto desktop = currentDesktop();
    if (!desktop) return false;
    std::vector<xcb_window_t> numbers;
    for (const DesktopWindow* window : windowsOfProcess(*desktop->windows, pid))
        if (!window->iconic) numbers.push_back(window->number);
    if (numbers.empty()) return false;
    for (const xcb_window_t number : numbers) iconifyWindow(number);
    {
        std::lock_guard lock(hidden().mutex);
        auto& remembered = hidden().windows[pid];
        remembered.insert(remembered.end(), numbers.begin(), numbers.end());
    }
    return awaitWindows([&](const WindowList& windows) { return areIconic(windows, numbers, true); });
}

bool showApplication(int32_t pid) {
    std::vector<xcb_window_t> numbers;
    {
        std::lock_guard lock(hidden().mutex);
        const auto found = hidden().windows.find(pid);
        if (found == hidden().windows.end()) return false;
        numbers = std::move(found->second);
        hidden().windows.erase(found);
    }
    // Back to front, as they lay.
    for (auto number = numbers.rbegin(); number != numbers.rend(); ++number) restoreWindow(*number);
    return awaitWindows([&](const WindowList& windows) { return areIconic(windows, numbers, false); });
}

bool isHiddenApplication(const WindowList& windows, int32_t pid) {
    std::lock_guard lock(hidden().mutex);
    const auto found = hidden().windows.find(pid);
    if (found == hidden().windows.end()) return false;
    const auto isOthers = [&](xcb_window_t number) {
        const DesktopWindow* window = windows.find(number);
        return !window || window->pid != pid;
    };
    std::erase_if(found->second, isOthers);
    // The user has brought one back: it is hidden no more.
    if (found->second.empty() || !areIconic(windows, found->second, true)) {
        hidden().windows.erase(found);
        return false;
    }
    return true;
}

}  // namespace orvo::platform::x11
