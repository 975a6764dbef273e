// The accessibility service and the Process Manager, as far as the adapter uses them.
#pragma once

#include <CoreGraphics/CoreGraphics.h>

typedef enum AXError : int32_t {
    kAXErrorSuccess = 0,
    kAXErrorIllegalArgument = -25201,
    kAXErrorCannotComplete = -25204,
} AXError;
typedef enum AXValueType : uint32_t { kAXValueTypeCGPoint = 1, kAXValueTypeCGSize = 2 } AXValueType;

typedef const struct __AXUIElement* AXUIElementRef;
typedef const struct __AXValue* AXValueRef;
typedef struct __AXObserver* AXObserverRef;
typedef void (*AXObserverCallback)(AXObserverRef observer, AXUIElementRef element, CFStringRef notification,
                                   void* context);

CHECK_C Boolean AXIsProcessTrusted(void);
CHECK_C Boolean AXIsProcessTrustedWithOptions(CFDictionaryRef options);
CHECK_C const CFStringRef kAXTrustedCheckOptionPrompt;

CHECK_C CFTypeID AXUIElementGetTypeID(void);
CHECK_C CHECK_RETURNS_RETAINED AXUIElementRef AXUIElementCreateApplication(pid_t pid);
CHECK_C CHECK_RETURNS_RETAINED AXUIElementRef AXUIElementCreateSystemWide(void);
CHECK_C AXError AXUIElementCopyAttributeValue(AXUIElementRef element, CFStringRef attribute,
                                              CFTypeRef* CHECK_RETURNS_RETAINED value);
CHECK_C AXError AXUIElementCopyAttributeValues(AXUIElementRef element, CFStringRef attribute, CFIndex index,
                                               CFIndex maxValues, CFArrayRef* CHECK_RETURNS_RETAINED values);
CHECK_C AXError AXUIElementSetAttributeValue(AXUIElementRef element, CFStringRef attribute, CFTypeRef value);
CHECK_C AXError AXUIElementSetMessagingTimeout(AXUIElementRef element, float seconds);
CHECK_C AXError AXUIElementGetPid(AXUIElementRef element, pid_t* pid);

CHECK_C CFTypeID AXValueGetTypeID(void);
CHECK_C CHECK_RETURNS_RETAINED AXValueRef AXValueCreate(AXValueType type, const void* value);
CHECK_C Boolean AXValueGetValue(AXValueRef object, AXValueType type, void* value);

CHECK_C AXError AXObserverCreate(pid_t pid, AXObserverCallback callback,
                                 AXObserverRef* CHECK_RETURNS_RETAINED observer);
CHECK_C AXError AXObserverAddNotification(AXObserverRef observer, AXUIElementRef element, CFStringRef notification,
                                          void* context);
CHECK_C AXError AXObserverRemoveNotification(AXObserverRef observer, AXUIElementRef element, CFStringRef notification);
CHECK_C CFRunLoopSourceRef AXObserverGetRunLoopSource(AXObserverRef observer);

typedef struct ProcessSerialNumber {
    UInt32 highLongOfPSN;
    UInt32 lowLongOfPSN;
} ProcessSerialNumber;
enum : OptionBits { kSetFrontProcessFrontWindowOnly = 1 };
CHECK_C OSStatus GetProcessForPID(pid_t pid, ProcessSerialNumber* process) CHECK_DEPRECATED(10.0, 10.9);
CHECK_C OSStatus SetFrontProcessWithOptions(const ProcessSerialNumber* process, OptionBits options)
    CHECK_DEPRECATED(10.2, 10.9);
