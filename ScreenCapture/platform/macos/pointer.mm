// The mouse cursor: the system's current one, whatever application set it.
#include <AppKit/AppKit.h>

#include <mutex>

#include "ScreenCapture/platform/macos/exceptions.h"
#include "ScreenCapture/platform/macos/geometry.h"
#include "ScreenCapture/platform/macos/image.h"
#include "ScreenCapture/platform/macos/pointer.h"
#include "ScreenCapture/platform/macos/services.h"
#include "xplatform/common/orvosyslog.h"

namespace orvo::platform::macos {
namespace {

// Announced to answer nil always in some later system; nil is an ordinary answer here.
#pragma clang diagnostic push
#pragma clang diagnostic ignored "-Wdeprecated-declarations"
NSCursor* systemCursor() {
    return [NSCursor currentSystemCursor];
}
#pragma clang diagnostic pop

bool isSame(const Point& a, CGPoint b) {
    return a.x == b.x && a.y == b.y;
}

class MacPointer final : public Pointer {
  public:
    std::shared_ptr<const Cursor> currentCursor() override {
        return answered(std::shared_ptr<const Cursor>(), [this]() -> std::shared_ptr<const Cursor> {
            NSCursor* cursor = systemCursor();
            NSImage* image = cursor.image;
            if (!image) {
                reportNone();
                return nullptr;
            }
            return copied(image, cursor.hotSpot);
        });
    }

    Point location() override {
        return answered(Point(), [] { return pointFrom([NSEvent mouseLocation]); });
    }

  private:
    // An image of AppKit's is for one thread at a time, so that the capture draws with a copy, made when the cursor
    // changes.
    std::shared_ptr<const Cursor> copied(NSImage* image, CGPoint hotSpot) {
        std::lock_guard guard(lock_);
        const Size size = sizeFrom(image.size);
        if (cursor_ && image == copiedFrom_ && size == cursor_->picture.size && isSame(cursor_->hotSpot, hotSpot))
            return cursor_;
        cursor_ = nullptr;
        cursor_ = std::make_shared<const Cursor>(Cursor{pictureOf([image copy]), pointFrom(hotSpot)});
        copiedFrom_ = image;
        return cursor_;
    }

    void reportNone() {
        if (!isNoneReported_.exchange(true))
            syslog_ex(1, ESYSLOG_NOTICE, "macos", __LINE__, "the system hands out no picture of the mouse cursor");
    }

    std::mutex lock_;
    NSImage* copiedFrom_ = nil;
    std::shared_ptr<const Cursor> cursor_;
    std::atomic<bool> isNoneReported_{false};
};

}  // namespace

bool hasCursorPicture() {
    static std::atomic<bool> hasEver{false};
    if (!hasEver) hasEver = answered(false, [] { return systemCursor().image != nil; });
    return hasEver;
}

std::unique_ptr<Pointer> makePointer() {
    return std::make_unique<MacPointer>();
}

}  // namespace orvo::platform::macos
