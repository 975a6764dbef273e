// The state of the scripted desktop and the words that change it.
#include "support/desktop/desktop.h"

#include <algorithm>
#include <sstream>

namespace orvo::test {
namespace {

template <typename Thing, typename Number>
Thing* find(std::vector<Thing>& things, Number Thing::*key, uint32_t number) {
    for (Thing& thing : things) {
        if (thing.*key == static_cast<Number>(number)) return &thing;
    }
    return nullptr;
}

}  // namespace

void Desktop::addDisplay(const ScriptedDisplay& display) {
    displays.push_back(display);
}

ScriptedApplication& Desktop::addApplication(const ScriptedApplication& application) {
    applications.push_back(application);
    return applications.back();
}

void Desktop::quitApplication(int32_t pid) {
    std::erase_if(applications, [pid](const auto& application) { return application.pid == pid; });
    std::erase_if(windows, [pid](const auto& window) { return window.pid == pid; });
}

void Desktop::activateApplication(int32_t pid) {
    for (auto& application : applications) application.active = application.pid == pid;
}

ScriptedWindow& Desktop::addWindow(ScriptedWindow window) {
    if (!application(static_cast<uint32_t>(window.pid)))
        addApplication({.pid = window.pid, .name = "App" + std::to_string(window.pid)});
    window.identity = ++identities_;
    return *windows.insert(windows.begin(), std::move(window));
}

void Desktop::closeWindow(uint32_t number) {
    std::erase_if(windows, [number](const auto& window) { return window.number == number; });
}

void Desktop::raiseWindow(uint32_t number) {
    std::stable_partition(windows.begin(), windows.end(), [number](const auto& w) { return w.number == number; });
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
    return find(displays, &ScriptedDisplay::number, number);
}
ScriptedApplication* Desktop::application(uint32_t pid) {
    return find(applications, &ScriptedApplication::pid, pid);
}
ScriptedWindow* Desktop::window(uint32_t number) {
    return find(windows, &ScriptedWindow::number, number);
}

const ScriptedDisplay* Desktop::main() {
    if (const auto* chosen = display(mainDisplay)) return chosen;
    return displays.empty() ? nullptr : &displays.front();
}

bool Desktop::isOnScreen(const ScriptedWindow& window) {
    const auto* owner = application(static_cast<uint32_t>(window.pid));
    return !window.minimized && !(owner && owner->hidden);
}

void Desktop::reset() {
    static_cast<DesktopState&>(*this) = DesktopState{};
    stepper.reset();
    gate.reset();
}

std::string words(const platform::Rect& rect) {
    std::ostringstream text;
    text << rect.x << "," << rect.y << " " << rect.width << "x" << rect.height;
    return text.str();
}

}  // namespace orvo::test
