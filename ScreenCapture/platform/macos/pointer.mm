// The mouse cursor: the system's current one, whatever application set it.
#include <AppKit/AppKit.h>

#include "ScreenCapture/platform/macos/geometry.h"
#include "ScreenCapture/platform/macos/image.h"
#include "ScreenCapture/platform/macos/services.h"

namespace orvo::platform::macos {
namespace {

class MacPointer final : public Pointer {
  public:
    std::shared_ptr<const Cursor> currentCursor() override {
        @autoreleasepool {
            NSCursor* cursor = systemCursor();
            if (!cursor) return nullptr;
            return std::make_shared<const Cursor>(Cursor{pictureOf(cursor.image), pointFrom(cursor.hotSpot)});
        }
    }

    Point location() override { return pointFrom([NSEvent mouseLocation]); }

  private:
// Announced to answer nil always in some later system; nil is an ordinary answer here.
#pragma clang diagnostic push
#pragma clang diagnostic ignored "-Wdeprecated-declarations"
    static NSCursor* systemCursor() {
        return [NSCursor currentSystemCursor];
    }
#pragma clang diagnostic pop
};

}  // namespace

std::unique_ptr<Pointer> makePointer() {
    return std::make_unique<MacPointer>();
}

}  // namespace orvo::platform::macos
