// Work on pictures: crop, scale, wrap. Callable from any thread.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>

#include "ScreenCapture/platform/changes.h"
#include "ScreenCapture/platform/image.h"
#include "ScreenCapture/platform/values.h"

namespace orvo::platform {

// Draws one target's pictures scaled, again and again. For one thread.
class ScaledOutput {
  public:
    virtual ~ScaledOutput() = default;
    // As Imaging::draw(). changes: what of the image differs from the image of the call before; afterwards what of the
    // result differs from the result before. A result does not change while anybody holds it.
    virtual Shot draw(const Ref<Image>& image, uint32_t width, uint32_t height, const Rect& placement,
                      Changes& changes) = 0;
};

class Imaging {
  public:
    virtual ~Imaging() = default;

    // The part of an image inside a rectangle (pixels, origin top-left) as a view, nothing is copied; null when the two
    // do not meet.
    virtual Ref<Image> crop(const Ref<Image>& image, const Rect& area) = 0;

    // Draws an image into a new one of width x height pixels that keeps the source's bytes per row: scaled to
    // `placement` (pixels, origin bottom-left of the new image), what lies outside cut off, the rest four zero bytes.
    // Null when the size is empty or its rows do not fit in the source's bytes per row.
    virtual Ref<Image> draw(const Ref<Image>& image, uint32_t width, uint32_t height, const Rect& placement) = 0;

    virtual std::unique_ptr<ScaledOutput> scaledOutput();

    // The image's bytes as they are as a 32-bit BGRA pixel buffer.
    virtual Ref<PixelBuffer> wrap(const Ref<Image>& image) = 0;

    // An image as a picture of its own size in points; an empty one for null.
    virtual Picture picture(const Ref<Image>& image) = 0;
    // A picture drawn whole into a bitmap of trunc(width) x trunc(height) pixels, 8 bits a sample, four samples with
    // alpha; none for a picture that cannot be drawn or an empty size.
    virtual std::optional<Picture> scaled(const Picture& picture, const Size& size) = 0;
    // The bitmap of a picture as the system decodes it; null for a picture without one.
    virtual Ref<Image> flatten(const Picture& picture) = 0;

    // The buffer of the next two is locked by the caller.
    // A picture over a pixel buffer's bytes, which it copies.
    virtual Picture picture(PixelBuffer& buffer) = 0;
    // The part of a 32-bit BGRA buffer inside a rectangle (pixels, origin top-left), scaled into a new buffer of packed
    // 24-bit RGB; null when it cannot be made.
    virtual Ref<PixelBuffer> scaledRGB(PixelBuffer& buffer, const Rect& area, uint32_t width, uint32_t height) = 0;
};

// For systems that draw a picture whole.
class WholeOutput final : public ScaledOutput {
  public:
    explicit WholeOutput(Imaging& imaging) : imaging_(imaging) {}
    Shot draw(const Ref<Image>& image, uint32_t width, uint32_t height, const Rect& placement,
              Changes& changes) override {
        changes = {};
        return imaging_.draw(image, width, height, placement);
    }

  private:
    Imaging& imaging_;
};

inline std::unique_ptr<ScaledOutput> Imaging::scaledOutput() {
    return std::make_unique<WholeOutput>(*this);
}

}  // namespace orvo::platform
