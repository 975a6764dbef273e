// The cursor and the pointer's position.
#pragma once

#include <memory>

#include "ScreenCapture/platform/pointer.h"

namespace orvo::platform::x11 {

class DesktopPart;

// The cursor as XFixes has it: one representation of its own size, BGRA with colours multiplied by alpha.
class X11Pointer final : public Pointer {
  public:
    std::shared_ptr<const Cursor> currentCursor() override;
    Point location() override;
};

std::unique_ptr<DesktopPart> makeCursorPart();

}  // namespace orvo::platform::x11
