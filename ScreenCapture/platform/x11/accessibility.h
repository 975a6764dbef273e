// Applications and windows under the names of the accessibility interface.
#pragma once

#include "ScreenCapture/platform/accessibility.h"

namespace orvo::platform::x11 {

// What an element stands for.
struct X11Element final : Element {
    X11Element(int32_t process, uint32_t number) : pid(process), window(number) {}
    const int32_t pid;      // 0: the whole system
    const uint32_t window;  // 0: the application itself
};

class X11Accessibility final : public Accessibility {
  public:
    ElementRef systemWide() override;
    ElementRef application(int32_t pid) override;
    Attribute copyAttribute(const ElementRef& element, const char* name) override;
    int32_t copyElements(const ElementRef& element, const char* name, size_t from, size_t count,
                         std::vector<ElementRef>& elements) override;
    int32_t setAttribute(const ElementRef& element, const char* name, const AttributeValue& value) override;
    int32_t processIdentifier(const ElementRef& element) override;
    uint32_t windowNumber(const ElementRef& element) override;
    std::string describe(const ElementRef& element) override;
    bool bringToFront(int32_t pid) override;
    std::unique_ptr<ElementObserver> makeObserver(int32_t pid, ElementObserverCallback callback) override;
};

// Reports on the windows of a process from now on.
std::unique_ptr<ElementObserver> makeElementObserver(int32_t pid, ElementObserverCallback callback);

}  // namespace orvo::platform::x11
