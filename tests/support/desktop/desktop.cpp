// The state of the scripted desktop and the words that change it.
#include "support/desktop/desktop.h"

#include <algorithm>

namespace orvo::test {

void Desktop::addDisplay(const ScriptedDisplay& display) {
    auto lock = gate.hold();
    displays.push_back(display);
}

void Desktop::removeDisplay(uint32_t number) {
    auto lock = gate.hold();
    std::erase_if(displays, [number](const auto& display) { return display.number == number; });
}

ScriptedApplication& Desktop::addApplication(const ScriptedApplication& application) {
    auto lock = gate.hold();
    applications.push_back(application);
    return applications.back();
}

void Desktop::quitApplication(int32_t pid) {
    auto lock = gate.hold();
    std::erase_if(applications, [pid](const auto& application) { return application.pid == pid; });
    std::erase_if(windows, [pid](const auto& window) { return window.pid == pid; });
}

void Desktop::activateApplication(int32_t pid) {
    auto lock = gate.hold();
    for (auto& application : applications) application.active = application.pid == pid;
}

void Desktop::hideApplication(int32_t pid, bool hidden) {
    auto lock = gate.hold();
    if (auto* found = application(pid)) found->hidden = hidden;
}

ScriptedWindow& Desktop::addWindow(ScriptedWindow window) {
    auto lock = gate.hold();
    if (!application(window.pid)) addApplication({.pid = window.pid, .name = "App" + std::to_string(window.pid)});
    window.identity = ++identities_;
    return *windows.insert(windows.begin(), std::move(window));
}

void Desktop::closeWindow(uint32_t number) {
    auto lock = gate.hold();
    std::erase_if(windows, [number](const auto& window) { return window.number == number; });
}

void Desktop::moveWindow(uint32_t number, const platform::Rect& bounds) {
    auto lock = gate.hold();
    if (auto* found = window(number)) found->bounds = bounds;
}

void Desktop::minimizeWindow(uint32_t number, bool minimized) {
    auto lock = gate.hold();
    if (auto* found = window(number)) found->minimized = minimized;
}

void Desktop::raiseWindow(uint32_t number) {
    auto lock = gate.hold();
    auto found = std::find_if(windows.begin(), windows.end(), [number](const auto& w) { return w.number == number; });
    if (found != windows.end()) std::rotate(windows.begin(), found, found + 1);
}

void Desktop::notifyObservers(uint32_t number, const char* notification) {
    for (const auto& watch : std::vector(observers)) {
        if (!watch->attached) continue;
        for (const auto& o : std::vector(watch->observations)) {
            if (o.window == number && o.notification == notification)
                watch->callback(o.element, notification, o.context);
        }
    }
}

ScriptedDisplay* Desktop::display(uint32_t number) {
    auto found = std::find_if(displays.begin(), displays.end(), [number](const auto& d) { return d.number == number; });
    return found == displays.end() ? nullptr : &*found;
}

ScriptedApplication* Desktop::application(int32_t pid) {
    auto found = std::find_if(applications.begin(), applications.end(), [pid](const auto& a) { return a.pid == pid; });
    return found == applications.end() ? nullptr : &*found;
}

ScriptedWindow* Desktop::window(uint32_t number) {
    auto found = std::find_if(windows.begin(), windows.end(), [number](const auto& w) { return w.number == number; });
    return found == windows.end() ? nullptr : &*found;
}

bool Desktop::isOnScreen(const ScriptedWindow& window) {
    const auto* owner = application(window.pid);
    return !window.minimized && !(owner && owner->hidden);
}

void Desktop::useQueues(platform::Dispatch& dispatch, platform::Clock& clock) {
    auto lock = gate.hold();
    dispatch_ = &dispatch;
    clock_ = &clock;
}

void Desktop::reset() {
    {
        auto lock = gate.hold();
        static_cast<DesktopState&>(*this) = DesktopState{};
        dispatch_ = nullptr;
        clock_ = nullptr;
    }
    stepper.reset();
    gate.reset();
}

}  // namespace orvo::test
