// The cursor and the pointer's position.
#pragma once

#include <memory>

#include "ScreenCapture/platform/pointer.h"
#include "ScreenCapture/platform/x11/server.h"

namespace orvo::platform::x11 {

class DesktopPart;
class PointerPosition;

// The cursor as XFixes has it: one representation of its own size, BGRA with colours multiplied by alpha.
class X11Pointer final : public Pointer {
  public:
    std::shared_ptr<const Cursor> currentCursor() override;
    Point location() override;
};

std::unique_ptr<DesktopPart> makeCursorPart();

// Where the pointer is on the desktop's server, for all who ask; used under its lock.
PointerPosition& sharedPointer(const Server::Use& x);

}  // namespace orvo::platform::x11
