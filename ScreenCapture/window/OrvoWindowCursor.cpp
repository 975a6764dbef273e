// Paints the mouse cursor into a captured picture. Points and pixels of the main display's height are mixed on purpose.
#include "ScreenCapture/window/OrvoWindowCursor.h"

#include <cstring>

#include "ScreenCapture/log/component_log.h"
#include "ScreenCapture/platform/platform.h"

using namespace orvo::platform;

namespace {

constexpr size_t kBytesPerPixel = 4;
constexpr uint8_t kOpaque = 255;

// A cursor's place in a picture: pixels, x from the left edge, y upwards from the bottom edge.
struct Placement {
    int32_t x = 0, y = 0, w = 0, h = 0;
};

// A picture's and the pointer's numbers as the arithmetic takes them: whole.
struct PointerState {
    int32_t width, height;  // of the cursor's picture, points
    int32_t x, y;           // of the pointer, points, origin bottom-left
    Point hotSpot;
};

// On a display the picture is centred on the pointer and hangs below it; the hot spot is not used. That is intended.
Placement placeOnScreen(const PointerState& pointer, const OrvoWindow* item, Size image) {
    const Rect desk = item ? item->deskBounds() : Rect();
    const Rect frame = item ? item->windowBounds : Rect();
    const double sx = image.width / desk.width;
    const double sy = image.height / desk.height;
    Placement place;
    place.w = truncated<int32_t>(pointer.width * sx);
    place.h = truncated<int32_t>(pointer.height * sy);
    place.x = truncated<int32_t>((pointer.x - frame.x) * sx - place.w / 2);
    place.y = truncated<int32_t>((pointer.y - frame.y) * sy - place.h);
    return place;
}

Placement placeOnWindow(const PointerState& pointer, const OrvoWindow* item, Size image) {
    const Rect frame = item ? item->windowBounds : Rect();
    const double displayHeight = platform().displays().mainDisplayPixelsHigh();
    const double sx = image.width / frame.width;
    const double sy = image.height / frame.height;
    const double px = truncated<int32_t>(pointer.x - pointer.hotSpot.x) - frame.x;
    const double py = truncated<int32_t>(pointer.y - (pointer.height / 2 + pointer.hotSpot.y));
    Placement place;
    place.x = truncated<int32_t>(px * sx);
    place.y = truncated<int32_t>((frame.height - (displayHeight - py - frame.y)) * sy);
    place.w = truncated<int32_t>(sx * pointer.width);
    place.h = truncated<int32_t>(pointer.height * sy);
    return place;
}

// The first representation of exactly the size that is needed, else the picture's own bitmap.
const Ref<Image>& chooseBitmap(const Picture& picture, const Placement& place) {
    for (const auto& representation : picture.representations) {
        if (representation.size.width != place.w || representation.size.height != place.h) continue;
        return representation.image ? representation.image : picture.image;
    }
    return picture.image;
}

}  // namespace

CursorMark OrvoWindowCursor::appendMouseCursor(Image& image, const OrvoWindow* item) const {
    const Size size{static_cast<double>(image.width()), static_cast<double>(image.height())};
    const auto cursor = platform().pointer().currentCursor();
    if (!cursor) return {};
    const Point location = platform().pointer().location();
    const PointerState pointer{truncated<int32_t>(cursor->picture.size.width),
                               truncated<int32_t>(cursor->picture.size.height), truncated<int32_t>(location.x),
                               truncated<int32_t>(location.y), cursor->hotSpot};
    const Placement place =
        item && item->isScreen ? placeOnScreen(pointer, item, size) : placeOnWindow(pointer, item, size);
    const Ref<Image>& bitmap = chooseBitmap(cursor->picture, place);
    const Rect covered{static_cast<double>(place.x), static_cast<double>(place.y), static_cast<double>(place.w),
                       static_cast<double>(place.h)};
    if (!isImageRefNormal(bitmap.get()) || !isCursorInsideSourceImageRect({0, 0, size.width, size.height}, covered) ||
        !fixCursor(&image, place.x, place.y, place.w, place.h, bitmap.get()))
        return {};
    return {bitmap, place.x, place.y, place.w, place.h};
}

bool OrvoWindowCursor::isImageRefNormal(const Image* image) {
    return image && image->bitsPerPixel() == 32 && image->bitsPerComponent() > 0 &&
           image->bitsPerPixel() / image->bitsPerComponent() == 4;
}

bool OrvoWindowCursor::isCursorInsideSourceImageRect(const Rect& source, const Rect& cursor) {
    return !(cursor.x < 0 || cursor.y < 0 || cursor.x + cursor.width > source.width ||
             cursor.y + cursor.height > source.height);
}

bool OrvoWindowCursor::fixCursor(Image* source, int32_t x, int32_t y, int32_t w, int32_t h, const Image* cursor) {
    if (!isImageRefNormal(source)) {
        platform().system().console("原图异常");
        COMPONENT_LOG("unnamed", "sourceImage is error");
        return false;
    }
    if (!isImageRefNormal(cursor)) {
        platform().system().console("鼠标异常");
        COMPONENT_LOG("unnamed", "cursor is error");
        return false;
    }
    if (cursor->width() != w || cursor->height() != h) {
        COMPONENT_LOG("unnamed", "cursor size is Error");
        return false;
    }
    const uint8_t* cursorBytes = cursor->bytes();
    if (!cursorBytes) {
        COMPONENT_LOG("unnamed", "cursor is error,data is nil");
        return false;
    }
    if (h < 1) return false;
    const int32_t top = source->height() - (y + h);
    uint8_t* sourceBytes = source->paint({x, top, w, h});
    if (!sourceBytes) return false;
    for (int32_t row = 0; row < h; ++row) {
        const uint8_t* from = cursorBytes + static_cast<size_t>(row) * cursor->bytesPerRow();
        uint8_t* to = sourceBytes + static_cast<size_t>(top + row) * source->bytesPerRow() +
                      static_cast<size_t>(x) * kBytesPerPixel;
        for (int32_t column = 0; column < w; ++column, from += kBytesPerPixel, to += kBytesPerPixel)
            if (from[3] == kOpaque) std::memcpy(to, from, kBytesPerPixel);
    }
    return true;
}
