// One window as a source of pixels.
#include "ScreenCapture/platform/x11/scene_source.h"

#include <xcb/composite.h>
#include <xcb/damage.h>

namespace orvo::platform::x11 {

SceneSource::SceneSource(Connection& x, xcb_window_t window) : x_(x), window_(window) {
    // Its visibility tells when it comes back with a window that holds it, and so has another picture.
    const uint32_t events = XCB_EVENT_MASK_STRUCTURE_NOTIFY | XCB_EVENT_MASK_VISIBILITY_CHANGE;
    xcb_change_window_attributes(x_.raw(), window_, XCB_CW_EVENT_MASK, &events);
    if (!x_.extensions().composite) return;
    xcb_composite_redirect_window(x_.raw(), window_, XCB_COMPOSITE_REDIRECT_AUTOMATIC);
    if (!x_.extensions().damage || !x_.extensions().xfixes) return;
    damage_ = ServerDamage(x_);
    xcb_damage_create(x_.raw(), damage_.id(), window_, XCB_DAMAGE_REPORT_LEVEL_NON_EMPTY);
}

SceneSource::~SceneSource() {
    // Of a window that has gone nothing is left to undo; another one may have its number.
    if (gone_) return;
    const uint32_t none = 0;
    xcb_change_window_attributes(x_.raw(), window_, XCB_CW_EVENT_MASK, &none);
    if (x_.extensions().composite) xcb_composite_unredirect_window(x_.raw(), window_, XCB_COMPOSITE_REDIRECT_AUTOMATIC);
}

bool SceneSource::handle(const xcb_generic_event_t& event) {
    const uint8_t type = event.response_type & 0x7F;
    if (damage_ && type == x_.extensions().damageEvent + XCB_DAMAGE_NOTIFY) {
        if (reinterpret_cast<const xcb_damage_notify_event_t&>(event).damage != damage_.id()) return false;
        news_ = true;
        return true;
    }
    if (type == XCB_CONFIGURE_NOTIFY) {
        const auto& notify = reinterpret_cast<const xcb_configure_notify_event_t&>(event);
        if (notify.window != window_) return false;
        const bool same = notify.width == configuredWidth_ && notify.height == configuredHeight_ &&
                          notify.border_width == configuredBorder_;
        configuredWidth_ = notify.width;
        configuredHeight_ = notify.height;
        configuredBorder_ = notify.border_width;
        if (!same) stale_ = true;
        return true;
    }
    if (type == XCB_VISIBILITY_NOTIFY) {
        if (reinterpret_cast<const xcb_visibility_notify_event_t&>(event).window != window_) return false;
        return stale_ = true;
    }
    if (type != XCB_MAP_NOTIFY && type != XCB_UNMAP_NOTIFY && type != XCB_REPARENT_NOTIFY && type != XCB_DESTROY_NOTIFY)
        return false;
    // These events begin alike: the window that was told, then the window that it is about.
    if (reinterpret_cast<const xcb_unmap_notify_event_t&>(event).window != window_) return false;
    stale_ = true;
    if (type == XCB_DESTROY_NOTIFY) gone_ = true;
    return true;
}

void SceneSource::askPicture() {
    if (gone_ || !stale_ || !x_.extensions().composite) return;
    picture_ = {};
    pixmap_ = ServerPixmap(x_);
    xcb_composite_name_window_pixmap(x_.raw(), window_, pixmap_.id());
    geometry_ = xcb_get_geometry(x_.raw(), pixmap_.id()).sequence;
    windowGeometry_ = xcb_get_geometry(x_.raw(), window_).sequence;
    asked_ = true;
}

bool SceneSource::readPicture() {
    if (!std::exchange(asked_, false)) return false;
    const auto reply = x_.await<xcb_get_geometry_reply_t>(geometry_);
    const auto window = x_.await<xcb_get_geometry_reply_t>(windowGeometry_);
    const bool before = named_;
    named_ = reply && window;
    stale_ = !named_;  // a window without a picture is asked again
    if (!named_) {
        pixmap_ = {};
        return before;
    }
    news_ = true;
    size_ = {0, 0, reply->width, reply->height};
    depth_ = reply->depth;
    border_ = window->border_width;
    configuredWidth_ = window->width;
    configuredHeight_ = window->height;
    configuredBorder_ = border_;
    return true;
}

void SceneSource::usePicture(const PictureFormats& formats) {
    const auto format = formats.opaque(depth_);
    if (!named_ || picture_ || !format) return;
    picture_ = ServerPicture(x_);
    xcb_render_create_picture(x_.raw(), picture_.id(), pixmap_.id(), format, 0, nullptr);
}

void SceneSource::subtractDamage(xcb_xfixes_region_t into) {
    if (damage_) xcb_damage_subtract(x_.raw(), damage_.id(), XCB_NONE, into);
}

}  // namespace orvo::platform::x11
