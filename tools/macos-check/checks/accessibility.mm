// Elements: attributes of every kind, limits, applications that do not answer, observers.
#include <AppKit/AppKit.h>

#include <chrono>

#include "ScreenCapture/platform/macos/services.h"
#include "tools/macos-check/checks/checks.h"

using namespace orvo::platform;
using standin::desk;

namespace {

ElementRef firstWindow(Accessibility& service, int32_t pid) {
    std::vector<ElementRef> windows;
    EXPECT(service.copyElements(service.application(pid), "AXWindows", 0, 100, windows) == 0 && windows.size() == 2);
    return windows.empty() ? nullptr : windows.front();
}

void attributes() {
    const auto service = macos::makeAccessibility();
    const auto window = firstWindow(*service, 100);
    EXPECT_CALL("values 0 100");
    EXPECT(std::get<Point>(service->copyAttribute(window, "AXPosition").value) == (Point{10, 20}));
    EXPECT(std::get<Size>(service->copyAttribute(window, "AXSize").value) == (Size{30, 40}));
    EXPECT(std::get<std::string>(service->copyAttribute(window, "AXTitle").value) == "Grüße");
    EXPECT(std::get<double>(service->copyAttribute(window, "AXMinimized").value) == 0);
    EXPECT(!std::get<bool>(service->copyAttribute(window, "AXFullScreen").value));
    EXPECT(std::holds_alternative<OtherValue>(service->copyAttribute(window, "AXData").value));
    EXPECT(service->copyAttribute(window, "AXNothing").error == -25205 && service->windowNumber(window) == 7);
    EXPECT(service->processIdentifier(window) == 100 && service->describe(window) == "an object");
    EXPECT(service->setAttribute(window, "AXMain", true) == 0 && service->bringToFront(100));
    EXPECT_CALL("set AXMain true");
    EXPECT_CALL("front 100 1");
    EXPECT(service->systemWide() && standin::timesCalled("the limit of the whole process") == 0);
    EXPECT(desk().longestLimit >= 0.25F && desk().longestLimit <= 1);
}

// One that is hung is asked once and then left alone; the others are asked as before.
void hung() {
    desk().applications.push_back({55, "Hung", false, false, true});
    const auto service = macos::makeAccessibility();
    const auto start = std::chrono::steady_clock::now();
    for (int i = 0; i < 20; ++i) {
        std::vector<ElementRef> windows;
        EXPECT(service->copyElements(service->application(55), "AXWindows", 0, 9, windows) == kErrorCannotComplete);
        EXPECT(service->copyAttribute(service->application(55), "AXTitle").error == kErrorCannotComplete);
        EXPECT(firstWindow(*service, 100));
    }
    EXPECT(standin::timesCalled("waits for 55") <= 1);
    EXPECT(std::chrono::steady_clock::now() - start < std::chrono::seconds(1));
}

void observers() {
    const auto service = macos::makeAccessibility();
    int heard = 0;
    auto observer = service->makeObserver(100, [&](const ElementRef& element, const char* name, void* context) {
        heard += service->windowNumber(element) == 7 && context == &heard && std::string(name) == "AXWindowMoved";
    });
    const auto window = firstWindow(*service, 100);
    observer->add(window, "AXWindowMoved", &heard);
    observer->addToCurrentRunLoop();
    EXPECT_CALL("run loop source in kCFRunLoopDefaultMode");
    EXPECT(standin::notifyObserver("AXWindowMoved", 7) && heard == 1);
    observer->remove(window, "AXWindowMoved");
    EXPECT(!standin::notifyObserver("AXWindowMoved", 7));
    observer->removeFromCurrentRunLoop();
}

}  // namespace

void checks::checkAccessibility() {
    attributes();
    hung();
    observers();
}
