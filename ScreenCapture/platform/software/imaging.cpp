// Imaging on the CPU: views, scaling, wrapping.
#include "ScreenCapture/platform/software/imaging.h"

#include <libyuv/convert_from_argb.h>
#include <libyuv/planar_functions.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>

#include "ScreenCapture/platform/software/bitmap.h"
#include "ScreenCapture/platform/software/scale.h"

namespace orvo::platform::software {
namespace {

constexpr uint32_t kLargestSide = std::numeric_limits<int>::max();

bool readable(const Ref<Image>& image) {
    return image && image->bytes() && image->bitsPerPixel() == 32 && image->width() > 0 && image->height() > 0;
}

// drawScaled only reads its source.
Pixels pixelsOf(const Ref<Image>& image) {
    return {const_cast<uint8_t*>(image->bytes()), image->width(), image->height(), image->bytesPerRow()};
}

// The whole pixels that a rectangle touches, as far as they lie inside the size; empty when there are none.
PixelRect touchedPixels(const Rect& area, int width, int height) {
    const auto span = [](double origin, double length, int limit, int& from, int& count) {
        const double low = std::min(origin, origin + length);
        const double high = std::max(origin, origin + length);
        from = std::clamp(truncated<int>(std::floor(low)), 0, limit);
        count = high > low ? std::clamp(truncated<int>(std::ceil(high)), from, limit) - from : 0;
    };
    PixelRect touched;
    span(area.x, area.width, width, touched.x, touched.width);
    span(area.y, area.height, height, touched.y, touched.height);
    return touched;
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

Ref<Image> SoftwareImaging::crop(const Ref<Image>& image, const Rect& area) {
    if (!readable(image)) return nullptr;
    const PixelRect part = touchedPixels(area, image->width(), image->height());
    if (part.empty()) return nullptr;
    if (part == PixelRect{0, 0, image->width(), image->height()}) return image;
    return makeCounted<BitmapView>(image, part);
}

Ref<Image> SoftwareImaging::draw(const Ref<Image>& image, uint32_t width, uint32_t height, const Rect& placement) {
    if (!readable(image) || width == 0 || height == 0 || height > kLargestSide) return nullptr;
    if (uint64_t{width} * 4 > image->bytesPerRow()) return nullptr;
    const Ref<MemoryBitmap> result =
        MemoryBitmap::make(static_cast<int>(width), static_cast<int>(height), image->bytesPerRow());
    if (!result) return nullptr;
    const Pixels target{result->data(), result->width(), result->height(), result->bytesPerRow()};
    const Rect fromTop{placement.x, height - placement.y - placement.height, placement.width, placement.height};
    clearOutside(target, drawScaled(pixelsOf(image), target, fromTop));
    return result;
}

Ref<PixelBuffer> SoftwareImaging::wrap(const Ref<Image>& image) {
    if (!readable(image)) return nullptr;
    if (PixelBuffer* const buffer = image->pixelBuffer()) return Ref<PixelBuffer>::retain(buffer);
    return makeCounted<BitmapView>(image, PixelRect{0, 0, image->width(), image->height()});
}

Picture SoftwareImaging::picture(const Ref<Image>& image) {
    if (!image) return {};
    const Size size{static_cast<double>(image->width()), static_cast<double>(image->height())};
    return {size, image, {{size, image}}};
}

std::optional<Picture> SoftwareImaging::scaled(const Picture& picture, const Size& size) {
    const int width = truncated<int>(size.width);
    const int height = truncated<int>(size.height);
    const Ref<Image>& source = bestImage(picture, width, height);
    if (!readable(source) || width <= 0 || height <= 0) return std::nullopt;
    const Ref<MemoryBitmap> result = MemoryBitmap::make(width, height, static_cast<size_t>(width) * 4);
    if (!result) return std::nullopt;
    drawScaled(pixelsOf(source), {result->data(), width, height, result->bytesPerRow()},
               {0, 0, static_cast<double>(width), static_cast<double>(height)});
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
    if (width == 0 || height == 0 || width > kLargestSide / 4 || height > kLargestSide) return nullptr;
    const int columns = static_cast<int>(width);
    const int rows = static_cast<int>(height);
    const PixelRect part = touchedPixels(area, buffer.width(), buffer.height());
    const Ref<MemoryBitmap> middle = MemoryBitmap::make(columns, rows, size_t{width} * 4);
    Ref<MemoryBitmap> result = MemoryBitmap::make(columns, rows, size_t{width} * 3, 24);
    if (part.empty() || !middle || !result) return nullptr;

    buffer.lock();
    auto* bytes = static_cast<uint8_t*>(const_cast<void*>(buffer.baseAddress()));
    if (bytes) {
        const Pixels source{bytes, buffer.width(), buffer.height(), buffer.bytesPerRow()};
        drawScaled(source.part(part), {middle->data(), columns, rows, middle->bytesPerRow()},
                   {0, 0, static_cast<double>(width), static_cast<double>(height)});
        libyuv::ARGBToRAW(middle->data(), columns * 4, result->data(), columns * 3, columns, rows);
    }
    buffer.unlock();
    return bytes ? Ref<PixelBuffer>(std::move(result)) : nullptr;
}

}  // namespace orvo::platform::software
