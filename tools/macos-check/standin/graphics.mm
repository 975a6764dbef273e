// Core Foundation, Core Graphics, Core Video, Core Media, Image I/O and Accelerate over the same objects.
#include <Accelerate/Accelerate.h>
#include <AppKit/AppKit.h>
#include <CoreMedia/CoreMedia.h>
#include <ImageIO/ImageIO.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdlib>
#include <cstring>

#include "tools/macos-check/standin/desk.h"
#include "tools/macos-check/standin/pictures.h"
#include "tools/macos-check/standin/runtime.h"
#include "tools/macos-check/standin/values.h"

using standin::desk;
using standin::note;

extern "C" {

// Core Foundation.
const CFAllocatorRef kCFAllocatorDefault = nullptr;
const CFTimeInterval kCFAbsoluteTimeIntervalSince1970 = 978307200;
const CFBooleanRef kCFBooleanTrue = handOver<CFBooleanRef>([NSNumber numberWithBool:YES]);
const CFBooleanRef kCFBooleanFalse = handOver<CFBooleanRef>([NSNumber numberWithBool:NO]);

CFTypeRef CFRetain(CFTypeRef object) {
    if (!object) abort();
    return (__bridge CFTypeRef)objc_retain((__bridge id)object);
}
void CFRelease(CFTypeRef object) {
    if (!object) abort();
    objc_release((__bridge id)object);
}
CFTypeID CFArrayGetTypeID() {
    return 1;
}
CFTypeID CFBooleanGetTypeID() {
    return 2;
}
CFTypeID CFStringGetTypeID() {
    return 3;
}
CFTypeID CFDictionaryGetTypeID() {
    return 4;
}
CFTypeID CFNumberGetTypeID() {
    return 5;
}
CFTypeID CFGetTypeID(CFTypeRef reference) {
    id object = (__bridge id)reference;
    if (standin_is_kind(object, [NSArray class])) return CFArrayGetTypeID();
    if (standin_is_kind(object, [NSString class])) return CFStringGetTypeID();
    if (standin_is_kind(object, [NSDictionary class])) return CFDictionaryGetTypeID();
    if (standin_is_kind(object, [NSNumber class]))
        return ((NSNumber*)object)->isBoolean ? CFBooleanGetTypeID() : CFNumberGetTypeID();
    return reinterpret_cast<CFTypeID>(*static_cast<void* const*>(reference));  // its class
}
CFArrayRef CFArrayCreate(CFAllocatorRef, const void** values, CFIndex count, const CFArrayCallBacks* callbacks) {
    if (callbacks) abort();  // the adapter's arrays hold numbers in place of objects
    NSArray* array = [[NSArray alloc] init];
    array->raw.assign(values, values + count);
    return handOver<CFArrayRef>(array);
}
CFIndex CFArrayGetCount(CFArrayRef reference) {
    NSArray* array = (__bridge NSArray*)reference;
    return static_cast<CFIndex>(array->raw.size() + array->items.size());
}
const void* CFArrayGetValueAtIndex(CFArrayRef reference, CFIndex index) {
    NSArray* array = (__bridge NSArray*)reference;
    const auto at = static_cast<size_t>(index);
    return array->raw.empty() ? (__bridge const void*)array->items.at(at) : array->raw.at(at);
}
Boolean CFBooleanGetValue(CFBooleanRef boolean) {
    return ((__bridge NSNumber*)boolean)->value != 0;
}
CFNumberRef CFNumberCreate(CFAllocatorRef, CFNumberType type, const void* value) {
    if (type != kCFNumberDoubleType) abort();
    return handOver<CFNumberRef>(numberOf(*static_cast<const double*>(value)));
}
CFDataRef CFDataCreate(CFAllocatorRef, const UInt8* bytes, CFIndex length) {
    NSData* data = [[NSData alloc] init];
    data->bytes.assign(bytes, bytes + length);
    return handOver<CFDataRef>(data);
}
CFMutableDataRef CFDataCreateMutableCopy(CFAllocatorRef, CFIndex, CFDataRef source) {
    NSData* data = [[NSData alloc] init];
    data->bytes = ((__bridge NSData*)source)->bytes;
    return handOver<CFMutableDataRef>(data);
}
void CFDataSetLength(CFMutableDataRef data, CFIndex length) {
    ((__bridge NSData*)data)->bytes.resize(static_cast<size_t>(length));
}
const UInt8* CFDataGetBytePtr(CFDataRef data) {
    return ((__bridge NSData*)data)->bytes.data();
}
CFIndex CFDataGetLength(CFDataRef data) {
    return static_cast<CFIndex>(((__bridge NSData*)data)->bytes.size());
}
CFStringRef CFStringCreateWithCString(CFAllocatorRef, const char* text, CFStringEncoding) {
    return handOver<CFStringRef>(textOf(text));
}
CFAbsoluteTime CFAbsoluteTimeGetCurrent() {
    const auto now = std::chrono::system_clock::now().time_since_epoch();
    return std::chrono::duration<double>(now).count() - kCFAbsoluteTimeIntervalSince1970;
}

// Rectangles.
const CGRect CGRectZero{};
const CGRect CGRectNull{{HUGE_VAL, HUGE_VAL}, {}};
bool CGRectIsEmpty(CGRect rect) {
    return !(rect.size.width > 0 && rect.size.height > 0);
}
CGRect CGRectIntersection(CGRect a, CGRect b) {
    const double left = std::max(a.origin.x, b.origin.x);
    const double top = std::max(a.origin.y, b.origin.y);
    const double right = std::min(a.origin.x + a.size.width, b.origin.x + b.size.width);
    const double bottom = std::min(a.origin.y + a.size.height, b.origin.y + b.size.height);
    return right > left && bottom > top ? CGRectMake(left, top, right - left, bottom - top) : CGRectNull;
}
bool CGRectMakeWithDictionaryRepresentation(CFDictionaryRef reference, CGRect* rect) {
    NSDictionary<NSString*, NSNumber*>* entry = (__bridge NSDictionary*)reference;
    *rect = CGRectMake(entry[@"X"].doubleValue, entry[@"Y"].doubleValue, entry[@"Width"].doubleValue,
                       entry[@"Height"].doubleValue);
    return true;
}
}

// Images.
@implementation StandInProvider
@end
@implementation StandInSpace
@end
@implementation StandInImage
- (const uint8_t*)pixels {
    return CFDataGetBytePtr((__bridge CFDataRef)provider->data) + offset;
}
@end
@implementation StandInContext
@end

static StandInImage* imageOf(CGImageRef reference) {
    return (__bridge StandInImage*)reference;
}
static StandInImage* makeImage(size_t width, size_t height, size_t row, std::vector<uint8_t> bytes, CGBitmapInfo info) {
    StandInImage* image = [[StandInImage alloc] init];
    image->width = width;
    image->height = height;
    image->row = row;
    image->info = info;
    image->space = [[StandInSpace alloc] init];
    image->provider = [[StandInProvider alloc] init];
    image->provider->data = [[NSData alloc] init];
    image->provider->data->bytes = std::move(bytes);
    return image;
}
CGImageRef standin::createBitmap(size_t width, size_t height, uint8_t value, size_t padding) {
    constexpr size_t kPage = 4096;
    const size_t row = width * 4 + padding;
    return handOver<CGImageRef>(
        makeImage(width, height, row, std::vector<uint8_t>((row * height + kPage - 1) / kPage * kPage, value), 0x2002));
}

extern "C" {
size_t CGImageGetWidth(CGImageRef image) {
    return imageOf(image)->width;
}
size_t CGImageGetHeight(CGImageRef image) {
    return imageOf(image)->height;
}
size_t CGImageGetBytesPerRow(CGImageRef image) {
    return imageOf(image)->row;
}
size_t CGImageGetBitsPerPixel(CGImageRef) {
    return 32;
}
size_t CGImageGetBitsPerComponent(CGImageRef) {
    return 8;
}
CGColorSpaceRef CGImageGetColorSpace(CGImageRef image) {
    return (__bridge CGColorSpaceRef)imageOf(image)->space;
}
CGImageAlphaInfo CGImageGetAlphaInfo(CGImageRef image) {
    return static_cast<CGImageAlphaInfo>(imageOf(image)->info & 0x1F);
}
CGBitmapInfo CGImageGetBitmapInfo(CGImageRef image) {
    return imageOf(image)->info;
}
CGDataProviderRef CGImageGetDataProvider(CGImageRef image) {
    return (__bridge CGDataProviderRef)imageOf(image)->provider;
}
CFDataRef CGDataProviderCopyData(CGDataProviderRef provider) {
    const auto& bytes = ((__bridge StandInProvider*)provider)->data->bytes;
    return CFDataCreate(nullptr, bytes.data(), static_cast<CFIndex>(bytes.size()));
}
CGDataProviderRef CGDataProviderCreateWithCFData(CFDataRef data) {
    StandInProvider* provider = [[StandInProvider alloc] init];
    provider->data = (__bridge NSData*)data;
    return handOver<CGDataProviderRef>(provider);
}
CGColorSpaceRef CGColorSpaceCreateDeviceRGB() {
    return handOver<CGColorSpaceRef>([[StandInSpace alloc] init]);
}
// The stand-in's bytes are a copy: what is written behind its back does not show.
CGDataProviderRef CGDataProviderCreateWithData(void* context, const void* data, size_t size,
                                               CGDataProviderReleaseDataCallback release) {
    const auto* bytes = static_cast<const uint8_t*>(data);
    StandInProvider* provider = [[StandInProvider alloc] init];
    provider->data = [[NSData alloc] init];
    provider->data->bytes.assign(bytes, bytes + size);
    release(context, data, size);
    return handOver<CGDataProviderRef>(provider);
}
CGColorSpaceRef CGColorSpaceCreateWithName(CFStringRef) {
    return CGColorSpaceCreateDeviceRGB();
}
CGImageRef CGImageCreate(size_t width, size_t height, size_t bitsPerComponent, size_t bitsPerPixel, size_t row,
                         CGColorSpaceRef space, CGBitmapInfo info, CGDataProviderRef provider, const CGFloat*, bool,
                         CGColorRenderingIntent) {
    StandInProvider* source = (__bridge StandInProvider*)provider;
    if (bitsPerComponent != 8 || bitsPerPixel != 32 || source->data->bytes.size() < row * (height - 1) + width * 4)
        return nullptr;
    StandInImage* image = [[StandInImage alloc] init];
    image->width = width;
    image->height = height;
    image->row = row;
    image->info = info;
    image->space = (__bridge StandInSpace*)space;
    image->provider = source;
    return handOver<CGImageRef>(image);
}
// The part keeps the provider of the whole, which the system is free to do.
CGImageRef CGImageCreateWithImageInRect(CGImageRef reference, CGRect rect) {
    StandInImage* whole = imageOf(reference);
    const double left = std::floor(rect.origin.x), top = std::floor(rect.origin.y);
    const CGRect wide = CGRectMake(left, top, std::ceil(rect.origin.x + rect.size.width) - left,
                                   std::ceil(rect.origin.y + rect.size.height) - top);
    const CGRect bounds = CGRectMake(0, 0, static_cast<double>(whole->width), static_cast<double>(whole->height));
    const CGRect part = CGRectIntersection(wide, bounds);
    if (CGRectIsEmpty(part)) return nullptr;
    StandInImage* image = [[StandInImage alloc] init];
    image->width = static_cast<size_t>(part.size.width);
    image->height = static_cast<size_t>(part.size.height);
    image->row = whole->row;
    image->info = whole->info;
    image->space = whole->space;
    image->provider = whole->provider;
    image->offset =
        whole->offset + static_cast<size_t>(part.origin.y) * whole->row + static_cast<size_t>(part.origin.x) * 4;
    return handOver<CGImageRef>(image);
}
CGContextRef CGBitmapContextCreate(void* data, size_t width, size_t height, size_t bitsPerComponent, size_t row,
                                   CGColorSpaceRef, CGBitmapInfo info) {
    note("context row " + std::to_string(row) + " info " + std::to_string(info));
    if (data || bitsPerComponent != 8 || width == 0 || height == 0 || row < width * 4) return nullptr;
    StandInContext* context = [[StandInContext alloc] init];
    context->width = width;
    context->height = height;
    context->row = row;
    context->info = info;
    context->bytes.resize(row * height);
    return handOver<CGContextRef>(context);
}
// Nearest pixel; the target counts from the bottom.
void CGContextDrawImage(CGContextRef reference, CGRect target, CGImageRef image) {
    StandInContext* context = (__bridge StandInContext*)reference;
    StandInImage* source = imageOf(image);
    for (size_t y = 0; y < context->height; ++y)
        for (size_t x = 0; x < context->width; ++x) {
            const double across = (static_cast<double>(x) + 0.5 - target.origin.x) / target.size.width;
            const double up = (static_cast<double>(context->height - y) - 0.5 - target.origin.y) / target.size.height;
            if (across < 0 || across >= 1 || up < 0 || up >= 1) continue;
            const auto row = static_cast<size_t>((1 - up) * static_cast<double>(source->height));
            const auto column = static_cast<size_t>(across * static_cast<double>(source->width));
            std::memcpy(&context->bytes[y * context->row + x * 4], source.pixels + row * source->row + column * 4, 4);
        }
}
CGImageRef CGBitmapContextCreateImage(CGContextRef reference) {
    StandInContext* context = (__bridge StandInContext*)reference;
    return handOver<CGImageRef>(
        makeImage(context->width, context->height, context->row, context->bytes, context->info));
}

// Image I/O: the encoded form of a picture is the bitmap's address; see NSImage.
CGImageSourceRef CGImageSourceCreateWithData(CFDataRef data, CFDictionaryRef) {
    return (CGImageSourceRef)CFRetain(data);
}
CGImageRef CGImageSourceCreateImageAtIndex(CGImageSourceRef source, size_t, CFDictionaryRef) {
    CGImageRef image = nullptr;
    std::memcpy(&image, CFDataGetBytePtr((CFDataRef)source), sizeof image);
    return (CGImageRef)CFRetain(image);
}

// Accelerate.
vImage_Error vImageScale_ARGB8888(const vImage_Buffer* source, const vImage_Buffer* target, void*, vImage_Flags) {
    for (size_t y = 0; y < target->height; ++y)
        for (size_t x = 0; x < target->width; ++x)
            std::memcpy(static_cast<uint8_t*>(target->data) + y * target->rowBytes + x * 4,
                        static_cast<uint8_t*>(source->data) + y * source->height / target->height * source->rowBytes +
                            x * source->width / target->width * 4,
                        4);
    return kvImageNoError;
}
vImage_Error vImageConvert_BGRA8888toRGB888(const vImage_Buffer* source, const vImage_Buffer* target, vImage_Flags) {
    for (size_t y = 0; y < target->height; ++y)
        for (size_t x = 0; x < target->width; ++x)
            for (size_t c = 0; c < 3; ++c)
                static_cast<uint8_t*>(target->data)[y * target->rowBytes + x * 3 + c] =
                    static_cast<uint8_t*>(source->data)[y * source->rowBytes + x * 4 + 2 - c];
    return kvImageNoError;
}
}

// Pixel buffers and samples.
@implementation StandInBuffer
- (void)dealloc {
    if (locks != 0) abort();
    if (release) release(context, base);
}
@end
@implementation StandInSample
@end

static StandInBuffer* bufferOf(CVPixelBufferRef reference) {
    return (__bridge StandInBuffer*)reference;
}
StandInBuffer* makeBuffer(size_t width, size_t height, uint8_t value) {
    StandInBuffer* buffer = [[StandInBuffer alloc] init];
    buffer->width = width;
    buffer->height = height;
    buffer->row = (width * 4 + 63) / 64 * 64;
    buffer->own.assign(buffer->row * height, value);
    buffer->base = buffer->own.data();
    return buffer;
}

extern "C" {
CVReturn CVPixelBufferCreateWithBytes(CFAllocatorRef, size_t width, size_t height, OSType, void* bytes, size_t row,
                                      CVPixelBufferReleaseBytesCallback release, void* context, CFDictionaryRef,
                                      CVPixelBufferRef* out) {
    constexpr CVReturn kInvalidArgument = -6661;
    *out = nullptr;
    if (width == 0 || height == 0 || !bytes) return kInvalidArgument;
    // Whoever reads the buffer reads whole rows.
    volatile uint8_t last = static_cast<uint8_t*>(bytes)[row * height - 1];
    static_cast<void>(last);
    StandInBuffer* buffer = [[StandInBuffer alloc] init];
    buffer->width = width;
    buffer->height = height;
    buffer->row = row;
    buffer->base = bytes;
    buffer->release = release;
    buffer->context = context;
    *out = handOver<CVPixelBufferRef>(buffer);
    return kCVReturnSuccess;
}
CVReturn CVPixelBufferLockBaseAddress(CVPixelBufferRef buffer, CVPixelBufferLockFlags flags) {
    if (flags != kCVPixelBufferLock_ReadOnly) abort();
    ++bufferOf(buffer)->locks;
    return kCVReturnSuccess;
}
CVReturn CVPixelBufferUnlockBaseAddress(CVPixelBufferRef buffer, CVPixelBufferLockFlags flags) {
    if (flags != kCVPixelBufferLock_ReadOnly || --bufferOf(buffer)->locks < 0) abort();
    return kCVReturnSuccess;
}
void* CVPixelBufferGetBaseAddress(CVPixelBufferRef buffer) {
    return bufferOf(buffer)->locks > 0 ? bufferOf(buffer)->base : nullptr;
}
void* CVPixelBufferGetBaseAddressOfPlane(CVPixelBufferRef, size_t) {
    return nullptr;
}
size_t CVPixelBufferGetBytesPerRow(CVPixelBufferRef buffer) {
    return bufferOf(buffer)->row;
}
size_t CVPixelBufferGetBytesPerRowOfPlane(CVPixelBufferRef buffer, size_t) {
    return bufferOf(buffer)->row;
}
size_t CVPixelBufferGetDataSize(CVPixelBufferRef buffer) {
    return bufferOf(buffer)->row * bufferOf(buffer)->height;
}
size_t CVPixelBufferGetWidth(CVPixelBufferRef buffer) {
    return bufferOf(buffer)->width;
}
size_t CVPixelBufferGetHeight(CVPixelBufferRef buffer) {
    return bufferOf(buffer)->height;
}
size_t CVPixelBufferGetPlaneCount(CVPixelBufferRef) {
    return 0;
}
CGSize CVImageBufferGetDisplaySize(CVImageBufferRef buffer) {
    return CGSizeMake(static_cast<double>(bufferOf(buffer)->width), static_cast<double>(bufferOf(buffer)->height));
}
CMTime CMTimeMake(int64_t value, int32_t timescale) {
    return {value, timescale, 1, 0};
}
CMTime CMSampleBufferGetPresentationTimeStamp(CMSampleBufferRef sample) {
    return CMTimeMake(((__bridge StandInSample*)sample)->time, 1000);
}
CVImageBufferRef CMSampleBufferGetImageBuffer(CMSampleBufferRef sample) {
    return (__bridge CVImageBufferRef)((__bridge StandInSample*)sample)->buffer;
}
}
