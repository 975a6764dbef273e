// Bitmaps and pictures of the system as the port's images.
#include "ScreenCapture/platform/macos/image.h"

#include "ScreenCapture/platform/macos/exceptions.h"
#include "ScreenCapture/platform/macos/geometry.h"

namespace orvo::platform::macos {
namespace {

constexpr size_t kBitsPerByte = 8;

// How much may be missing at the end: what follows the pixels of the last row.
CFIndex paddingOfRow(CGImageRef bitmap) {
    const size_t pixels = CGImageGetWidth(bitmap) * CGImageGetBitsPerPixel(bitmap) / kBitsPerByte;
    return static_cast<CFIndex>(CGImageGetBytesPerRow(bitmap) - pixels);
}

// A bitmap's bytes as its data provider copies them, and in any case whole rows: readers count on those. Null when
// there are too few.
CFRef<CFDataRef> copyBytes(CGImageRef bitmap) {
    CGDataProviderRef provider = CGImageGetDataProvider(bitmap);
    if (!provider) return nullptr;
    auto bytes = CFRef<CFDataRef>::adopt(CGDataProviderCopyData(provider));
    const auto needed = static_cast<CFIndex>(CGImageGetBytesPerRow(bitmap) * CGImageGetHeight(bitmap));
    const CFIndex missing = bytes ? needed - CFDataGetLength(bytes.get()) : needed;
    if (missing <= 0) return bytes;
    if (!bytes || missing > paddingOfRow(bitmap)) return nullptr;
    const auto whole =
        CFRef<CFMutableDataRef>::adopt(CFDataCreateMutableCopy(kCFAllocatorDefault, needed, bytes.get()));
    if (!whole) return nullptr;
    CFDataSetLength(whole.get(), needed);
    return CFRef<CFDataRef>::retain(whole.get());
}

// A bitmap like the given one over other bytes, which it keeps alive.
CFRef<CGImageRef> bitmapOver(CFDataRef bytes, CGImageRef like) {
    const auto provider = CFRef<CGDataProviderRef>::adopt(CGDataProviderCreateWithCFData(bytes));
    if (!provider) return nullptr;
    return CFRef<CGImageRef>::adopt(
        CGImageCreate(CGImageGetWidth(like), CGImageGetHeight(like), CGImageGetBitsPerComponent(like),
                      CGImageGetBitsPerPixel(like), CGImageGetBytesPerRow(like), CGImageGetColorSpace(like),
                      CGImageGetBitmapInfo(like), provider.get(), nullptr, false, kCGRenderingIntentDefault));
}

// What a picture or one of its representations answers is borrowed from it.
template <typename Source>
CFRef<CGImageRef> decode(Source* source) {
    @autoreleasepool {
        return answered(CFRef<CGImageRef>(), [&] {
            return CFRef<CGImageRef>::retain([source CGImageForProposedRect:nil context:nil hints:nil]);
        });
    }
}

}  // namespace

const uint8_t* MacImage::bytes() const {
    std::lock_guard guard(lock_);
    return copied(decoded());
}

uint8_t* MacImage::paint(const PixelRect& /*area*/) {
    std::lock_guard guard(lock_);
    CGImageRef bitmap = decoded();
    const uint8_t* bytes = copied(bitmap);
    if (!bytes) return nullptr;
    // The bitmap is made anew each time, so that nothing the system remembers of the old one shows.
    CFRef<CGImageRef> painted = bitmapOver(bytes_.get(), bitmap);
    if (!painted) return nullptr;
    bitmap_ = std::move(painted);
    picture_ = nil;
    representation_ = nil;
    // The copy is this image's own, nobody else knows of it.
    return const_cast<uint8_t*>(bytes);
}

CFRef<CGImageRef> MacImage::bitmap() const {
    std::lock_guard guard(lock_);
    return CFRef<CGImageRef>::retain(decoded());
}

NSImage* MacImage::picture() const {
    std::lock_guard guard(lock_);
    if (picture_) return picture_;
    CGImageRef bitmap = decoded();
    if (!bitmap) return nil;
    NSBitmapImageRep* representation = [[NSBitmapImageRep alloc] initWithCGImage:bitmap];
    NSImage* picture = [[NSImage alloc] initWithSize:representation.size];
    [picture addRepresentation:representation];
    return picture;
}

size_t MacImage::ask(size_t (*question)(CGImageRef)) const {
    std::lock_guard guard(lock_);
    CGImageRef bitmap = decoded();
    return bitmap ? question(bitmap) : 0;
}

CGImageRef MacImage::decoded() const {
    if (!bitmap_ && picture_) bitmap_ = decode(picture_);
    if (!bitmap_ && representation_) bitmap_ = decode(representation_);
    return bitmap_.get();
}

const uint8_t* MacImage::copied(CGImageRef bitmap) const {
    if (!bitmap) return nullptr;
    if (!bytes_) bytes_ = copyBytes(bitmap);
    return bytes_ ? CFDataGetBytePtr(bytes_.get()) : nullptr;
}

Picture pictureOf(NSImage* image) {
    Picture picture;
    if (!image) return picture;
    picture.size = sizeFrom(image.size);
    picture.image = makeCounted<MacImage>(image);
    for (NSImageRep* representation in image.representations) {
        picture.representations.push_back({sizeFrom(representation.size), makeCounted<MacImage>(representation)});
    }
    return picture;
}

}  // namespace orvo::platform::macos
