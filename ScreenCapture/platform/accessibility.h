// Applications and windows as the accessibility service describes them. Callable from any thread; an observer delivers
// on the run loop of the thread that added it.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <variant>
#include <vector>

#include "ScreenCapture/platform/values.h"

namespace orvo::platform {

// An application, a window or the whole system; opaque, shared, alive as long as somebody holds it, also when what it
// stands for is gone.
class Element {
  public:
    virtual ~Element() = default;
};
using ElementRef = std::shared_ptr<Element>;

// A value of a kind that the port does not know.
struct OtherValue {
    bool operator==(const OtherValue&) const = default;
};

// std::monostate: there is no value.
using AttributeValue = std::variant<std::monostate, std::string, bool, double, Point, Size, ElementRef,
                                    std::vector<ElementRef>, OtherValue>;

// Of the system's error codes those that say nothing about what was asked for: the application did not answer in time,
// or the process may not ask. After any other error it is not there.
constexpr int32_t kErrorCannotComplete = -25204;
constexpr int32_t kErrorDisabled = -25211;
constexpr bool couldNotAsk(int32_t error) {
    return error == kErrorCannotComplete || error == kErrorDisabled;
}

// The answer to a question for an attribute.
struct Attribute {
    int32_t error = 0;  // 0: value holds it
    AttributeValue value;
    uint64_t typeIdentifier = 0;  // the system's number for the kind of value
};

// Watches elements of one process.
class ElementObserver {
  public:
    virtual ~ElementObserver() = default;
    // notification: one of the "AX..." names; context comes back with each notification.
    virtual void add(const ElementRef& element, const char* notification, void* context) = 0;
    virtual void remove(const ElementRef& element, const char* notification) = 0;
    virtual void addToCurrentRunLoop() = 0;
    virtual void removeFromCurrentRunLoop() = 0;
};
using ElementObserverCallback = std::function<void(const ElementRef& element, const char* notification, void* context)>;

class Accessibility {
  public:
    virtual ~Accessibility() = default;

    virtual ElementRef systemWide() = 0;
    virtual ElementRef application(int32_t pid) = 0;  // there is one for every number, also without such a process

    virtual Attribute copyAttribute(const ElementRef& element, const char* name) = 0;
    // The elements of a list attribute from an index on, at most `count`. error as in Attribute.
    virtual int32_t copyElements(const ElementRef& element, const char* name, size_t from, size_t count,
                                 std::vector<ElementRef>& elements) = 0;
    virtual int32_t setAttribute(const ElementRef& element, const char* name, const AttributeValue& value) = 0;

    virtual int32_t processIdentifier(const ElementRef& element) = 0;  // 0 when it is not known
    virtual uint32_t windowNumber(const ElementRef& element) = 0;      // 0 when it is not known
    virtual std::string describe(const ElementRef& element) = 0;       // for console lines

    // Brings a process to the front with its front window only.
    virtual bool bringToFront(int32_t pid) = 0;

    // Null when the process cannot be watched.
    virtual std::unique_ptr<ElementObserver> makeObserver(int32_t pid, ElementObserverCallback callback) = 0;
};

}  // namespace orvo::platform
