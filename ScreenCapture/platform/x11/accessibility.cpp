// Applications and windows under the names of the accessibility interface.
#include "ScreenCapture/platform/x11/services.h"

#include <algorithm>
#include <string_view>

#include "ScreenCapture/platform/x11/applications.h"
#include "ScreenCapture/platform/x11/desktop.h"
#include "ScreenCapture/platform/x11/window_control.h"

namespace orvo::platform::x11 {
namespace {

// The codes of the interface that the names come from.
constexpr int32_t kIllegalArgument = -25201;
constexpr int32_t kInvalidElement = -25202;
constexpr int32_t kAttributeUnsupported = -25205;
constexpr int32_t kNoValue = -25212;
// What it calls the kinds of values.
constexpr uint64_t kStringKind = 7;
constexpr uint64_t kListKind = 19;
constexpr uint64_t kFlagKind = 21;
constexpr uint64_t kOtherKind = 1;

Attribute failure(int32_t error) {
    return {error, {}, 0};
}
Attribute text(std::string value) {
    return {0, std::move(value), kStringKind};
}
Attribute flag(bool value) {
    return {0, value, kFlagKind};
}

const X11Element* mine(const ElementRef& element) {
    return static_cast<const X11Element*>(element.get());
}

ElementRef elementOf(const DesktopWindow& window) {
    return std::make_shared<X11Element>(window.pid, window.number);
}

// Null when the window has gone, also when another process has its number by now.
const DesktopWindow* windowOf(const Desktop& desktop, const X11Element& element) {
    const DesktopWindow* window = desktop.windows->find(element.window);
    return window && window->pid == element.pid ? window : nullptr;
}

const char* subroleOf(const DesktopWindow& window) {
    if (!window.managed) return "AXUnknown";
    switch (window.type) {
        case WindowType::normal:
            return "AXStandardWindow";
        case WindowType::none:
            return window.transientFor != 0 ? "AXDialog" : "AXStandardWindow";
        case WindowType::dialog:
            return "AXDialog";
        default:
            return window.transientFor != 0 ? "AXDialog" : "AXUnknown";
    }
}

Attribute windowAttribute(const Desktop& desktop, const DesktopWindow& window, std::string_view name) {
    const Rect bounds = desktop.monitors->toGlobal(window.bounds);
    if (name == "AXTitle") return text(window.title);
    if (name == "AXPosition") return {0, bounds.origin(), kOtherKind};
    if (name == "AXSize") return {0, bounds.size(), kOtherKind};
    if (name == "AXRole") return text("AXWindow");
    if (name == "AXSubrole") return text(subroleOf(window));
    if (name == "AXMinimized") return flag(window.minimized);
    if (name == "AXFullScreen") return flag(window.fullScreen);
    if (name == "AXMain") return flag(desktop.windows->active == window.number);
    if (name == "AXIdentifier") return window.role.empty() ? failure(kNoValue) : text(window.role);
    return failure(kAttributeUnsupported);
}

Attribute applicationAttribute(const WindowList& windows, int32_t pid, std::string_view name) {
    if (name == "AXWindows") {
        // A picture of the application's windows has its open menus in it.
        std::vector<ElementRef> elements;
        for (const DesktopWindow* window : windowsOfProcess(windows, pid, true)) elements.push_back(elementOf(*window));
        return elements.empty() ? failure(kInvalidElement) : Attribute{0, std::move(elements), kListKind};
    }
    const std::vector<const DesktopWindow*> list = windowsOfProcess(windows, pid);
    if (list.empty()) return failure(kInvalidElement);
    if (name == "AXTitle") return text(applicationName(windows, pid));
    if (name == "AXRole") return text("AXApplication");
    if (name == "AXHidden") return flag(windows.isHidden(pid));
    if (name == "AXMainWindow" || name == "AXFocusedWindow") {
        const auto active = std::find_if(list.begin(), list.end(),
                                         [&](const DesktopWindow* window) { return window->number == windows.active; });
        return {0, elementOf(active == list.end() ? *list.front() : **active), kOtherKind};
    }
    return failure(kAttributeUnsupported);
}

// Sends an order, then waits until the window's state is as it was wanted.
template <typename Send>
bool order(xcb_window_t number, bool DesktopWindow::*state, bool wanted, Send send) {
    if (const Server::Use x = desktopServer().use(); !x || !send(x, number)) return false;
    return awaitWindows([=](const WindowList& windows) {
        const DesktopWindow* window = windows.find(number);
        return window && window->*state == wanted;
    });
}

bool setMinimized(const WindowList& windows, xcb_window_t number, bool minimized) {
    if (minimized && !windows.hasManager) return false;
    return order(number, &DesktopWindow::minimized, minimized, minimized ? minimizeWindow : restoreWindow);
}

bool makeFullScreen(xcb_window_t number, bool fullScreen) {
    return order(number, &DesktopWindow::fullScreen, fullScreen,
                 [=](const Server::Use& x, xcb_window_t window) { return setFullScreen(x, window, fullScreen); });
}

class X11Accessibility final : public Accessibility {
  public:
    ElementRef systemWide() override { return std::make_shared<X11Element>(0, 0); }

    ElementRef application(int32_t pid) override { return std::make_shared<X11Element>(pid, 0); }

    Attribute copyAttribute(const ElementRef& element, const char* name) override {
        if (!element || !name) return failure(kIllegalArgument);
        const auto desktop = currentDesktop();
        if (!desktop) return failure(kErrorCannotComplete);
        const X11Element& asked = *mine(element);
        if (asked.pid == 0 && asked.window == 0) return failure(kAttributeUnsupported);
        if (asked.window == 0) return applicationAttribute(*desktop->windows, asked.pid, name);
        const DesktopWindow* window = windowOf(*desktop, asked);
        return window ? windowAttribute(*desktop, *window, name) : failure(kInvalidElement);
    }

    int32_t copyElements(const ElementRef& element, const char* name, size_t from, size_t count,
                         std::vector<ElementRef>& elements) override {
        const Attribute all = copyAttribute(element, name);
        if (all.error != 0) return all.error;
        const auto* list = std::get_if<std::vector<ElementRef>>(&all.value);
        if (!list) return kIllegalArgument;
        const size_t first = std::min(from, list->size());
        const size_t last = first + std::min(count, list->size() - first);
        elements.assign(list->begin() + static_cast<ptrdiff_t>(first), list->begin() + static_cast<ptrdiff_t>(last));
        return 0;
    }

    int32_t setAttribute(const ElementRef& element, const char* name, const AttributeValue& value) override {
        const bool* wanted = std::get_if<bool>(&value);
        if (!element || !name || !wanted) return kIllegalArgument;
        const auto desktop = currentDesktop();
        if (!desktop) return kErrorCannotComplete;
        const X11Element& asked = *mine(element);
        const DesktopWindow* window = asked.window != 0 ? windowOf(*desktop, asked) : nullptr;
        if (!window) return asked.window != 0 ? kInvalidElement : kAttributeUnsupported;
        const std::string_view attribute = name;
        if (attribute == "AXMain")
            return !*wanted ? kIllegalArgument : activateWindow(asked.window) ? 0 : kErrorCannotComplete;
        if (attribute == "AXMinimized")
            return setMinimized(*desktop->windows, asked.window, *wanted) ? 0 : kErrorCannotComplete;
        if (attribute == "AXFullScreen") return makeFullScreen(asked.window, *wanted) ? 0 : kErrorCannotComplete;
        return kAttributeUnsupported;
    }

    int32_t processIdentifier(const ElementRef& element) override { return element ? mine(element)->pid : 0; }

    uint32_t windowNumber(const ElementRef& element) override { return element ? mine(element)->window : 0; }

    std::string describe(const ElementRef& element) override {
        if (!element) return "<none>";
        const X11Element& known = *mine(element);
        if (known.window != 0) return "<window " + std::to_string(known.window) + ">";
        return known.pid != 0 ? "<application " + std::to_string(known.pid) + ">" : "<system>";
    }

    bool bringToFront(int32_t pid) override { return activateProcess(pid); }

    std::unique_ptr<ElementObserver> makeObserver(int32_t pid, ElementObserverCallback callback) override {
        const auto desktop = currentDesktop();
        if (!desktop || windowsOfProcess(*desktop->windows, pid).empty()) return nullptr;
        return makeElementObserver(pid, std::move(callback));
    }
};

}  // namespace

std::unique_ptr<Accessibility> makeAccessibility() {
    return std::make_unique<X11Accessibility>();
}

}  // namespace orvo::platform::x11
