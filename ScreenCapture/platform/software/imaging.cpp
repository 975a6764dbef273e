// Imaging on the CPU: views, scaling, wrapping.
#include "ScreenCapture/platform/software/imaging.h"

#include <libyuv.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>

#include "ScreenCapture/platform/software/bitmap.h"

namespace orvo::platform::software {
namespace {

constexpr uint32_t kMaxSide = std::numeric_limits<int>::max();

bool readable(const Ref<Image>& image) {
    return image && image->bytes() && image->bitsPerPixel() == 32 && image->width() > 0 && image->height() > 0;
}

// A scaling only reads its source.
Pixels pixelsOf(const Ref<Image>& image) {
    return {const_cast<uint8_t*>(image->bytes()), image->width(), image->height(), image->bytesPerRow()};
}

// Whether a picture can be drawn into one of that size.
bool canDraw(const Ref<Image>& image, uint32_t width, uint32_t height) {
    return readable(image) && width != 0 && height != 0 && height <= kMaxSide &&
           uint64_t{width} * 4 <= image->bytesPerRow();
}

Rect fromTop(const Rect& placement, uint32_t height) {
    return {placement.x, height - placement.y - placement.height, placement.width, placement.height};
}

Pixels pixelsOf(MemoryBitmap& bitmap) {
    return {bitmap.data(), bitmap.width(), bitmap.height(), bitmap.bytesPerRow()};
}

bool drawWhole(const Pixels& source, const Pixels& target) {
    const Scaling scaling(source.width, source.height, target.width, target.height,
                          {0, 0, static_cast<double>(target.width), static_cast<double>(target.height)});
    return scaling.draw(source, target, scaling.covered());
}

const Ref<Image>& bestImage(const Picture& picture, int width, int height) {
    const Ref<Image>* best = &picture.image;
    const auto area = [](const Image& image) { return static_cast<int64_t>(image.width()) * image.height(); };
    for (const PictureRepresentation& candidate : picture.representations) {
        if (!readable(candidate.image)) continue;
        const bool enough = candidate.image->width() >= width && candidate.image->height() >= height;
        const bool bestEnough = readable(*best) && (*best)->width() >= width && (*best)->height() >= height;
        const bool better = !readable(*best) || (enough != bestEnough ? enough
                                                 : enough             ? area(*candidate.image) < area(**best)
                                                                      : area(*candidate.image) > area(**best));
        if (better) best = &candidate.image;
    }
    return *best;
}

}  // namespace

Shot SoftwareScaledOutput::draw(const Ref<Image>& image, uint32_t width, uint32_t height, const Rect& placement,
                                Changes& changes) {
    if (!canDraw(image, width, height)) {
        scaling_.reset();
        return NoImage::failed;
    }
    const Key key{image->width(), image->height(), image->bytesPerRow(), width, height, placement};
    if (!scaling_ || key != key_) {
        outputs_.clear();
        scaling_.emplace(key.sourceWidth, key.sourceHeight, static_cast<int>(width), static_cast<int>(height),
                         fromTop(placement, height));
        key_ = key;
        changes = {};
    }
    Changes affected = Changes::nothing();
    if (!changes.isKnown()) affected.add(scaling_->covered());
    for (const PixelRect& rect : changes) affected.add(scaling_->affectedBy(rect));
    for (Output& output : outputs_)
        for (const PixelRect& rect : affected) output.behind.unite(rect);
    if (changes.isKnown()) changes = affected;

    Output* const output = freeOutput();
    if (!output) return outputs_.size() == kMaxOutputs ? NoImage::noBuffer : NoImage::failed;
    for (const PixelRect& rect : output->behind.rects())
        if (!scaling_->draw(pixelsOf(image), pixelsOf(*output->bitmap), rect)) return NoImage::failed;
    output->behind.clear();
    return Ref<Image>(output->bitmap);
}

// One that nobody holds, the last one first: it is the least behind.
SoftwareScaledOutput::Output* SoftwareScaledOutput::freeOutput() {
    const auto free =
        std::find_if(outputs_.begin(), outputs_.end(), [](const Output& output) { return output.bitmap->unique(); });
    if (free != outputs_.end()) {
        std::rotate(outputs_.begin(), free, free + 1);
    } else {
        if (outputs_.size() == kMaxOutputs) return nullptr;
        Output made{MemoryBitmap::make(static_cast<int>(key_.width), static_cast<int>(key_.height), key_.bytesPerRow),
                    Region(scaling_->covered())};
        if (!made.bitmap) return nullptr;
        clearOutside(pixelsOf(*made.bitmap), scaling_->covered());
        outputs_.insert(outputs_.begin(), std::move(made));
    }
    return &outputs_.front();
}

Ref<Image> SoftwareImaging::crop(const Ref<Image>& image, const Rect& area) {
    if (!readable(image)) return nullptr;
    const PixelRect part = touchedPixels(area, image->width(), image->height());
    if (part.empty()) return nullptr;
    if (part == PixelRect{0, 0, image->width(), image->height()}) return image;
    return makeCounted<BitmapView>(image, part);
}

Ref<Image> SoftwareImaging::draw(const Ref<Image>& image, uint32_t width, uint32_t height, const Rect& placement) {
    Changes changes;
    return SoftwareScaledOutput().draw(image, width, height, placement, changes).image;
}

std::unique_ptr<ScaledOutput> SoftwareImaging::scaledOutput() {
    return std::make_unique<SoftwareScaledOutput>();
}

Ref<PixelBuffer> SoftwareImaging::wrap(const Ref<Image>& image) {
    if (!readable(image)) return nullptr;
    if (PixelBuffer* const buffer = image->pixelBuffer()) return Ref<PixelBuffer>::retain(buffer);
    return makeCounted<BitmapView>(image, PixelRect{0, 0, image->width(), image->height()});
}

Picture SoftwareImaging::picture(const Ref<Image>& image) {
    return image ? pictureOf({image}) : Picture();
}

std::optional<Picture> SoftwareImaging::scaled(const Picture& picture, const Size& size) {
    const int width = truncated<int>(size.width);
    const int height = truncated<int>(size.height);
    const Ref<Image>& source = bestImage(picture, width, height);
    if (!readable(source) || width <= 0 || height <= 0) return std::nullopt;
    const Ref<MemoryBitmap> result = MemoryBitmap::make(width, height, static_cast<size_t>(width) * 4);
    if (!result) return std::nullopt;
    if (!drawWhole(pixelsOf(source), pixelsOf(*result))) return std::nullopt;
    return Picture{size, result, {{size, result}}};
}

Ref<Image> SoftwareImaging::flatten(const Picture& picture) {
    return picture.image;
}

Picture SoftwareImaging::picture(PixelBuffer& buffer) {
    buffer.lock();
    const auto* bytes = static_cast<const uint8_t*>(buffer.baseAddress());
    Ref<MemoryBitmap> copy;
    if (bytes) copy = MemoryBitmap::make(buffer.width(), buffer.height(), buffer.bytesPerRow());
    const auto stride = static_cast<int>(buffer.bytesPerRow());
    const int pixels = std::min(buffer.width() * 4, stride);  // a row of fewer bits a pixel is shorter
    if (copy) libyuv::CopyPlane(bytes, stride, copy->data(), stride, pixels, buffer.height());
    buffer.unlock();
    return picture(Ref<Image>(copy));
}

Ref<PixelBuffer> SoftwareImaging::scaledRGB(PixelBuffer& buffer, const Rect& area, uint32_t width, uint32_t height) {
    if (width == 0 || height == 0 || width > kMaxSide / 4 || height > kMaxSide) return nullptr;
    const int columns = static_cast<int>(width);
    const int rows = static_cast<int>(height);
    const PixelRect part = touchedPixels(area, buffer.width(), buffer.height());
    const Ref<MemoryBitmap> middle = MemoryBitmap::make(columns, rows, size_t{width} * 4);
    Ref<MemoryBitmap> result = MemoryBitmap::make(columns, rows, size_t{width} * 3, 24);
    if (part.empty() || !middle || !result) return nullptr;

    buffer.lock();
    auto* bytes = static_cast<uint8_t*>(const_cast<void*>(buffer.baseAddress()));
    const Pixels source{bytes, buffer.width(), buffer.height(), buffer.bytesPerRow()};
    const bool drawn = bytes && drawWhole(source.part(part), pixelsOf(*middle));
    if (drawn) libyuv::ARGBToRAW(middle->data(), columns * 4, result->data(), columns * 3, columns, rows);
    buffer.unlock();
    return drawn ? Ref<PixelBuffer>(std::move(result)) : nullptr;
}

}  // namespace orvo::platform::software
