// Bitmaps and pictures of the system as the port's images.
#include "ScreenCapture/platform/macos/image.h"

#include "ScreenCapture/platform/macos/exceptions.h"
#include "ScreenCapture/platform/macos/geometry.h"

namespace orvo::platform::macos {
namespace {

constexpr size_t kBitsPerByte = 8;

// How many bytes the rows of a bitmap take; the last one may end where its pixels end.
size_t bytesOfRows(CGImageRef bitmap) {
    const size_t height = CGImageGetHeight(bitmap);
    const size_t lastRow = CGImageGetWidth(bitmap) * CGImageGetBitsPerPixel(bitmap) / kBitsPerByte;
    return height == 0 ? 0 : CGImageGetBytesPerRow(bitmap) * (height - 1) + lastRow;
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
    if (!bytes_) {
        CGDataProviderRef provider = CGImageGetDataProvider(bitmap);
        if (provider) bytes_ = CFRef<CFDataRef>::adopt(CGDataProviderCopyData(provider));
    }
    if (!bytes_ || static_cast<size_t>(CFDataGetLength(bytes_.get())) < bytesOfRows(bitmap)) return nullptr;
    return CFDataGetBytePtr(bytes_.get());
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
