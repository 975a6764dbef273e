// Work on pictures: CoreGraphics for crop and scale, CoreVideo to wrap, AppKit for icons, Accelerate for small copies.
#include <Accelerate/Accelerate.h>
#include <AppKit/AppKit.h>
#include <CoreGraphics/CoreGraphics.h>
#include <CoreVideo/CoreVideo.h>
#include <ImageIO/ImageIO.h>

#include <cstdlib>

#include "ScreenCapture/platform/macos/exceptions.h"
#include "ScreenCapture/platform/macos/geometry.h"
#include "ScreenCapture/platform/macos/image.h"
#include "ScreenCapture/platform/macos/pixel_buffer.h"
#include "ScreenCapture/platform/macos/services.h"

namespace orvo::platform::macos {
namespace {

constexpr size_t kBytesPerPixel = 4;  // BGRA
constexpr size_t kRGBBytesPerPixel = 3;

Ref<Image> imageOf(CFRef<CGImageRef> bitmap) {
    if (!bitmap) return nullptr;
    return makeCounted<MacImage>(std::move(bitmap));
}

// Null for no image, and for one that has no bitmap.
CFRef<CGImageRef> bitmapOf(const Ref<Image>& image) {
    if (!image) return nullptr;
    return macImage(image).bitmap();
}

CVPixelBufferRef cvBuffer(const PixelBuffer& buffer) {
    return static_cast<const MacPixelBuffer&>(buffer).buffer();
}

// Rows of w pixels in memory that malloc answered.
class Rows {
  public:
    Rows(size_t width, size_t height, size_t bytesPerPixel)
        : buffer_{calloc(height, width * bytesPerPixel), height, width, width * bytesPerPixel} {}
    ~Rows() { free(buffer_.data); }
    Rows(const Rows&) = delete;
    Rows& operator=(const Rows&) = delete;

    const vImage_Buffer& buffer() const { return buffer_; }
    void* leak() { return std::exchange(buffer_.data, nullptr); }

  private:
    vImage_Buffer buffer_;
};

// The part of a locked buffer inside a rectangle; no data when the two do not meet.
vImage_Buffer partOfBuffer(const PixelBuffer& buffer, const Rect& area) {
    const CGRect part = CGRectIntersection(rectOf(area), CGRectMake(0, 0, buffer.width(), buffer.height()));
    const auto* top = static_cast<const uint8_t*>(buffer.baseAddress());
    if (CGRectIsEmpty(part) || !top) return {};
    const uint8_t* first = top + truncated<size_t>(part.origin.y) * buffer.bytesPerRow() +
                           truncated<size_t>(part.origin.x) * kBytesPerPixel;
    return {const_cast<uint8_t*>(first), truncated<vImagePixelCount>(part.size.height),
            truncated<vImagePixelCount>(part.size.width), buffer.bytesPerRow()};
}

void freeBytes(void* /*context*/, const void* bytes) {
    free(const_cast<void*>(bytes));
}

NSBitmapImageRep* emptyBitmap(const Size& size) {
    NSBitmapImageRep* bitmap = [[NSBitmapImageRep alloc] initWithBitmapDataPlanes:nullptr
                                                                       pixelsWide:truncated<NSInteger>(size.width)
                                                                       pixelsHigh:truncated<NSInteger>(size.height)
                                                                    bitsPerSample:8
                                                                  samplesPerPixel:4
                                                                         hasAlpha:YES
                                                                         isPlanar:NO
                                                                   colorSpaceName:NSCalibratedRGBColorSpace
                                                                      bytesPerRow:0
                                                                     bitsPerPixel:0];
    bitmap.size = NSMakeSize(size.width, size.height);
    return bitmap;
}

// The graphics state of the thread comes back at the end of the scope, also when what is drawn raises.
class SavedGraphicsState {
  public:
    SavedGraphicsState() { [NSGraphicsContext saveGraphicsState]; }
    ~SavedGraphicsState() {
        guarded([] { [NSGraphicsContext restoreGraphicsState]; });
    }
    SavedGraphicsState(const SavedGraphicsState&) = delete;
    SavedGraphicsState& operator=(const SavedGraphicsState&) = delete;
};

NSImage* drawnWhole(NSImage* source, const Size& size) {
    NSBitmapImageRep* bitmap = emptyBitmap(size);
    NSGraphicsContext* context = bitmap ? [NSGraphicsContext graphicsContextWithBitmapImageRep:bitmap] : nil;
    if (!context) return nil;
    {
        const SavedGraphicsState state;
        [NSGraphicsContext setCurrentContext:context];
        [source drawInRect:NSMakeRect(0, 0, size.width, size.height)
                  fromRect:NSZeroRect
                 operation:NSCompositingOperationCopy
                  fraction:1.0];
    }
    NSImage* drawn = [[NSImage alloc] initWithSize:NSMakeSize(size.width, size.height)];
    [drawn addRepresentation:bitmap];
    return drawn;
}

class MacImaging final : public Imaging {
  public:
    Ref<Image> crop(const Ref<Image>& image, const Rect& area) override {
        return image ? partOf(image, area) : nullptr;
    }

    // The source's bytes per row and its alpha placement without a byte order: both intended.
    Ref<Image> draw(const Ref<Image>& image, uint32_t width, uint32_t height, const Rect& placement) override {
        const CFRef<CGImageRef> source = bitmapOf(image);
        if (!source) return nullptr;
        const auto context = CFRef<CGContextRef>::adopt(CGBitmapContextCreate(
            nullptr, width, height, CGImageGetBitsPerComponent(source.get()), image->bytesPerRow(),
            CGImageGetColorSpace(source.get()), static_cast<CGBitmapInfo>(CGImageGetAlphaInfo(source.get()))));
        if (!context) return nullptr;
        CGContextDrawImage(context.get(), rectOf(placement), source.get());
        return imageOf(CFRef<CGImageRef>::adopt(CGBitmapContextCreateImage(context.get())));
    }

    Ref<PixelBuffer> wrap(const Ref<Image>& image) override {
        return answered(Ref<PixelBuffer>(), [&]() -> Ref<PixelBuffer> {
            const uint8_t* bytes = image ? image->bytes() : nullptr;
            if (!bytes) return nullptr;
            NSDictionary* attributes = @{
                (__bridge NSString*)kCVPixelBufferCGImageCompatibilityKey : @YES,
                (__bridge NSString*)kCVPixelBufferCGBitmapContextCompatibilityKey : @YES,
            };
            CFRef<CVPixelBufferRef> buffer;
            CVPixelBufferCreateWithBytes(kCFAllocatorDefault, static_cast<size_t>(image->width()),
                                         static_cast<size_t>(image->height()), kCVPixelFormatType_32BGRA,
                                         const_cast<uint8_t*>(bytes), image->bytesPerRow(), nullptr, nullptr,
                                         (__bridge CFDictionaryRef)attributes, buffer.out());
            if (!buffer) return nullptr;
            return makeCounted<MacPixelBuffer>(std::move(buffer), image);
        });
    }

    Picture picture(const Ref<Image>& image) override {
        return answered(Picture(), [&] { return image ? pictureOf(macImage(image).picture()) : Picture(); });
    }

    std::optional<Picture> scaled(const Picture& picture, const Size& size) override {
        return answered(std::optional<Picture>(), [&]() -> std::optional<Picture> {
            NSImage* source = picture.image ? macImage(picture.image).picture() : nil;
            NSImage* drawn = source.valid ? drawnWhole(source, size) : nil;
            if (!drawn) return std::nullopt;
            return pictureOf(drawn);
        });
    }

    Ref<Image> flatten(const Picture& picture) override {
        return answered(Ref<Image>(), [&]() -> Ref<Image> {
            NSData* encoded = picture.image ? macImage(picture.image).picture().TIFFRepresentation : nil;
            if (!encoded) return nullptr;
            const auto source =
                CFRef<CGImageSourceRef>::adopt(CGImageSourceCreateWithData((__bridge CFDataRef)encoded, nullptr));
            if (!source) return nullptr;
            return imageOf(CFRef<CGImageRef>::adopt(CGImageSourceCreateImageAtIndex(source.get(), 0, nullptr)));
        });
    }

    Picture picture(PixelBuffer& buffer) override {
        return answered(Picture(), [&]() -> Picture {
            CVPixelBufferRef pixels = cvBuffer(buffer);
            const auto* first = static_cast<const uint8_t*>(CVPixelBufferGetBaseAddress(pixels));
            if (!first) return {};
            const auto bytes = CFRef<CFDataRef>::adopt(
                CFDataCreate(kCFAllocatorDefault, first, static_cast<CFIndex>(CVPixelBufferGetDataSize(pixels))));
            if (!bytes) return {};
            const auto provider = CFRef<CGDataProviderRef>::adopt(CGDataProviderCreateWithCFData(bytes.get()));
            const auto space = CFRef<CGColorSpaceRef>::adopt(CGColorSpaceCreateDeviceRGB());
            if (!provider || !space) return {};
            const auto bitmap =
                CFRef<CGImageRef>::adopt(CGImageCreate(CVPixelBufferGetWidth(pixels), CVPixelBufferGetHeight(pixels), 8,
                                                       32, CVPixelBufferGetBytesPerRowOfPlane(pixels, 0), space.get(),
                                                       static_cast<CGBitmapInfo>(kCGImageAlphaNoneSkipFirst),
                                                       provider.get(), nullptr, true, kCGRenderingIntentDefault));
            if (!bitmap) return {};
            return pictureOf([[NSImage alloc] initWithCGImage:bitmap.get() size:NSZeroSize]);
        });
    }

    Ref<PixelBuffer> scaledRGB(PixelBuffer& buffer, const Rect& area, uint32_t width, uint32_t height) override {
        const vImage_Buffer source = partOfBuffer(buffer, area);
        const Rows scaled(width, height, kBytesPerPixel);
        Rows packed(width, height, kRGBBytesPerPixel);
        if (!source.data || !scaled.buffer().data || !packed.buffer().data) return nullptr;
        if (vImageScale_ARGB8888(&source, &scaled.buffer(), nullptr, kvImageNoFlags) != kvImageNoError) return nullptr;
        if (vImageConvert_BGRA8888toRGB888(&scaled.buffer(), &packed.buffer(), kvImageNoFlags) != kvImageNoError) {
            return nullptr;
        }
        CFRef<CVPixelBufferRef> result;
        CVPixelBufferCreateWithBytes(kCFAllocatorDefault, width, height, kCVPixelFormatType_24RGB, packed.buffer().data,
                                     packed.buffer().rowBytes, freeBytes, nullptr, nullptr, result.out());
        if (!result) return nullptr;
        // From here on the buffer frees the bytes.
        static_cast<void>(packed.leak());
        return makeCounted<MacPixelBuffer>(std::move(result));
    }
};

}  // namespace

std::unique_ptr<Imaging> makeImaging() {
    return std::make_unique<MacImaging>();
}

}  // namespace orvo::platform::macos
