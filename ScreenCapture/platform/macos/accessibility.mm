// Applications and windows as elements of the accessibility service, and the Process Manager's front-process call.
#include <AppKit/AppKit.h>
#include <ApplicationServices/ApplicationServices.h>
#include <dlfcn.h>

#include <map>
#include <mutex>

#include "ScreenCapture/platform/macos/ax_silence.h"
#include "ScreenCapture/platform/macos/cf_ref.h"
#include "ScreenCapture/platform/macos/exceptions.h"
#include "ScreenCapture/platform/macos/geometry.h"
#include "ScreenCapture/platform/macos/services.h"

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

// Every question to an element is a message to its process that the caller waits for. The system's own limit is
// seconds. The limit is set for each element that comes in; that of the system-wide element would be the limit of the
// whole process, the host's own questions included, and stays as it is.
constexpr float kMessageLimit = 0.5F;  // seconds

// Null for a null reference.
ElementRef elementOf(CFRef<AXUIElementRef> element) {
    if (!element) return nullptr;
    AXUIElementSetMessagingTimeout(element.get(), kMessageLimit);
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
        if (!value || CFGetTypeID(value) != AXUIElementGetTypeID()) continue;
        elements.push_back(elementOf(CFRef<AXUIElementRef>::retain(static_cast<AXUIElementRef>(value))));
    }
    return elements;
}

AttributeValue geometryOf(AXValueRef value) {
    CGPoint point{};
    CGSize size{};
    if (AXValueGetValue(value, kAXValueTypeCGPoint, &point)) return pointFrom(point);
    if (AXValueGetValue(value, kAXValueTypeCGSize, &size)) return sizeFrom(size);
    return OtherValue();
}

AttributeValue valueOf(CFTypeRef value) {
    const CFTypeID type = CFGetTypeID(value);
    if (type == CFStringGetTypeID()) return textOf((__bridge NSString*)value);
    if (type == CFBooleanGetTypeID()) return CFBooleanGetValue(static_cast<CFBooleanRef>(value)) != 0;
    if (type == CFNumberGetTypeID()) return ((__bridge NSNumber*)value).doubleValue;
    if (type == AXValueGetTypeID()) return geometryOf(static_cast<AXValueRef>(value));
    if (type == AXUIElementGetTypeID()) {
        return elementOf(CFRef<AXUIElementRef>::retain(static_cast<AXUIElementRef>(value)));
    }
    if (type == CFArrayGetTypeID()) return elementsOf(static_cast<CFArrayRef>(value));
    return OtherValue();
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
    CFRef<CFTypeRef> operator()(double value) const {
        return CFRef<CFTypeRef>::adopt(CFNumberCreate(kCFAllocatorDefault, kCFNumberDoubleType, &value));
    }
    CFRef<CFTypeRef> operator()(const std::vector<ElementRef>&) const { return nullptr; }
    CFRef<CFTypeRef> operator()(OtherValue) const { return nullptr; }
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
    guarded([&] {
        const SharedCallback callback = callbacks().find(observer);
        if (!callback) return;
        const std::string name = textOf((__bridge NSString*)notification);
        (*callback)(elementOf(CFRef<AXUIElementRef>::retain(element)), name.c_str(), context);
    });
}

// The answer of a question to an element's process: kAXErrorCannotComplete at once while the process is left alone. A
// question that raises counts as one that could not be asked. The system-wide element has no process.
template <typename Question>
AXError ask(const ElementRef& element, Question question) {
    if (!element) return kAXErrorIllegalArgument;
    pid_t pid = 0;
    AXUIElementGetPid(axElement(element), &pid);
    if (silentProcesses().isLeftAlone(pid)) return kAXErrorCannotComplete;
    const AXError error = answered(kAXErrorCannotComplete, [&] { return question(axElement(element)); });
    silentProcesses().note(pid, error == kAXErrorCannotComplete);
    return error;
}

class MacElementObserver final : public ElementObserver {
  public:
    MacElementObserver(CFRef<AXObserverRef> observer, ElementObserverCallback callback)
        : observer_(std::move(observer)) {
        callbacks().add(observer_.get(), std::make_shared<const ElementObserverCallback>(std::move(callback)));
    }
    ~MacElementObserver() override { callbacks().remove(observer_.get()); }

    void add(const ElementRef& element, const char* notification, void* context) override {
        ask(element, [&](AXUIElementRef watched) {
            return AXObserverAddNotification(observer_.get(), watched, cfText(notification).get(), context);
        });
    }
    void remove(const ElementRef& element, const char* notification) override {
        ask(element, [&](AXUIElementRef watched) {
            return AXObserverRemoveNotification(observer_.get(), watched, cfText(notification).get());
        });
    }
    void addToCurrentRunLoop() override {
        CFRunLoopSourceRef source = AXObserverGetRunLoopSource(observer_.get());
        if (source) CFRunLoopAddSource(CFRunLoopGetCurrent(), source, kCFRunLoopDefaultMode);
    }
    void removeFromCurrentRunLoop() override {
        CFRunLoopSourceRef source = AXObserverGetRunLoopSource(observer_.get());
        if (source) CFRunLoopRemoveSource(CFRunLoopGetCurrent(), source, kCFRunLoopDefaultMode);
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
    ElementRef systemWide() override {
        auto element = CFRef<AXUIElementRef>::adopt(AXUIElementCreateSystemWide());
        return element ? std::make_shared<MacElement>(std::move(element)) : nullptr;
    }
    ElementRef application(int32_t pid) override {
        return elementOf(CFRef<AXUIElementRef>::adopt(AXUIElementCreateApplication(pid)));
    }

    Attribute copyAttribute(const ElementRef& element, const char* name) override {
        CFRef<CFTypeRef> value;
        Attribute attribute;
        attribute.error = ask(element, [&](AXUIElementRef asked) {
            return AXUIElementCopyAttributeValue(asked, cfText(name).get(), value.out());
        });
        if (!value) return attribute;
        attribute.value = answered(AttributeValue(OtherValue()), [&] { return valueOf(value.get()); });
        attribute.typeIdentifier = CFGetTypeID(value.get());
        return attribute;
    }

    int32_t copyElements(const ElementRef& element, const char* name, size_t from, size_t count,
                         std::vector<ElementRef>& elements) override {
        CFRef<CFArrayRef> values;
        const AXError error = ask(element, [&](AXUIElementRef asked) {
            return AXUIElementCopyAttributeValues(asked, cfText(name).get(), static_cast<CFIndex>(from),
                                                  static_cast<CFIndex>(count), values.out());
        });
        elements = elementsOf(values.get());
        return error;
    }

    int32_t setAttribute(const ElementRef& element, const char* name, const AttributeValue& value) override {
        const CFRef<CFTypeRef> object = std::visit(SettableValue(), value);
        if (!object) return kAXErrorIllegalArgument;
        const AXError error = ask(element, [&](AXUIElementRef asked) {
            return AXUIElementSetAttributeValue(asked, cfText(name).get(), object.get());
        });
        if (error != kAXErrorSuccess)
            syslog_ex(1, ESYSLOG_WARN, "macos", __LINE__, "%s could not be set: AXError %d", name, error);
        return error;
    }

    int32_t processIdentifier(const ElementRef& element) override {
        pid_t pid = 0;
        if (!element || AXUIElementGetPid(axElement(element), &pid) != kAXErrorSuccess) return 0;
        return pid;
    }

    uint32_t windowNumber(const ElementRef& element) override {
        CGWindowID number = kCGNullWindowID;
        if (elementGetWindow()) ask(element, [&](AXUIElementRef asked) { return elementGetWindow()(asked, &number); });
        return number;
    }

    std::string describe(const ElementRef& element) override {
        return answered(std::string("(null)"), [&] {
            return element ? textOf([(__bridge id)axElement(element) description]) : std::string("(null)");
        });
    }

// Nothing later brings one window of another process forward without the rest of them.
#pragma clang diagnostic push
#pragma clang diagnostic ignored "-Wdeprecated-declarations"
    bool bringToFront(int32_t pid) override {
        ProcessSerialNumber process{};
        OSStatus error = GetProcessForPID(pid, &process);
        if (error == noErr) error = SetFrontProcessWithOptions(&process, kSetFrontProcessFrontWindowOnly);
        if (error != noErr)
            syslog_ex(1, ESYSLOG_WARN, "macos", __LINE__, "process %d could not be brought to the front: OSStatus %d",
                      pid, error);
        return error == noErr;
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
