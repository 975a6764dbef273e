// Turns the window events of one process into named notifications.
#include <array>
#include <cstring>

#include "ScreenCapture/platform/platform.h"
#include "ScreenCapture/thumbnail/OrvoAppProxy.h"
#include "ScreenCapture/thumbnail/element_attributes.h"

using orvo::platform::ElementRef;
using orvo::platform::platform;

namespace {

enum class Watched { chosenWindow, application };

struct Event {
    const char* notification;
    const char* postedName;
    Watched watched;
    bool hasContext;
};

// In the order of registration.
constexpr std::array<Event, 8> kEvents{{
    {"AXWindowCreated", "SD_EVENT_WINDOW_CREATED", Watched::chosenWindow, true},
    {"AXWindowMoved", "SD_EVENT_WINDOW_MOVED", Watched::chosenWindow, true},
    {"AXWindowResized", "SD_EVENT_WINDOW_RESIZED", Watched::chosenWindow, false},
    {"AXWindowMiniaturized", "SD_EVENT_WINDOW_MINIMIZED", Watched::chosenWindow, false},
    {"AXWindowDeminiaturized", "SD_EVENT_WINDOW_UNMINIMIZED", Watched::application, false},
    {"AXApplicationHidden", "SD_EVENT_APP_HIDDEN", Watched::application, false},
    {"AXApplicationShown", "SD_EVENT_APP_SHOWN", Watched::application, false},
    {"AXFocusedWindowChanged", "SD_EVENT_FOCUS_CHANGED", Watched::chosenWindow, false},
}};

// The system merges notifications of one name that still wait; there is no other limit.
void sendNotificationButNotTooOften(const char* name, const OrvoWindowProxyRef& proxy) {
    platform().notifications().postCoalescing(name, proxy);
}

void obsessiveWindowCallback(const ElementRef& element, const char* notification, void* /*context*/) {
    for (const Event& event : kEvents) {
        if (std::strcmp(event.notification, notification) != 0) continue;
        sendNotificationButNotTooOften(event.postedName, OrvoWindowProxy::initWithElement(element));
        return;
    }
}

// The first window that has an identifier, or has none at all, or one of the given kind.
ElementRef chooseWindow(int32_t pid, int type) {
    auto& accessibility = platform().accessibility();
    const auto windows =
        orvo::thumbnail::readAttributeAs<std::vector<ElementRef>>(accessibility.application(pid), "AXWindows", {});
    for (const ElementRef& window : windows) {
        const auto identifier = accessibility.copyAttribute(window, "AXIdentifier");
        const bool hasNoValue = std::holds_alternative<std::monostate>(identifier.value);
        if (identifier.error == 0 || hasNoValue || identifier.typeIdentifier == static_cast<uint64_t>(type)) {
            return window;
        }
    }
    return nullptr;
}

}  // namespace

void OrvoAppProxy::startObservingStuffWithWindow(int type) {
    auto observer = platform().accessibility().makeObserver(pid_, obsessiveWindowCallback);
    if (!observer) return;
    const ElementRef window = chooseWindow(pid_, type);
    observer_ = std::move(observer);
    for (const Event& event : kEvents) {
        const ElementRef& element = event.watched == Watched::application ? app_ : window;
        if (element) observer_->add(element, event.notification, event.hasContext ? this : nullptr);
    }
    observer_->addToCurrentRunLoop();
}

void OrvoAppProxy::stopObservingStuff() {
    if (!observer_) return;
    observer_->removeFromCurrentRunLoop();
    // All of them from the application, also those that were added to a window; that is intended.
    for (const Event& event : kEvents) {
        if (app_) observer_->remove(app_, event.notification);
    }
    observer_.reset();
}
