// Points, sizes and rectangles between the port and the system; both count in doubles.
#pragma once

#include <CoreGraphics/CoreGraphics.h>

#include "ScreenCapture/platform/values.h"

namespace orvo::platform::macos {

inline Point pointFrom(CGPoint point) {
    return {point.x, point.y};
}
inline Size sizeFrom(CGSize size) {
    return {size.width, size.height};
}
inline Rect rectFrom(CGRect rect) {
    return {rect.origin.x, rect.origin.y, rect.size.width, rect.size.height};
}
inline CGRect rectOf(const Rect& rect) {
    return CGRectMake(rect.x, rect.y, rect.width, rect.height);
}

}  // namespace orvo::platform::macos
