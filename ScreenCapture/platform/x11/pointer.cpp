// The cursor, kept by the desktop model until it changes, and the pointer's position.
#include "ScreenCapture/platform/x11/pointer.h"

#include <xcb/xfixes.h>

#include <cstring>
#include <optional>

#include "ScreenCapture/platform/software/bitmap.h"
#include "ScreenCapture/platform/x11/desktop.h"
#include "ScreenCapture/platform/x11/pointer_position.h"
#include "ScreenCapture/platform/x11/server.h"

namespace orvo::platform::x11 {
namespace {

std::shared_ptr<const Cursor> readCursor(const xcb_xfixes_get_cursor_image_reply_t& reply) {
    const auto bitmap = software::MemoryBitmap::make(reply.width, reply.height, size_t{reply.width} * 4);
    const size_t pixels = size_t{reply.width} * reply.height;
    if (!bitmap || static_cast<size_t>(xcb_xfixes_get_cursor_image_cursor_image_length(&reply)) < pixels)
        return nullptr;
    std::memcpy(bitmap->data(), xcb_xfixes_get_cursor_image_cursor_image(&reply), pixels * 4);
    const Size size{static_cast<double>(reply.width), static_cast<double>(reply.height)};
    const Point hotSpot{static_cast<double>(reply.xhot), static_cast<double>(reply.yhot)};
    return std::make_shared<const Cursor>(Cursor{{size, bitmap, {{size, bitmap}}}, hotSpot});
}

class CursorPart final : public DesktopPart {
  public:
    void attach(Connection& x) override {
        if (x.extensions().xfixes)
            xcb_xfixes_select_cursor_input(x.raw(), x.root(), XCB_XFIXES_CURSOR_NOTIFY_MASK_DISPLAY_CURSOR);
    }
    bool handle(const Connection& x, const xcb_generic_event_t& event) override {
        return x.extensions().xfixes &&
               (event.response_type & 0x7F) == x.extensions().xfixesEvent + XCB_XFIXES_CURSOR_NOTIFY;
    }
    void refresh(Connection& x, Desktop& next) override {
        next.cursor = nullptr;
        if (!x.extensions().xfixes) return;
        const auto reply = x.await<xcb_xfixes_get_cursor_image_reply_t>(xcb_xfixes_get_cursor_image(x.raw()).sequence);
        if (reply) next.cursor = readCursor(*reply);
    }
};

// The place on the desktop's connection; used under its lock.
class SharedPosition final : public EventHandler {
  public:
    static SharedPosition& instance() {
        static SharedPosition& one = *new SharedPosition;
        return one;
    }
    PointerPosition& on(const Server::Use& x) {
        if (std::exchange(epoch_, desktopServer().epoch()) != desktopServer().epoch())
            position_.emplace(*x.connection());
        return *position_;
    }

  private:
    SharedPosition() { desktopServer().add(*this); }
    void onEvent(const Connection& x, const xcb_generic_event_t& event) override {
        if (position_) position_->handle(x, event);
    }

    std::optional<PointerPosition> position_;
    uint64_t epoch_ = 0;
};

}  // namespace

std::shared_ptr<const Cursor> X11Pointer::currentCursor() {
    const auto desktop = currentDesktop();
    return desktop ? desktop->cursor : nullptr;
}

Point X11Pointer::location() {
    Server::Use x = desktopServer().use();
    const auto desktop = currentDesktop(x);
    const Monitor* main = desktop ? desktop->monitors->main() : nullptr;
    if (!x || !main) return {};
    PointerPosition& pointer = sharedPointer(x);
    pointer.locate();
    const PointerPosition::Place& place = pointer.place();
    if (!place.known) return {};
    const Point global = desktop->monitors->toGlobal({place.x, place.y, 0, 0}).origin();
    return {global.x, main->area.height - global.y};
}

PointerPosition& sharedPointer(const Server::Use& x) {
    return SharedPosition::instance().on(x);
}

std::unique_ptr<DesktopPart> makeCursorPart() {
    return std::make_unique<CursorPart>();
}

}  // namespace orvo::platform::x11
