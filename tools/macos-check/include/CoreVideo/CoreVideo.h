// Core Video, as far as the adapter uses it.
#pragma once

#include <CoreFoundation/CoreFoundation.h>
#include <CoreGraphics/CoreGraphics.h>

#pragma clang arc_cf_code_audited begin

typedef int32_t CVReturn;
enum : CVReturn { kCVReturnSuccess = 0 };
typedef uint64_t CVPixelBufferLockFlags;
enum : CVPixelBufferLockFlags { kCVPixelBufferLock_ReadOnly = 1 };
enum : OSType { kCVPixelFormatType_24RGB = 24, kCVPixelFormatType_32BGRA = 0x42475241 };

typedef struct __CVBuffer* CVBufferRef;
typedef CVBufferRef CVImageBufferRef;
typedef CVImageBufferRef CVPixelBufferRef;
typedef void (*CVPixelBufferReleaseBytesCallback)(void* context, const void* bytes);

CHECK_C const CFStringRef kCVPixelBufferPixelFormatTypeKey;
CHECK_C const CFStringRef kCVPixelBufferCGImageCompatibilityKey;
CHECK_C const CFStringRef kCVPixelBufferCGBitmapContextCompatibilityKey;

CHECK_C CVReturn CVPixelBufferCreateWithBytes(CFAllocatorRef allocator, size_t width, size_t height, OSType format,
                                              void* bytes, size_t bytesPerRow,
                                              CVPixelBufferReleaseBytesCallback release, void* context,
                                              CFDictionaryRef attributes,
                                              CVPixelBufferRef* CHECK_RETURNS_RETAINED buffer);
CHECK_C CVReturn CVPixelBufferLockBaseAddress(CVPixelBufferRef buffer, CVPixelBufferLockFlags flags);
CHECK_C CVReturn CVPixelBufferUnlockBaseAddress(CVPixelBufferRef buffer, CVPixelBufferLockFlags flags);
CHECK_C void* CVPixelBufferGetBaseAddress(CVPixelBufferRef buffer);
CHECK_C void* CVPixelBufferGetBaseAddressOfPlane(CVPixelBufferRef buffer, size_t plane);
CHECK_C size_t CVPixelBufferGetBytesPerRow(CVPixelBufferRef buffer);
CHECK_C size_t CVPixelBufferGetBytesPerRowOfPlane(CVPixelBufferRef buffer, size_t plane);
CHECK_C size_t CVPixelBufferGetDataSize(CVPixelBufferRef buffer);
CHECK_C size_t CVPixelBufferGetWidth(CVPixelBufferRef buffer);
CHECK_C size_t CVPixelBufferGetHeight(CVPixelBufferRef buffer);
CHECK_C size_t CVPixelBufferGetPlaneCount(CVPixelBufferRef buffer);
CHECK_C CGSize CVImageBufferGetDisplaySize(CVImageBufferRef buffer);

#pragma clang arc_cf_code_audited end
