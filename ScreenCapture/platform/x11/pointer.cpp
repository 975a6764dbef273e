// The cursor's picture as a part of the desktop.
#include "ScreenCapture/platform/x11/pointer.h"

#include <xcb/xfixes.h>

#include <cstring>

#include "ScreenCapture/platform/software/bitmap.h"
#include "ScreenCapture/platform/x11/desktop.h"

namespace orvo::platform::x11 {
namespace {

std::shared_ptr<const Cursor> readCursor(const xcb_xfixes_get_cursor_image_reply_t& reply) {
    const auto bitmap = software::MemoryBitmap::make(reply.width, reply.height, size_t{reply.width} * 4);
    const size_t pixels = size_t{reply.width} * reply.height;
    if (!bitmap || static_cast<size_t>(xcb_xfixes_get_cursor_image_cursor_image_length(&reply)) < pixels)
        return nullptr;
    std::memcpy(bitmap->data(), xcb_xfixes_get_cursor_image_cursor_image(&reply), pixels * 4);
    const Point hotSpot{static_cast<double>(reply.xhot), static_cast<double>(reply.yhot)};
    return std::make_shared<const Cursor>(Cursor{software::pictureOf({bitmap}), hotSpot});
}

class CursorPart final : public DesktopPart {
  public:
    void attach(Connection& x) override {
        if (x.extensions().xfixes)
            xcb_xfixes_select_cursor_input(x.raw(), x.root(), XCB_XFIXES_CURSOR_NOTIFY_MASK_DISPLAY_CURSOR);
    }
    bool handle(const Connection& x, const xcb_generic_event_t& event) override {
        return x.extensions().xfixes.sent(event, XCB_XFIXES_CURSOR_NOTIFY);
    }
    void refresh(Connection& x, Desktop& next) override {
        next.cursor = nullptr;
        if (!x.extensions().xfixes) return;
        const auto reply = x.await<xcb_xfixes_get_cursor_image_reply_t>(xcb_xfixes_get_cursor_image(x.raw()).sequence);
        if (reply) next.cursor = readCursor(*reply);
    }
};

}  // namespace

std::unique_ptr<DesktopPart> makeCursorPart() {
    return std::make_unique<CursorPart>();
}

}  // namespace orvo::platform::x11
