// Where the pointer is, how it looks and whether a button is down.
#include "ScreenCapture/platform/x11/pointer_tracker.h"

#include <xcb/xfixes.h>
#include <xcb/xinput.h>

#include <utility>

namespace orvo::platform::x11 {
namespace {

// Wheels are buttons 4 and above.
constexpr uint16_t kButtons = XCB_BUTTON_MASK_1 | XCB_BUTTON_MASK_2 | XCB_BUTTON_MASK_3;
constexpr uint32_t kMostButtons = 3;

}  // namespace

bool queryCursor(Connection& x, software::Sprite& cursor) {
    if (!x.extensions().xfixes) return false;
    const auto reply = x.await<xcb_xfixes_get_cursor_image_reply_t>(xcb_xfixes_get_cursor_image(x.raw()).sequence);
    if (!reply) return false;
    const uint32_t* pixels = xcb_xfixes_get_cursor_image_cursor_image(reply.get());
    cursor.width = reply->width;
    cursor.height = reply->height;
    cursor.hotX = reply->xhot;
    cursor.hotY = reply->yhot;
    cursor.pixels.assign(pixels, pixels + xcb_xfixes_get_cursor_image_cursor_image_length(reply.get()));
    return true;
}

PointerTracker::PointerTracker(std::shared_ptr<Connection> connection)
    : connection_(std::move(connection)), x_(*connection_) {
    if (x_.extensions().xfixes)
        xcb_xfixes_select_cursor_input(x_.raw(), x_.root(), XCB_XFIXES_CURSOR_NOTIFY_MASK_DISPLAY_CURSOR);
}

void PointerTracker::handle(const xcb_generic_event_t& event) {
    const uint8_t type = event.response_type & 0x7f;
    const Extensions& extensions = x_.extensions();
    if (extensions.xfixes && type == extensions.xfixesEvent + XCB_XFIXES_CURSOR_NOTIFY) cursorIsStale_ = true;
    if (type != XCB_GE_GENERIC) return;
    const auto& generic = reinterpret_cast<const xcb_ge_generic_event_t&>(event);
    if (generic.extension == extensions.input && generic.event_type == XCB_INPUT_RAW_BUTTON_PRESS)
        clicked_ |= reinterpret_cast<const xcb_input_raw_button_press_event_t&>(event).detail <= kMostButtons;
}

// Events see every click; asking for the pointer at each tick would miss short ones. All trackers of the connection get
// them while one wants them.
void PointerTracker::watchButtons(bool watch) {
    if (watch == watchesButtons_) return;
    watchesButtons_ = watch;
    clicked_ = false;
    static int watchers = 0;  // guarded by the server's lock
    watchers += watch ? 1 : -1;
    if (!x_.extensions().input || watchers > 1 || (watchers == 1 && !watch)) return;
    struct {
        xcb_input_event_mask_t head;
        uint32_t mask;
    } const selection = {{XCB_INPUT_DEVICE_ALL_MASTER, 1},
                         watch ? static_cast<uint32_t>(XCB_INPUT_XI_EVENT_MASK_RAW_BUTTON_PRESS) : 0};
    xcb_input_xi_select_events(x_.raw(), x_.root(), 1, &selection.head);
}

void PointerTracker::ask(PointerPosition& position, bool wantsCursor, bool wantsClicks) {
    watchButtons(wantsClicks);
    wantsCursor_ = wantsCursor;
    if (wantsCursor || wantsClicks) position.ask();
}

bool PointerTracker::hear(PointerPosition& position) {
    now_ = {};
    if (!wantsCursor_ && !watchesButtons_) return false;
    const bool asked = position.hear();
    const PointerPosition::Place& place = position.place();
    if (!place.known) return asked;
    now_.x = place.x;
    now_.y = place.y;
    now_.cursor = wantsCursor_;
    now_.ring = watchesButtons_ && (place.buttons & kButtons) != 0;
    return asked;
}

PointerLook PointerTracker::look() {
    if (now_.cursor && cursorIsStale_) {
        cursorIsStale_ = false;
        pictures_++;
        if (!queryCursor(x_, cursor_)) cursor_ = {};
    }
    if (now_.cursor) now_.picture = pictures_;
    now_.ring |= watchesButtons_ && clicked_;
    clicked_ = false;
    return now_;
}

void PointerTracker::draw(const PointerLook& look, software::Frame& frame, int left, int top) const {
    if (look.ring) software::blendSprite(frame, ring_, look.x - left, look.y - top);
    if (look.cursor) software::blendSprite(frame, cursor_, look.x - left, look.y - top);
}

}  // namespace orvo::platform::x11
