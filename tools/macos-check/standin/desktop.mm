// The desktop: displays, lists of windows, the window server's image functions, the permission, accessibility.
#include <AppKit/AppKit.h>
#include <ApplicationServices/ApplicationServices.h>
#include <CoreVideo/CoreVideo.h>

#include <cstdio>
#include <cstring>
#include <map>
#include <optional>
#include <thread>

#include "tools/macos-check/standin/desk.h"
#include "tools/macos-check/standin/runtime.h"
#include "tools/macos-check/standin/values.h"

using standin::createBitmap;
using standin::desk;
using standin::note;

@interface StandInMode : NSObject {
  @public
    size_t points, pixels;
}
@end
@implementation StandInMode
@end

template <typename Item, typename Matches>
static std::optional<Item> findIn(const std::vector<Item>& items, Matches matches) {
    std::lock_guard guard(desk().lock);
    for (const Item& item : items)
        if (matches(item)) return item;
    return std::nullopt;
}
static auto displayOf(uint32_t number) {
    return findIn(desk().displays, [&](const auto& display) { return display.number == number; });
}
static auto windowOf(uint32_t number) {
    return findIn(desk().windows, [&](const auto& window) { return window.number == number; });
}
template <typename Item>
static std::vector<Item> copyOf(const std::vector<Item>& items) {
    std::lock_guard guard(desk().lock);
    return items;
}
static std::string textOf(CGRect rect) {
    char text[80];
    std::snprintf(text, sizeof text, "%g,%g %gx%g", rect.origin.x, rect.origin.y, rect.size.width, rect.size.height);
    return text;
}
static size_t whole(double value) {
    return static_cast<size_t>(value);
}
// Runs before a picture is made: what happens in the middle of a tick.
static void beforePicture() {
    std::function<void()> hook;
    {
        std::lock_guard guard(desk().lock);
        hook = desk().onPicture;
    }
    if (hook) hook();
}

extern "C" {

CGDirectDisplayID CGMainDisplayID() {
    const auto displays = copyOf(desk().displays);
    return displays.empty() ? 0 : displays.front().number;
}
CGError CGGetActiveDisplayList(uint32_t max, CGDirectDisplayID* numbers, uint32_t* count) {
    *count = 0;
    for (const auto& display : copyOf(desk().displays))
        if (*count < max) numbers[(*count)++] = display.number;
    return kCGErrorSuccess;
}
CGRect CGDisplayBounds(CGDirectDisplayID number) {
    const auto display = displayOf(number);
    return display ? display->bounds : CGRectZero;
}
size_t CGDisplayPixelsHigh(CGDirectDisplayID number) {
    return whole(CGDisplayBounds(number).size.height);  // points, as measured on systems with scaled displays
}
CGDisplayModeRef CGDisplayCopyDisplayMode(CGDirectDisplayID number) {
    const auto display = displayOf(number);
    if (!display) return nullptr;
    StandInMode* mode = [[StandInMode alloc] init];
    mode->points = whole(display->bounds.size.width);
    mode->pixels = whole(display->bounds.size.width * display->scale);
    return handOver<CGDisplayModeRef>(mode);
}
size_t CGDisplayModeGetWidth(CGDisplayModeRef mode) {
    return ((__bridge StandInMode*)mode)->points;
}
size_t CGDisplayModeGetPixelWidth(CGDisplayModeRef mode) {
    return ((__bridge StandInMode*)mode)->pixels;
}
bool CGPreflightScreenCaptureAccess() {
    std::lock_guard guard(desk().lock);
    return desk().isPermitted;
}
bool CGRequestScreenCaptureAccess() {
    return CGPreflightScreenCaptureAccess();
}

// The lists.
#define KEY(name) const CFStringRef name = (__bridge CFStringRef) @ #name
KEY(kCGWindowNumber);
KEY(kCGWindowLayer);
KEY(kCGWindowBounds);
KEY(kCGWindowAlpha);
KEY(kCGWindowOwnerPID);
KEY(kCGWindowOwnerName);
KEY(kCGWindowName);
KEY(kCVPixelBufferPixelFormatTypeKey);
KEY(kCVPixelBufferCGImageCompatibilityKey);
KEY(kCVPixelBufferCGBitmapContextCompatibilityKey);
KEY(kAXTrustedCheckOptionPrompt);
KEY(kCFRunLoopDefaultMode);
KEY(kCGColorSpaceSRGB);

static NSDictionary* entryOf(const standin::WindowState& window) {
    NSDictionary* entry = [[NSDictionary alloc] init];
    auto& items = entry->items;
    items["kCGWindowNumber"] = window.isSpoilt ? textOf(std::string("seven")) : numberOf(window.number);
    items["kCGWindowLayer"] = numberOf(window.layer);
    items["kCGWindowAlpha"] = numberOf(window.alpha);
    items["kCGWindowOwnerPID"] = numberOf(window.pid);
    items["kCGWindowOwnerName"] = textOf(window.owner);
    if (!window.name.empty()) items["kCGWindowName"] = textOf(window.name);
    const CGRect bounds = window.bounds;
    items["kCGWindowBounds"] = @{
        @"X" : numberOf(bounds.origin.x),
        @"Y" : numberOf(bounds.origin.y),
        @"Width" : numberOf(bounds.size.width),
        @"Height" : numberOf(bounds.size.height)
    };
    return entry;
}
CFArrayRef CGWindowListCopyWindowInfo(CGWindowListOption option, CGWindowID relativeTo) {
    note("info " + std::to_string(option) + " " + std::to_string(relativeTo));
    NSMutableArray* list = [[NSMutableArray alloc] init];
    for (const auto& window : copyOf(desk().windows))
        if (window.isOnScreen) [list addObject:entryOf(window)];
    return handOver<CFArrayRef>(list);
}
CFArrayRef CGWindowListCreate(CGWindowListOption option, CGWindowID relativeTo) {
    note("list " + std::to_string(option) + " " + std::to_string(relativeTo));
    std::vector<const void*> numbers;
    for (const auto& window : copyOf(desk().windows))
        if (window.isOnScreen) numbers.push_back(reinterpret_cast<const void*>(static_cast<uintptr_t>(window.number)));
    return CFArrayCreate(nullptr, numbers.data(), static_cast<CFIndex>(numbers.size()), nullptr);
}

// The image functions, which the adapter looks up.
static CGImageRef listImage(CGRect bounds, CGWindowListOption list, CGWindowID number, CGWindowImageOption options) {
    note("image " + textOf(bounds) + " list " + std::to_string(list) + " window " + std::to_string(number) +
         " options " + std::to_string(options));
    beforePicture();
    if (!desk().answersImages) return nullptr;
    if (list != kCGWindowListOptionIncludingWindow)
        return createBitmap(whole(bounds.size.width), whole(bounds.size.height), 200, 0);
    const auto window = windowOf(number);
    if (!window || !window->isOnScreen) return nullptr;
    return createBitmap(whole(window->bounds.size.width), whole(window->bounds.size.height),
                        static_cast<uint8_t>(number), 16);
}
static CGImageRef arrayImage(CGRect bounds, CFArrayRef numbers, CGWindowImageOption options) {
    std::string call = "composed " + textOf(bounds);
    for (CFIndex i = 0; i < CFArrayGetCount(numbers); ++i)
        call += " " + std::to_string(reinterpret_cast<uintptr_t>(CFArrayGetValueAtIndex(numbers, i)));
    note(call + " options " + std::to_string(options));
    beforePicture();
    if (!desk().answersImages) return nullptr;
    return createBitmap(whole(bounds.size.width), whole(bounds.size.height), 77, 0);
}
static CGImageRef displayImage(CGDirectDisplayID number) {
    note("display " + std::to_string(number));
    beforePicture();
    const auto display = displayOf(number);
    if (!display || !desk().answersImages) return nullptr;
    return createBitmap(whole(display->bounds.size.width * display->scale),
                        whole(display->bounds.size.height * display->scale), static_cast<uint8_t>(number), 0);
}

// Elements. The number says whether it is the system, an application or a window.
}
@interface StandInElement : NSObject {
  @public
    int32_t pid;
    uint32_t window;
    bool isSystemWide;
}
@end
@implementation StandInElement
@end
@interface StandInAXValue : NSObject {
  @public
    AXValueType type;
    double numbers[2];
}
@end
@implementation StandInAXValue
@end
@interface StandInObserver : NSObject {
  @public
    AXObserverCallback callback;
    std::map<std::string, void*> watched;
    NSObject* source;
}
@end
@implementation StandInObserver
@end

static StandInElement* elementOf(AXUIElementRef reference) {
    return (__bridge StandInElement*)reference;
}
static StandInElement* makeElement(int32_t pid, uint32_t window) {
    StandInElement* element = [[StandInElement alloc] init];
    element->pid = pid;
    element->window = window;
    return element;
}
static std::string bytesOf(CFStringRef text) {
    return ((__bridge NSString*)text).UTF8String;
}
// A hung application answers nobody; whoever set no limit waits for long.
static bool isHung(AXUIElementRef element) {
    const auto application =
        findIn(desk().applications, [&](const auto& each) { return each.pid == elementOf(element)->pid; });
    if (!application || !application->isHung) return false;
    note("waits for " + std::to_string(application->pid));
    std::this_thread::sleep_for(std::chrono::duration<float>(desk().longestLimit > 0 ? 0.02F : 3.0F));
    return true;
}
static id geometry(AXValueType type, double a, double b) {
    StandInAXValue* value = [[StandInAXValue alloc] init];
    value->type = type;
    value->numbers[0] = a;
    value->numbers[1] = b;
    return value;
}
static id attributeOf(AXUIElementRef element, const std::string& name) {
    StandInElement* asked = elementOf(element);
    if (name == "AXWindows") {
        NSMutableArray* windows = [[NSMutableArray alloc] init];
        for (const auto& window : copyOf(desk().windows))
            if (window.pid == asked->pid) [windows addObject:makeElement(window.pid, window.number)];
        return windows;
    }
    const auto window = windowOf(asked->window);
    if (!window) return nil;
    if (name == "AXPosition") return geometry(kAXValueTypeCGPoint, window->bounds.origin.x, window->bounds.origin.y);
    if (name == "AXSize") return geometry(kAXValueTypeCGSize, window->bounds.size.width, window->bounds.size.height);
    if (name == "AXTitle") return textOf(window->name);
    if (name == "AXMinimized") return numberOf(window->isOnScreen ? 0 : 1);  // a number, as some applications answer
    if (name == "AXFullScreen") return [NSNumber numberWithBool:NO];
    if (name == "AXData") return [[NSData alloc] init];
    return nil;
}

extern "C" {

constexpr auto kAXErrorAttributeUnsupported = static_cast<AXError>(-25205);

Boolean AXIsProcessTrusted() {
    return 1;
}
Boolean AXIsProcessTrustedWithOptions(CFDictionaryRef) {
    return 1;
}
CFTypeID AXUIElementGetTypeID() {
    return reinterpret_cast<CFTypeID>((__bridge void*)[StandInElement class]);
}
CFTypeID AXValueGetTypeID() {
    return reinterpret_cast<CFTypeID>((__bridge void*)[StandInAXValue class]);
}
AXUIElementRef AXUIElementCreateApplication(pid_t pid) {
    return handOver<AXUIElementRef>(makeElement(pid, 0));
}
AXUIElementRef AXUIElementCreateSystemWide() {
    StandInElement* element = makeElement(0, 0);
    element->isSystemWide = true;
    return handOver<AXUIElementRef>(element);
}
AXError AXUIElementSetMessagingTimeout(AXUIElementRef element, float seconds) {
    if (elementOf(element)->isSystemWide) note("the limit of the whole process is set");
    std::lock_guard guard(desk().lock);
    desk().longestLimit = std::max(desk().longestLimit, seconds);
    return kAXErrorSuccess;
}
AXError AXUIElementCopyAttributeValue(AXUIElementRef element, CFStringRef attribute, CFTypeRef* value) {
    *value = nullptr;
    if (isHung(element)) return kAXErrorCannotComplete;
    id answer = attributeOf(element, bytesOf(attribute));
    if (!answer) return kAXErrorAttributeUnsupported;
    *value = handOver<CFTypeRef>(answer);
    return kAXErrorSuccess;
}
AXError AXUIElementCopyAttributeValues(AXUIElementRef element, CFStringRef attribute, CFIndex from, CFIndex count,
                                       CFArrayRef* values) {
    note("values " + std::to_string(from) + " " + std::to_string(count));
    CFTypeRef all = nullptr;
    const AXError error = AXUIElementCopyAttributeValue(element, attribute, &all);
    *values = static_cast<CFArrayRef>(all);
    return error;
}
AXError AXUIElementSetAttributeValue(AXUIElementRef element, CFStringRef attribute, CFTypeRef value) {
    if (isHung(element)) return kAXErrorCannotComplete;
    note("set " + bytesOf(attribute) + (value == kCFBooleanTrue ? " true" : " other"));
    return kAXErrorSuccess;
}
AXError AXUIElementGetPid(AXUIElementRef element, pid_t* pid) {
    *pid = elementOf(element)->pid;
    return kAXErrorSuccess;
}
static AXError windowOfElement(AXUIElementRef element, CGWindowID* number) {
    *number = elementOf(element)->window;
    return kAXErrorSuccess;
}
AXValueRef AXValueCreate(AXValueType type, const void* value) {
    const auto* numbers = static_cast<const double*>(value);
    return handOver<AXValueRef>(geometry(type, numbers[0], numbers[1]));
}
Boolean AXValueGetValue(AXValueRef reference, AXValueType type, void* value) {
    StandInAXValue* object = (__bridge StandInAXValue*)reference;
    if (object->type != type) return 0;
    std::memcpy(value, object->numbers, sizeof object->numbers);
    return 1;
}
static __unsafe_unretained StandInObserver* lastObserver;
AXError AXObserverCreate(pid_t, AXObserverCallback callback, AXObserverRef* out) {
    StandInObserver* observer = [[StandInObserver alloc] init];
    observer->callback = callback;
    observer->source = [[NSObject alloc] init];
    lastObserver = observer;
    *out = handOver<AXObserverRef>(observer);
    return kAXErrorSuccess;
}
AXError AXObserverAddNotification(AXObserverRef observer, AXUIElementRef element, CFStringRef name, void* context) {
    if (isHung(element)) return kAXErrorCannotComplete;
    ((__bridge StandInObserver*)observer)->watched[bytesOf(name)] = context;
    return kAXErrorSuccess;
}
AXError AXObserverRemoveNotification(AXObserverRef observer, AXUIElementRef, CFStringRef name) {
    ((__bridge StandInObserver*)observer)->watched.erase(bytesOf(name));
    return kAXErrorSuccess;
}
CFRunLoopSourceRef AXObserverGetRunLoopSource(AXObserverRef observer) {
    return (__bridge CFRunLoopSourceRef)((__bridge StandInObserver*)observer)->source;
}
CFRunLoopRef CFRunLoopGetCurrent() {
    return nullptr;
}
void CFRunLoopAddSource(CFRunLoopRef, CFRunLoopSourceRef, CFRunLoopMode mode) {
    note("run loop source in " + bytesOf(mode));
}
void CFRunLoopRemoveSource(CFRunLoopRef, CFRunLoopSourceRef, CFRunLoopMode) {
    note("run loop source removed");
}
OSStatus GetProcessForPID(pid_t pid, ProcessSerialNumber* process) {
    *process = {0, static_cast<UInt32>(pid)};
    return noErr;
}
OSStatus SetFrontProcessWithOptions(const ProcessSerialNumber* process, OptionBits options) {
    note("front " + std::to_string(process->lowLongOfPSN) + " " + std::to_string(options));
    return noErr;
}

// The adapter's look-ups end here.
void* standin_dlsym(void*, const char* name) {
    const std::map<std::string, void*> images{{"CGWindowListCreateImage", reinterpret_cast<void*>(listImage)},
                                              {"CGWindowListCreateImageFromArray", reinterpret_cast<void*>(arrayImage)},
                                              {"CGDisplayCreateImage", reinterpret_cast<void*>(displayImage)}};
    if (std::strcmp(name, "_AXUIElementGetWindow") == 0) return reinterpret_cast<void*>(windowOfElement);
    const auto found = images.find(name);
    // A system without them may still have the one for displays.
    const bool isThere = desk().hasImageFunctions || std::strcmp(name, "CGDisplayCreateImage") == 0;
    return found != images.end() && isThere ? found->second : nullptr;
}
}

namespace standin {

// What an application does that somebody watches. False when nobody does.
bool notifyObserver(const char* name, uint32_t window) {
    if (!lastObserver || !lastObserver->watched.contains(name)) return false;
    StandInElement* element = makeElement(0, window);
    lastObserver->callback((__bridge AXObserverRef)lastObserver, (__bridge AXUIElementRef)element,
                           (__bridge CFStringRef)textOf(std::string(name)), lastObserver->watched[name]);
    return true;
}

}  // namespace standin
