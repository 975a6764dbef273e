// Applications: the windows of a process, the names it goes by, and hiding it as a whole.
#include "ScreenCapture/platform/x11/applications.h"

#include <algorithm>
#include <map>
#include <utility>

#include "ScreenCapture/platform/x11/desktop.h"
#include "ScreenCapture/platform/x11/window_control.h"

namespace orvo::platform::x11 {
namespace {

using Clock = std::chrono::steady_clock;
using Numbers = std::vector<xcb_window_t>;

constexpr std::chrono::seconds kOrderLimit{2};

// What was ordered for one application, and how far the manager has come.
struct Order {
    enum class State { hiding, hidden, showing };
    State state = State::hiding;
    Numbers windows;  // front to back
    Clock::time_point until;
};

// Guarded by the desktop server's lock.
struct Orders {
    std::map<int32_t, Order> byProcess;
    bool isNew = false;
};

Orders& orders() {
    static Orders& one = *new Orders;
    return one;
}

// state: onScreen or minimized.
bool any(const WindowList& windows, const Numbers& numbers, bool DesktopWindow::*state) {
    return std::ranges::any_of(numbers, [&](xcb_window_t number) {
        const DesktopWindow* window = windows.find(number);
        return window && window->*state;
    });
}

bool showsAnother(const WindowList& windows, int32_t pid, const Numbers& numbers) {
    const auto all = windowsOfProcess(windows, pid);
    return std::any_of(all.begin(), all.end(), [&](const DesktopWindow* window) {
        return window->onScreen && !contains(numbers, window->number);
    });
}

// Brings the state up to date with what is there. False when the application is not hidden any longer.
bool isInForce(const WindowList& windows, int32_t pid, Order& order) {
    std::erase_if(order.windows, [&](xcb_window_t number) {
        const DesktopWindow* window = windows.find(number);
        return !window || window->pid != pid;
    });
    if (order.windows.empty()) return false;
    const bool isLate = Clock::now() >= order.until;
    if (order.state == Order::State::showing) return !isLate && any(windows, order.windows, &DesktopWindow::minimized);
    if (showsAnother(windows, pid, order.windows)) return false;
    if (any(windows, order.windows, &DesktopWindow::onScreen)) return order.state == Order::State::hiding && !isLate;
    order.state = Order::State::hidden;
    return true;
}

// Runs before the manager gets any order: no snapshot may show the result without the reason for it.
void remember(int32_t pid, Order::State state, const Numbers& windows) {
    orders().byProcess[pid] = {state, windows, Clock::now() + kOrderLimit};
    orders().isNew = true;
}

Numbers hiddenWindows(int32_t pid) {
    const auto found = orders().byProcess.find(pid);
    return found == orders().byProcess.end() ? Numbers() : found->second.windows;
}

}  // namespace

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

bool hideApplication(int32_t pid) {
    Numbers numbers;
    {
        Server::Use x = desktopServer().use();
        const auto desktop = latestDesktop(x);
        // Without a manager nobody could bring the windows back.
        if (!x || !desktop || !desktop->windows->hasManager) return false;
        for (const DesktopWindow* window : windowsOfProcess(*desktop->windows, pid))
            if (!window->minimized) numbers.push_back(window->number);
        if (numbers.empty()) return false;
        Numbers all = numbers;
        for (const xcb_window_t number : hiddenWindows(pid))
            if (!contains(all, number)) all.push_back(number);
        remember(pid, Order::State::hiding, all);
        for (const xcb_window_t number : numbers) minimizeWindow(x, number);
    }
    return awaitWindows([&](const WindowList& windows) { return !any(windows, numbers, &DesktopWindow::onScreen); });
}

bool showApplication(int32_t pid) {
    Numbers numbers;
    {
        const Server::Use x = desktopServer().use();
        numbers = hiddenWindows(pid);
        if (!x || numbers.empty()) return false;
        remember(pid, Order::State::showing, numbers);
        // Back to front, as they lay.
        for (auto number = numbers.rbegin(); number != numbers.rend(); ++number) restoreWindow(x, *number);
    }
    return awaitWindows([&](const WindowList& windows) { return !any(windows, numbers, &DesktopWindow::minimized); });
}

std::vector<int32_t> hiddenApplications(const WindowList& windows, Clock::time_point& until) {
    std::vector<int32_t> hidden;
    until = Clock::time_point::max();
    auto& all = orders().byProcess;
    for (auto each = all.begin(); each != all.end();) {
        auto& [pid, order] = *each;
        if (!isInForce(windows, pid, order)) {
            each = all.erase(each);
            continue;
        }
        hidden.push_back(pid);
        if (order.state != Order::State::hidden) until = std::min(until, order.until);
        ++each;
    }
    return hidden;
}

bool takeHidingOrders() {
    return std::exchange(orders().isNew, false);
}

}  // namespace orvo::platform::x11
