// The mouse cursor. Callable from any thread.
#pragma once

#include <memory>

#include "ScreenCapture/platform/image.h"
#include "ScreenCapture/platform/values.h"

namespace orvo::platform {

struct Cursor {
    Picture picture;
    Point hotSpot;  // points from the picture's top-left corner
};

class Pointer {
  public:
    virtual ~Pointer() = default;
    virtual std::shared_ptr<const Cursor> currentCursor() = 0;  // null when the system shows none
    virtual Point location() = 0;  // points, origin at the main display's bottom-left corner
};

}  // namespace orvo::platform
