// Bitmaps and pictures of the system as the port's images.
#include "ScreenCapture/platform/macos/image.h"

#include <algorithm>
#include <cmath>

#include "ScreenCapture/platform/macos/exceptions.h"
#include "ScreenCapture/platform/macos/geometry.h"

namespace orvo::platform::macos {
namespace {

constexpr size_t kBitsPerByte = 8;

// Bytes that hold whole rows: readers count on those. What a system leaves out behind the pixels of the last row is
// added; null when more is missing.
CFRef<CFDataRef> withWholeRows(CFRef<CFDataRef> bytes, CGImageRef bitmap, size_t bytesPerRow) {
    const size_t pixels = CGImageGetWidth(bitmap) * CGImageGetBitsPerPixel(bitmap) / kBitsPerByte;
    const auto needed = static_cast<CFIndex>(bytesPerRow * CGImageGetHeight(bitmap));
    const auto padding = static_cast<CFIndex>(bytesPerRow - pixels);
    const CFIndex missing = bytes ? needed - CFDataGetLength(bytes.get()) : needed;
    if (missing <= 0) return bytes;
    if (!bytes || missing > padding) return nullptr;
    const auto whole =
        CFRef<CFMutableDataRef>::adopt(CFDataCreateMutableCopy(kCFAllocatorDefault, needed, bytes.get()));
    if (!whole) return nullptr;
    CFDataSetLength(whole.get(), needed);
    return CFRef<CFDataRef>::retain(whole.get());
}

// A bitmap's bytes as its data provider copies them.
CFRef<CFDataRef> copyBytes(CGImageRef bitmap) {
    CGDataProviderRef provider = CGImageGetDataProvider(bitmap);
    if (!provider) return nullptr;
    return CFRef<CFDataRef>::adopt(CGDataProviderCopyData(provider));
}

// A bitmap like the given one over other bytes, which it keeps alive.
CFRef<CGImageRef> bitmapOver(CFDataRef bytes, CGImageRef like, size_t bytesPerRow) {
    const auto provider = CFRef<CGDataProviderRef>::adopt(CGDataProviderCreateWithCFData(bytes));
    if (!provider) return nullptr;
    return CFRef<CGImageRef>::adopt(CGImageCreate(CGImageGetWidth(like), CGImageGetHeight(like),
                                                  CGImageGetBitsPerComponent(like), CGImageGetBitsPerPixel(like),
                                                  bytesPerRow, CGImageGetColorSpace(like), CGImageGetBitmapInfo(like),
                                                  provider.get(), nullptr, false, kCGRenderingIntentDefault));
}

void releaseBuffer(void* buffer, const void* /*data*/, size_t /*size*/) {
    CFRelease(static_cast<CVPixelBufferRef>(buffer));
}

// A bitmap over the bytes of a locked buffer, which it keeps.
CFRef<CGImageRef> bitmapOf(CVPixelBufferRef buffer) {
    const size_t row = CVPixelBufferGetBytesPerRow(buffer);
    const size_t height = CVPixelBufferGetHeight(buffer);
    void* bytes = CVPixelBufferGetBaseAddress(buffer);
    if (!bytes) return nullptr;
    const auto space = CFRef<CGColorSpaceRef>::adopt(CGColorSpaceCreateWithName(kCGColorSpaceSRGB));
    const auto provider = CFRef<CGDataProviderRef>::adopt(CGDataProviderCreateWithData(
        CFRef<CVPixelBufferRef>::retain(buffer).leak(), bytes, row * height, releaseBuffer));
    if (!provider || !space) return nullptr;
    constexpr auto kBGRA = static_cast<CGBitmapInfo>(kCGImageAlphaPremultipliedFirst) |
                           static_cast<CGBitmapInfo>(kCGBitmapByteOrder32Little);
    return CFRef<CGImageRef>::adopt(CGImageCreate(CVPixelBufferGetWidth(buffer), height, 8, 32, row, space.get(), kBGRA,
                                                  provider.get(), nullptr, false, kCGRenderingIntentDefault));
}

// What a picture or one of its representations answers is borrowed from it.
template <typename Source>
CFRef<CGImageRef> decode(Source* source) {
    return answered(CFRef<CGImageRef>(), [&] {
        return CFRef<CGImageRef>::retain([source CGImageForProposedRect:nil context:nil hints:nil]);
    });
}

}  // namespace

MacImage::MacImage(Ref<MacImage> whole, const PixelRect& area)
    : whole_(std::move(whole)),
      area_(area),
      start_(static_cast<size_t>(area.y) * whole_->bytesPerRow() +
             static_cast<size_t>(area.x) * static_cast<size_t>(whole_->bitsPerPixel()) / kBitsPerByte) {}

MacImage::MacImage(CFRef<CVPixelBufferRef> buffer, uint64_t version) : buffer_(std::move(buffer)), version_(version) {
    CVPixelBufferLockBaseAddress(buffer_.get(), kCVPixelBufferLock_ReadOnly);
}

MacImage::~MacImage() {
    bitmap_ = nullptr;
    if (buffer_) CVPixelBufferUnlockBaseAddress(buffer_.get(), kCVPixelBufferLock_ReadOnly);
}

const uint8_t* MacImage::bytes() const {
    std::lock_guard guard(lock_);
    return wholeRows().data();
}

uint8_t* MacImage::paint(const PixelRect& /*area*/) {
    std::lock_guard guard(lock_);
    CGImageRef bitmap = decoded();
    const Bytes bytes = ownBytes();
    if (bytes.empty()) return nullptr;
    // The bitmap is made again each time, so that nothing the system remembers of the old one shows.
    CFRef<CGImageRef> painted = bitmapOver(bytes_.get(), bitmap, rowBytes(bitmap));
    if (!painted) return nullptr;
    bitmap_ = std::move(painted);
    picture_ = nil;
    representation_ = nil;
    // The copy is this image's own, nobody else knows of it.
    return const_cast<uint8_t*>(bytes.data());
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
    if (!representation) return nil;
    const NSSize size = representation.size;
    NSImage* picture = [[NSImage alloc] initWithSize:size];
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
    if (!bitmap_ && buffer_) bitmap_ = bitmapOf(buffer_.get());
    if (!bitmap_ && whole_) {
        const CFRef<CGImageRef> whole = whole_->bitmap();
        const CGRect area = CGRectMake(area_.x, area_.y, area_.width, area_.height);
        if (whole) bitmap_ = CFRef<CGImageRef>::adopt(CGImageCreateWithImageInRect(whole.get(), area));
    }
    return bitmap_.get();
}

size_t MacImage::rowBytes(CGImageRef bitmap) const {
    return whole_ ? whole_->bytesPerRow() : CGImageGetBytesPerRow(bitmap);
}

MacImage::Bytes MacImage::bytesFrom(size_t offset) const {
    std::lock_guard guard(lock_);
    if (whole_ && !bytes_) return whole_->bytesFrom(start_ + offset);
    const Bytes all = wholeRows();
    return offset < all.size() ? all.subspan(offset) : Bytes();
}

// A part that ends near the end of the whole one's bytes has no whole rows there and gets bytes of its own.
MacImage::Bytes MacImage::wholeRows() const {
    if (buffer_ && !bytes_) return bufferBytes();
    if (whole_ && !bytes_) {
        const Bytes view = whole_->bytesFrom(start_);
        if (view.size() >= bytesPerRow() * static_cast<size_t>(area_.height)) return view;
    }
    return ownBytes();
}

MacImage::Bytes MacImage::bufferBytes() const {
    const auto* first = static_cast<const uint8_t*>(CVPixelBufferGetBaseAddress(buffer_.get()));
    if (!first) return {};
    return {first, CVPixelBufferGetBytesPerRow(buffer_.get()) * CVPixelBufferGetHeight(buffer_.get())};
}

MacImage::Bytes MacImage::ownBytes() const {
    CGImageRef bitmap = decoded();
    if (!bitmap) return {};
    if (!bytes_) {
        CFRef<CFDataRef> bytes;
        if (whole_) {
            const Bytes view = whole_->bytesFrom(start_);
            const size_t length = std::min(view.size(), rowBytes(bitmap) * static_cast<size_t>(area_.height));
            bytes =
                CFRef<CFDataRef>::adopt(CFDataCreate(kCFAllocatorDefault, view.data(), static_cast<CFIndex>(length)));
        } else if (buffer_) {
            const Bytes all = bufferBytes();
            bytes = CFRef<CFDataRef>::adopt(
                CFDataCreate(kCFAllocatorDefault, all.data(), static_cast<CFIndex>(all.size())));
        } else {
            bytes = copyBytes(bitmap);
        }
        bytes_ = withWholeRows(std::move(bytes), bitmap, rowBytes(bitmap));
    }
    if (!bytes_) return {};
    return {CFDataGetBytePtr(bytes_.get()), static_cast<size_t>(CFDataGetLength(bytes_.get()))};
}

Ref<Image> partOf(const Ref<Image>& image, const Rect& area) {
    const double left = std::max(std::floor(area.x), 0.0);
    const double top = std::max(std::floor(area.y), 0.0);
    const double right = std::min(std::ceil(area.x + area.width), static_cast<double>(image->width()));
    const double bottom = std::min(std::ceil(area.y + area.height), static_cast<double>(image->height()));
    const PixelRect part{truncated<int>(left), truncated<int>(top), truncated<int>(right - left),
                         truncated<int>(bottom - top)};
    if (part.empty()) return nullptr;
    return makeCounted<MacImage>(Ref<MacImage>::retain(static_cast<MacImage*>(image.get())), part);
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
