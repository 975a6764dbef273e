// Core Foundation, as far as the adapter uses it.
#pragma once

#include <orvo_check.h>

#pragma clang arc_cf_code_audited begin

typedef const void* CFTypeRef;
typedef unsigned char Boolean;
typedef uint8_t UInt8;
typedef uint32_t UInt32;
typedef int32_t OSStatus;
typedef uint32_t OSType;
typedef uint32_t OptionBits;
typedef long CFIndex;
typedef unsigned long CFTypeID;
typedef double CFAbsoluteTime;
typedef double CFTimeInterval;
typedef uint32_t CFStringEncoding;

typedef const struct __CFAllocator* CFAllocatorRef;
typedef const struct __CFArray* CFArrayRef;
typedef const struct __CFBoolean* CFBooleanRef;
typedef const struct __CFData* CFDataRef;
typedef struct __CFData* CFMutableDataRef;
typedef const struct __CFDictionary* CFDictionaryRef;
typedef const struct __CFNumber* CFNumberRef;
typedef const struct __CFString* CFStringRef;
typedef struct __CFRunLoop* CFRunLoopRef;
typedef struct __CFRunLoopSource* CFRunLoopSourceRef;
typedef CFStringRef CFRunLoopMode;

typedef struct {
    CFIndex version;
    const void* (*retain)(CFAllocatorRef, const void*);
    void (*release)(CFAllocatorRef, const void*);
    CFStringRef (*copyDescription)(const void*);
    Boolean (*equal)(const void*, const void*);
} CFArrayCallBacks;

enum { noErr = 0 };
enum : CFStringEncoding { kCFStringEncodingUTF8 = 0x08000100 };

CHECK_C const CFAllocatorRef kCFAllocatorDefault;
CHECK_C const CFBooleanRef kCFBooleanTrue;
CHECK_C const CFBooleanRef kCFBooleanFalse;
CHECK_C const CFRunLoopMode kCFRunLoopDefaultMode;
CHECK_C const CFTimeInterval kCFAbsoluteTimeIntervalSince1970;

CHECK_C CFTypeRef CFRetain(CFTypeRef object);
CHECK_C void CFRelease(CFTypeRef object);
CHECK_C CFTypeID CFGetTypeID(CFTypeRef object);

CHECK_C CFTypeID CFArrayGetTypeID(void);
CHECK_C CFArrayRef CFArrayCreate(CFAllocatorRef allocator, const void** values, CFIndex count,
                                 const CFArrayCallBacks* callbacks);
CHECK_C CFIndex CFArrayGetCount(CFArrayRef array);
CHECK_C const void* CFArrayGetValueAtIndex(CFArrayRef array, CFIndex index);

typedef CFIndex CFNumberType;
enum : CFNumberType { kCFNumberDoubleType = 13 };
CHECK_C CFTypeID CFDictionaryGetTypeID(void);
CHECK_C CFTypeID CFNumberGetTypeID(void);
CHECK_C CFNumberRef CFNumberCreate(CFAllocatorRef allocator, CFNumberType type, const void* value);

CHECK_C CFTypeID CFBooleanGetTypeID(void);
CHECK_C Boolean CFBooleanGetValue(CFBooleanRef boolean);

CHECK_C CFDataRef CFDataCreate(CFAllocatorRef allocator, const UInt8* bytes, CFIndex length);
CHECK_C CFMutableDataRef CFDataCreateMutableCopy(CFAllocatorRef allocator, CFIndex capacity, CFDataRef data);
CHECK_C void CFDataSetLength(CFMutableDataRef data, CFIndex length);
CHECK_C const UInt8* CFDataGetBytePtr(CFDataRef data);
CHECK_C CFIndex CFDataGetLength(CFDataRef data);

CHECK_C CFTypeID CFStringGetTypeID(void);
CHECK_C CFStringRef CFStringCreateWithCString(CFAllocatorRef allocator, const char* text, CFStringEncoding encoding);

CHECK_C CFAbsoluteTime CFAbsoluteTimeGetCurrent(void);
CHECK_C CFRunLoopRef CFRunLoopGetCurrent(void);
CHECK_C int32_t CFRunLoopRunInMode(CFRunLoopMode mode, CFTimeInterval seconds, Boolean returnAfterSourceHandled);
CHECK_C void CFRunLoopAddSource(CFRunLoopRef loop, CFRunLoopSourceRef source, CFRunLoopMode mode);
CHECK_C void CFRunLoopRemoveSource(CFRunLoopRef loop, CFRunLoopSourceRef source, CFRunLoopMode mode);

#pragma clang arc_cf_code_audited end
