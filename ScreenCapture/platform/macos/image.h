// Bitmaps and pictures of the system as the port's images.
#pragma once

#include <AppKit/AppKit.h>
#include <CoreGraphics/CoreGraphics.h>

#include <mutex>

#include "ScreenCapture/platform/image.h"
#include "ScreenCapture/platform/macos/cf_ref.h"

namespace orvo::platform::macos {

// A bitmap in the layout that the system chose for it. Its bytes are copied out of the data provider at most once, at
// the first question for them; what is painted goes into that copy and shows from then on. A bitmap of an NSImage or of
// an NSImageRep is decoded at the first question.
class MacImage final : public Image {
  public:
    explicit MacImage(CFRef<CGImageRef> bitmap) : bitmap_(std::move(bitmap)) {}
    explicit MacImage(NSImage* picture) : picture_(picture) {}
    explicit MacImage(NSImageRep* representation) : representation_(representation) {}

    int width() const override { return static_cast<int>(ask(CGImageGetWidth)); }
    int height() const override { return static_cast<int>(ask(CGImageGetHeight)); }
    size_t bytesPerRow() const override { return ask(CGImageGetBytesPerRow); }
    int bitsPerPixel() const override { return static_cast<int>(ask(CGImageGetBitsPerPixel)); }
    int bitsPerComponent() const override { return static_cast<int>(ask(CGImageGetBitsPerComponent)); }
    const uint8_t* bytes() const override;
    uint8_t* paint(const PixelRect& area) override;

    // What the image shows now; null for a picture that has no bitmap.
    CFRef<CGImageRef> bitmap() const;
    // What it shows as a picture of the system; nil without a bitmap.
    NSImage* picture() const;

  private:
    size_t ask(size_t (*question)(CGImageRef)) const;
    CGImageRef decoded() const;                      // lock_ is held
    const uint8_t* copied(CGImageRef bitmap) const;  // lock_ is held

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

// A picture of the system with all its representations; an empty one for nil.
Picture pictureOf(NSImage* image);

}  // namespace orvo::platform::macos
