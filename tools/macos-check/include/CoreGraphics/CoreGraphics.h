// Core Graphics, as far as the adapter uses it.
#pragma once

#include <CoreFoundation/CoreFoundation.h>

#pragma clang arc_cf_code_audited begin

typedef double CGFloat;
typedef struct CGPoint {
    CGFloat x;
    CGFloat y;
} CGPoint;
typedef struct CGSize {
    CGFloat width;
    CGFloat height;
} CGSize;
typedef struct CGRect {
    CGPoint origin;
    CGSize size;
} CGRect;

CHECK_C const CGRect CGRectZero;
CHECK_C const CGRect CGRectNull;
CHECK_C bool CGRectIsEmpty(CGRect rect);
CHECK_C CGRect CGRectIntersection(CGRect a, CGRect b);
CHECK_C bool CGRectMakeWithDictionaryRepresentation(CFDictionaryRef dictionary, CGRect* rect);
static inline CGPoint CGPointMake(CGFloat x, CGFloat y) {
    CGPoint point = {x, y};
    return point;
}
static inline CGSize CGSizeMake(CGFloat width, CGFloat height) {
    CGSize size = {width, height};
    return size;
}
static inline CGRect CGRectMake(CGFloat x, CGFloat y, CGFloat width, CGFloat height) {
    CGRect rect = {{x, y}, {width, height}};
    return rect;
}

// Displays and the permission.
typedef uint32_t CGDirectDisplayID;
typedef enum CGError : int32_t { kCGErrorSuccess = 0 } CGError;
CHECK_C CGError CGGetActiveDisplayList(uint32_t max, CGDirectDisplayID* displays, uint32_t* count);
CHECK_C CGDirectDisplayID CGMainDisplayID(void);
CHECK_C CGRect CGDisplayBounds(CGDirectDisplayID display);
CHECK_C size_t CGDisplayPixelsHigh(CGDirectDisplayID display);
typedef struct CGDisplayMode* CGDisplayModeRef;
CHECK_C CGDisplayModeRef CGDisplayCopyDisplayMode(CGDirectDisplayID display);
CHECK_C size_t CGDisplayModeGetWidth(CGDisplayModeRef mode);
CHECK_C size_t CGDisplayModeGetPixelWidth(CGDisplayModeRef mode);
CHECK_C void CGDisplayModeRelease(CGDisplayModeRef mode);
// Declared for 10.15 by the system, whose own 10.15 does not have it.
CHECK_C bool CGPreflightScreenCaptureAccess(void) CHECK_SINCE(11.0);
CHECK_C bool CGRequestScreenCaptureAccess(void) CHECK_SINCE(11.0);

// The window list.
typedef uint32_t CGWindowID;
typedef uint32_t CGWindowListOption;
enum : CGWindowListOption {
    kCGWindowListOptionAll = 0,
    kCGWindowListOptionOnScreenOnly = 1,
    kCGWindowListOptionOnScreenAboveWindow = 2,
    kCGWindowListOptionOnScreenBelowWindow = 4,
    kCGWindowListOptionIncludingWindow = 8,
    kCGWindowListExcludeDesktopElements = 16,
};
typedef uint32_t CGWindowImageOption;
enum : CGWindowImageOption {
    kCGWindowImageDefault = 0,
    kCGWindowImageBoundsIgnoreFraming = 1,
};
#define kCGNullWindowID ((CGWindowID)0)
CHECK_C const CFStringRef kCGWindowNumber;
CHECK_C const CFStringRef kCGWindowLayer;
CHECK_C const CFStringRef kCGWindowBounds;
CHECK_C const CFStringRef kCGWindowAlpha;
CHECK_C const CFStringRef kCGWindowOwnerPID;
CHECK_C const CFStringRef kCGWindowOwnerName;
CHECK_C const CFStringRef kCGWindowName;
CHECK_C CFArrayRef CGWindowListCopyWindowInfo(CGWindowListOption option, CGWindowID relativeTo);
CHECK_C CFArrayRef CGWindowListCreate(CGWindowListOption option, CGWindowID relativeTo);

// Declared so that a direct use is reported.
typedef struct CGImage* CGImageRef;
CHECK_C CGImageRef CGWindowListCreateImage(CGRect bounds, CGWindowListOption list, CGWindowID window,
                                           CGWindowImageOption options) CHECK_OBSOLETE(10.5, 14.0, 15.0);
CHECK_C CGImageRef CGWindowListCreateImageFromArray(CGRect bounds, CFArrayRef windows, CGWindowImageOption options)
    CHECK_OBSOLETE(10.5, 14.0, 15.0);
CHECK_C CGImageRef CGDisplayCreateImage(CGDirectDisplayID display) CHECK_OBSOLETE(10.6, 14.4, 15.0);

// Images, data providers, contexts.
typedef struct CGColorSpace* CGColorSpaceRef;
typedef struct CGContext* CGContextRef;
typedef struct CGDataProvider* CGDataProviderRef;
typedef enum CGImageAlphaInfo : uint32_t {
    kCGImageAlphaNone = 0,
    kCGImageAlphaPremultipliedLast = 1,
    kCGImageAlphaPremultipliedFirst = 2,
    kCGImageAlphaLast = 3,
    kCGImageAlphaFirst = 4,
    kCGImageAlphaNoneSkipLast = 5,
    kCGImageAlphaNoneSkipFirst = 6,
    kCGImageAlphaOnly = 7,
} CGImageAlphaInfo;
typedef uint32_t CGBitmapInfo;
enum : CGBitmapInfo { kCGBitmapByteOrder32Little = 0x2000 };
typedef enum CGColorRenderingIntent : int32_t { kCGRenderingIntentDefault = 0 } CGColorRenderingIntent;

CHECK_C CGImageRef CGImageCreate(size_t width, size_t height, size_t bitsPerComponent, size_t bitsPerPixel,
                                 size_t bytesPerRow, CGColorSpaceRef space, CGBitmapInfo info,
                                 CGDataProviderRef provider, const CGFloat* decode, bool interpolate,
                                 CGColorRenderingIntent intent);
CHECK_C CGImageRef CGImageCreateWithImageInRect(CGImageRef image, CGRect rect);
CHECK_C size_t CGImageGetWidth(CGImageRef image);
CHECK_C size_t CGImageGetHeight(CGImageRef image);
CHECK_C size_t CGImageGetBytesPerRow(CGImageRef image);
CHECK_C size_t CGImageGetBitsPerPixel(CGImageRef image);
CHECK_C size_t CGImageGetBitsPerComponent(CGImageRef image);
CHECK_C CGColorSpaceRef CGImageGetColorSpace(CGImageRef image);
CHECK_C CGImageAlphaInfo CGImageGetAlphaInfo(CGImageRef image);
CHECK_C CGBitmapInfo CGImageGetBitmapInfo(CGImageRef image);
CHECK_C CGDataProviderRef CGImageGetDataProvider(CGImageRef image);
CHECK_C CFDataRef CGDataProviderCopyData(CGDataProviderRef provider);
CHECK_C CGDataProviderRef CGDataProviderCreateWithCFData(CFDataRef data);
typedef void (*CGDataProviderReleaseDataCallback)(void* context, const void* data, size_t size);
CHECK_C CGDataProviderRef CGDataProviderCreateWithData(void* context, const void* data, size_t size,
                                                       CGDataProviderReleaseDataCallback release);
CHECK_C CGColorSpaceRef CGColorSpaceCreateDeviceRGB(void);
CHECK_C const CFStringRef kCGColorSpaceSRGB;
CHECK_C CGColorSpaceRef CGColorSpaceCreateWithName(CFStringRef name);
CHECK_C CGContextRef CGBitmapContextCreate(void* data, size_t width, size_t height, size_t bitsPerComponent,
                                           size_t bytesPerRow, CGColorSpaceRef space, CGBitmapInfo info);
CHECK_C CGImageRef CGBitmapContextCreateImage(CGContextRef context);
CHECK_C void CGContextDrawImage(CGContextRef context, CGRect rect, CGImageRef image);

#pragma clang arc_cf_code_audited end
