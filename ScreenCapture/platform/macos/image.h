// Bitmaps and pictures of the system as the port's images.
#pragma once

#include <AppKit/AppKit.h>
#include <CoreGraphics/CoreGraphics.h>
#include <CoreVideo/CoreVideo.h>

#include <mutex>
#include <span>

#include "ScreenCapture/platform/image.h"
#include "ScreenCapture/platform/macos/cf_ref.h"

namespace orvo::platform::macos {

// A bitmap in the layout that the system chose for it. Its bytes are copied out of the data provider at most once, at
// the first question for them; what is painted goes into that copy and shows from then on. A bitmap of an NSImage or of
// an NSImageRep is decoded at the first question.
//
// A part of another image is a view over that one's bytes. Where its bytes begin is computed here: that the data
// provider of a sub-image begins at the sub-image is written nowhere. The system's sub-image is for drawing only.
class MacImage final : public Image {
  public:
    ~MacImage() override;
    explicit MacImage(CFRef<CGImageRef> bitmap) : bitmap_(std::move(bitmap)) {}
    explicit MacImage(NSImage* picture) : picture_(picture) {}
    explicit MacImage(NSImageRep* representation) : representation_(representation) {}
    // A picture of a stream, read in place: what is painted goes into a copy. 32-bit BGRA; version as Image::version().
    MacImage(CFRef<CVPixelBufferRef> buffer, uint64_t version);
    // area: pixels, inside the image and not empty.
    MacImage(Ref<MacImage> whole, const PixelRect& area);

    int width() const override { return whole_ ? area_.width : static_cast<int>(ask(CGImageGetWidth)); }
    int height() const override { return whole_ ? area_.height : static_cast<int>(ask(CGImageGetHeight)); }
    size_t bytesPerRow() const override { return whole_ ? whole_->bytesPerRow() : ask(CGImageGetBytesPerRow); }
    int bitsPerPixel() const override { return static_cast<int>(ask(CGImageGetBitsPerPixel)); }
    int bitsPerComponent() const override { return static_cast<int>(ask(CGImageGetBitsPerComponent)); }
    const uint8_t* bytes() const override;
    uint8_t* paint(const PixelRect& area) override;
    uint64_t version() const override { return version_; }

    // What the image shows now; null for a picture that has no bitmap.
    CFRef<CGImageRef> bitmap() const;
    // What it shows as a picture of the system; nil without a bitmap. Call it inside a guard.
    NSImage* picture() const;

  private:
    using Bytes = std::span<const uint8_t>;
    size_t ask(size_t (*question)(CGImageRef)) const;
    Bytes bytesFrom(size_t offset) const;  // all that follow; empty without any
    // lock_ is held in these.
    CGImageRef decoded() const;
    size_t rowBytes(CGImageRef bitmap) const;
    Bytes wholeRows() const;
    Bytes bufferBytes() const;
    Bytes ownBytes() const;

    const CFRef<CVPixelBufferRef> buffer_;
    const uint64_t version_ = 0;
    const Ref<MacImage> whole_;
    const PixelRect area_{};  // of the whole one
    const size_t start_ = 0;  // of the area's bytes in those of the whole one

    mutable std::mutex lock_;
    mutable CFRef<CGImageRef> bitmap_;
    mutable CFRef<CFDataRef> bytes_;
    NSImage* picture_ = nil;
    NSImageRep* representation_ = nil;
};

// The image as this adapter made it: no other images reach its services.
inline const MacImage& macImage(const Ref<Image>& image) {
    return static_cast<const MacImage&>(*image);
}

// The part of an image inside a rectangle (pixels, origin top-left), which is widened to whole pixels; null when the
// two do not meet.
Ref<Image> partOf(const Ref<Image>& image, const Rect& area);

// A picture of the system with all its representations; an empty one for nil. Call it inside a guard.
Picture pictureOf(NSImage* image);

}  // namespace orvo::platform::macos
