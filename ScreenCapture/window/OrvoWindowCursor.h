// Paints the mouse cursor into a captured picture, which the window server hands out without it.
#pragma once

#include <cstdint>

#include "ScreenCapture/platform/image.h"
#include "ScreenCapture/window/OrvoWindow.h"

// What was painted and where, in pixels of the picture, y upwards from its bottom edge. Of pictures that were equal
// before, those with equal marks are equal afterwards.
struct CursorMark {
    orvo::platform::Ref<orvo::platform::Image> bitmap;  // null: nothing was painted
    int32_t x = 0, y = 0, w = 0, h = 0;
    explicit operator bool() const { return static_cast<bool>(bitmap); }
    bool operator==(const CursorMark& other) const {
        return bitmap.get() == other.bitmap.get() && x == other.x && y == other.y && w == other.w && h == other.h;
    }
};

// Keeps no state between calls. Pictures are 32 bits a pixel, byte 3 of a pixel its alpha.
class OrvoWindowCursor {
  public:
    // Overwrites the pixels of the picture that the cursor covers; a cursor that sticks out on any side is left out. A
    // null item counts as one whose bounds are all zero.
    CursorMark appendMouseCursor(orvo::platform::Image& image, const OrvoWindow* item) const;

    static bool isImageRefNormal(const orvo::platform::Image* image);
    // The source's origin does not count.
    static bool isCursorInsideSourceImageRect(const orvo::platform::Rect& source, const orvo::platform::Rect& cursor);
    // x from the left edge, y upwards from the bottom edge, w and h the cursor's size; all in pixels of the source. A
    // cursor pixel counts only when it is fully opaque.
    static bool fixCursor(orvo::platform::Image* source, int32_t x, int32_t y, int32_t w, int32_t h,
                          const orvo::platform::Image* cursor);
};
