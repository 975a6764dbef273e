// Applications and windows as elements of the accessibility service, and the Process Manager's front-process call.
#include <AppKit/AppKit.h>
#include <ApplicationServices/ApplicationServices.h>
#include <dlfcn.h>

#include <map>
#include <mutex>

#include "ScreenCapture/platform/macos/cf_ref.h"
#include "ScreenCapture/platform/macos/geometry.h"
#include "ScreenCapture/platform/macos/services.h"
#include "ScreenCapture/platform/macos/text.h"

namespace orvo::platform::macos {
namespace {

class MacElement final : public Element {
  public:
    explicit MacElement(CFRef<AXUIElementRef> element) : element_(std::move(element)) {}
    AXUIElementRef get() const { return element_.get(); }

  private:
    const CFRef<AXUIElementRef> element_;
};

AXUIElementRef axElement(const ElementRef& element) {
    return static_cast<const MacElement&>(*element).get();
}

// Null for a null reference.
ElementRef elementOf(CFRef<AXUIElementRef> element) {
    if (!element) return nullptr;
    return std::make_shared<MacElement>(std::move(element));
}

CFRef<CFStringRef> cfText(const char* text) {
    return CFRef<CFStringRef>::adopt(CFStringCreateWithCString(kCFAllocatorDefault, text, kCFStringEncodingUTF8));
}

std::vector<ElementRef> elementsOf(CFArrayRef array) {
    std::vector<ElementRef> elements;
    const CFIndex count = array ? CFArrayGetCount(array) : 0;
    for (CFIndex i = 0; i < count; ++i) {
        CFTypeRef value = CFArrayGetValueAtIndex(array, i);
        if (CFGetTypeID(value) != AXUIElementGetTypeID()) continue;
        elements.push_back(elementOf(CFRef<AXUIElementRef>::retain(static_cast<AXUIElementRef>(value))));
    }
    return elements;
}

AttributeValue geometryOf(AXValueRef value) {
    CGPoint point{};
    CGSize size{};
    if (AXValueGetValue(value, kAXValueTypeCGPoint, &point)) return pointFrom(point);
    if (AXValueGetValue(value, kAXValueTypeCGSize, &size)) return sizeFrom(size);
    return {};
}

// Nothing for a kind of value that the port does not know.
AttributeValue valueOf(CFTypeRef value) {
    const CFTypeID type = CFGetTypeID(value);
    if (type == CFStringGetTypeID()) return textOf((__bridge NSString*)value);
    if (type == CFBooleanGetTypeID()) return CFBooleanGetValue(static_cast<CFBooleanRef>(value)) != 0;
    if (type == AXValueGetTypeID()) return geometryOf(static_cast<AXValueRef>(value));
    if (type == AXUIElementGetTypeID()) {
        return elementOf(CFRef<AXUIElementRef>::retain(static_cast<AXUIElementRef>(value)));
    }
    if (type == CFArrayGetTypeID()) return elementsOf(static_cast<CFArrayRef>(value));
    return {};
}

// The system's object for a value to set; null for one that cannot be set.
struct SettableValue {
    CFRef<CFTypeRef> operator()(bool value) const {
        return CFRef<CFTypeRef>::retain(value ? kCFBooleanTrue : kCFBooleanFalse);
    }
    CFRef<CFTypeRef> operator()(const std::string& value) const {
        return CFRef<CFTypeRef>::adopt(
            CFStringCreateWithCString(kCFAllocatorDefault, value.c_str(), kCFStringEncodingUTF8));
    }
    CFRef<CFTypeRef> operator()(const Point& value) const {
        const CGPoint point = CGPointMake(value.x, value.y);
        return CFRef<CFTypeRef>::adopt(AXValueCreate(kAXValueTypeCGPoint, &point));
    }
    CFRef<CFTypeRef> operator()(const Size& value) const {
        const CGSize size = CGSizeMake(value.width, value.height);
        return CFRef<CFTypeRef>::adopt(AXValueCreate(kAXValueTypeCGSize, &size));
    }
    CFRef<CFTypeRef> operator()(const ElementRef& value) const {
        return value ? CFRef<CFTypeRef>::retain(axElement(value)) : nullptr;
    }
    CFRef<CFTypeRef> operator()(const std::vector<ElementRef>&) const { return nullptr; }
    CFRef<CFTypeRef> operator()(std::monostate) const { return nullptr; }
};

using SharedCallback = std::shared_ptr<const ElementObserverCallback>;

// Which callback belongs to which observer: a notification carries the observer and the caller's own context only.
class Callbacks {
  public:
    void add(AXObserverRef observer, SharedCallback callback) {
        std::lock_guard guard(lock_);
        callbacks_[observer] = std::move(callback);
    }
    void remove(AXObserverRef observer) {
        std::lock_guard guard(lock_);
        callbacks_.erase(observer);
    }
    // Null when it is gone. Holding it keeps the callback alive while it runs.
    SharedCallback find(AXObserverRef observer) {
        std::lock_guard guard(lock_);
        const auto found = callbacks_.find(observer);
        return found == callbacks_.end() ? nullptr : found->second;
    }

  private:
    std::mutex lock_;
    std::map<AXObserverRef, SharedCallback> callbacks_;
};

// Never destroyed: a run loop may deliver while the process ends.
Callbacks& callbacks() {
    static Callbacks* const instance = new Callbacks;
    return *instance;
}

void onNotification(AXObserverRef observer, AXUIElementRef element, CFStringRef notification, void* context) {
    @autoreleasepool {
        const SharedCallback callback = callbacks().find(observer);
        if (!callback) return;
        const std::string name = textOf((__bridge NSString*)notification);
        (*callback)(elementOf(CFRef<AXUIElementRef>::retain(element)), name.c_str(), context);
    }
}

class MacElementObserver final : public ElementObserver {
  public:
    MacElementObserver(CFRef<AXObserverRef> observer, ElementObserverCallback callback)
        : observer_(std::move(observer)) {
        callbacks().add(observer_.get(), std::make_shared<const ElementObserverCallback>(std::move(callback)));
    }
    ~MacElementObserver() override { callbacks().remove(observer_.get()); }

    void add(const ElementRef& element, const char* notification, void* context) override {
        if (!element) return;
        AXObserverAddNotification(observer_.get(), axElement(element), cfText(notification).get(), context);
    }
    void remove(const ElementRef& element, const char* notification) override {
        if (!element) return;
        AXObserverRemoveNotification(observer_.get(), axElement(element), cfText(notification).get());
    }
    void addToCurrentRunLoop() override {
        CFRunLoopAddSource(CFRunLoopGetCurrent(), AXObserverGetRunLoopSource(observer_.get()), kCFRunLoopDefaultMode);
    }
    void removeFromCurrentRunLoop() override {
        CFRunLoopRemoveSource(CFRunLoopGetCurrent(), AXObserverGetRunLoopSource(observer_.get()),
                              kCFRunLoopDefaultMode);
    }

  private:
    const CFRef<AXObserverRef> observer_;
};

// Not in the public headers, so it is looked up.
using ElementGetWindow = AXError (*)(AXUIElementRef element, CGWindowID* window);
ElementGetWindow elementGetWindow() {
    static const auto found = reinterpret_cast<ElementGetWindow>(dlsym(RTLD_DEFAULT, "_AXUIElementGetWindow"));
    return found;
}

class MacAccessibility final : public Accessibility {
  public:
    ElementRef systemWide() override { return elementOf(CFRef<AXUIElementRef>::adopt(AXUIElementCreateSystemWide())); }
    ElementRef application(int32_t pid) override {
        return elementOf(CFRef<AXUIElementRef>::adopt(AXUIElementCreateApplication(pid)));
    }

    Attribute copyAttribute(const ElementRef& element, const char* name) override {
        if (!element) return {kAXErrorIllegalArgument, {}, 0};
        @autoreleasepool {
            CFRef<CFTypeRef> value;
            Attribute attribute;
            attribute.error = AXUIElementCopyAttributeValue(axElement(element), cfText(name).get(), value.out());
            if (!value) return attribute;
            attribute.value = valueOf(value.get());
            attribute.typeIdentifier = CFGetTypeID(value.get());
            return attribute;
        }
    }

    int32_t copyElements(const ElementRef& element, const char* name, size_t from, size_t count,
                         std::vector<ElementRef>& elements) override {
        elements.clear();
        if (!element) return kAXErrorIllegalArgument;
        CFRef<CFArrayRef> values;
        const AXError error =
            AXUIElementCopyAttributeValues(axElement(element), cfText(name).get(), static_cast<CFIndex>(from),
                                           static_cast<CFIndex>(count), values.out());
        elements = elementsOf(values.get());
        return error;
    }

    int32_t setAttribute(const ElementRef& element, const char* name, const AttributeValue& value) override {
        const CFRef<CFTypeRef> object = std::visit(SettableValue(), value);
        if (!element || !object) return kAXErrorIllegalArgument;
        return AXUIElementSetAttributeValue(axElement(element), cfText(name).get(), object.get());
    }

    int32_t processIdentifier(const ElementRef& element) override {
        pid_t pid = 0;
        if (!element || AXUIElementGetPid(axElement(element), &pid) != kAXErrorSuccess) return 0;
        return pid;
    }

    uint32_t windowNumber(const ElementRef& element) override {
        CGWindowID number = kCGNullWindowID;
        if (element && elementGetWindow()) elementGetWindow()(axElement(element), &number);
        return number;
    }

    std::string describe(const ElementRef& element) override {
        @autoreleasepool {
            return element ? textOf([(__bridge id)axElement(element) description]) : "(null)";
        }
    }

// Nothing later brings one window of another process forward without the rest of them.
#pragma clang diagnostic push
#pragma clang diagnostic ignored "-Wdeprecated-declarations"
    bool bringToFront(int32_t pid) override {
        ProcessSerialNumber process{};
        if (GetProcessForPID(pid, &process) != noErr) return false;
        return SetFrontProcessWithOptions(&process, kSetFrontProcessFrontWindowOnly) == noErr;
    }
#pragma clang diagnostic pop

    std::unique_ptr<ElementObserver> makeObserver(int32_t pid, ElementObserverCallback callback) override {
        CFRef<AXObserverRef> observer;
        if (AXObserverCreate(pid, onNotification, observer.out()) != kAXErrorSuccess || !observer) return nullptr;
        return std::make_unique<MacElementObserver>(std::move(observer), std::move(callback));
    }
};

}  // namespace

std::unique_ptr<Accessibility> makeAccessibility() {
    return std::make_unique<MacAccessibility>();
}

}  // namespace orvo::platform::macos
