// One window as a source of pixels.
#include "ScreenCapture/platform/x11/scene_source.h"

#include <xcb/composite.h>
#include <xcb/damage.h>

#include <memory>

namespace orvo::platform::x11 {
namespace {

// What a window has not repainted by then comes with its damage.
constexpr std::chrono::milliseconds kRepaintLimit{50};
constexpr std::chrono::milliseconds kRepaintQuiet{5};

}  // namespace

SceneSource::SceneSource(Connection& x, xcb_window_t window, Way way) : x_(x), window_(window), way_(way) {
    // Its visibility tells when it comes back with a window that holds it, and so has another picture.
    const uint32_t events = XCB_EVENT_MASK_STRUCTURE_NOTIFY | XCB_EVENT_MASK_VISIBILITY_CHANGE;
    xcb_change_window_attributes(x_.raw(), window_, XCB_CW_EVENT_MASK, &events);
}

SceneSource::~SceneSource() {
    if (asked_)
        for (const unsigned request : {geometry_, windowGeometry_})
            if (request != 0) xcb_discard_reply(x_.raw(), request);
    // Of a window that has gone nothing is left to undo; another one may have its number.
    if (gone_) return;
    const uint32_t none = 0;
    xcb_change_window_attributes(x_.raw(), window_, XCB_CW_EVENT_MASK, &none);
    unredirect();
}

void SceneSource::fit(const PixelRect& outer) {
    tooLarge_ = !fitsPicture(outer);
    if (tooLarge_)
        unredirect();
    else
        redirect();
}

void SceneSource::redirect() {
    if (redirects_ || way_ == Way::shown || !x_.extensions().composite) return;
    redirects_ = true;
    xcb_composite_redirect_window(x_.raw(), window_, XCB_COMPOSITE_REDIRECT_AUTOMATIC);
    if (!x_.extensions().damage || !x_.extensions().xfixes) return;
    damage_ = ServerDamage(x_);
    xcb_damage_create(x_.raw(), damage_.id(), window_, XCB_DAMAGE_REPORT_LEVEL_NON_EMPTY);
}

void SceneSource::unredirect() {
    if (!std::exchange(redirects_, false)) return;
    damage_ = {};
    xcb_composite_unredirect_window(x_.raw(), window_, XCB_COMPOSITE_REDIRECT_AUTOMATIC);
}

bool SceneSource::isRepainted() {
    if (redirected_ == Clock::time_point{}) return true;
    const auto now = Clock::now();
    if (damage_ && now - redirected_ < kRepaintLimit && now - repainted_ < kRepaintQuiet) return false;
    redirected_ = {};
    return true;
}

bool SceneSource::handle(const xcb_generic_event_t& event) {
    const uint8_t type = event.response_type & 0x7F;
    if (damage_ && type == x_.extensions().damageEvent + XCB_DAMAGE_NOTIFY) {
        if (reinterpret_cast<const xcb_damage_notify_event_t&>(event).damage != damage_.id()) return false;
        news_ = true;
        if (redirected_ != Clock::time_point{}) {
            subtractDamage(XCB_NONE);  // more of it is told only then
            repainted_ = Clock::now();
        }
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
        if (same) return true;
        becomeStale(event);
        fit({0, 0, notify.width + 2 * notify.border_width, notify.height + 2 * notify.border_width});
        return true;
    }
    if (type == XCB_VISIBILITY_NOTIFY) {
        const auto& notify = reinterpret_cast<const xcb_visibility_notify_event_t&>(event);
        if (notify.window != window_) return false;
        if (way_ == Way::shown)
            covered_ = true;  // now, or until now
        else
            becomeStale(event);
        return true;
    }
    if (type != XCB_MAP_NOTIFY && type != XCB_UNMAP_NOTIFY && type != XCB_REPARENT_NOTIFY && type != XCB_DESTROY_NOTIFY)
        return false;
    // These events begin alike: the window that was told, then the window that it is about.
    if (reinterpret_cast<const xcb_unmap_notify_event_t&>(event).window != window_) return false;
    becomeStale(event);
    covered_ |= way_ == Way::shown;
    if (type == XCB_DESTROY_NOTIFY) gone_ = true;
    return true;
}

// What happened before the picture was named is in its name.
void SceneSource::becomeStale(const xcb_generic_event_t& event) {
    if (static_cast<int32_t>(event.full_sequence - naming_) >= 0) stale_ = true;
}

void SceneSource::askPicture() {
    if (gone_ || !stale_ || asked_ || !x_.extensions().composite) return;
    picture_ = {};
    pixmap_ = {};
    geometry_ = windowGeometry_ = 0;
    asked_ = true;
    stale_ = false;
    if (tooLarge_) return;  // until it has another size
    if (way_ == Way::redirected) {
        pixmap_ = ServerPixmap(x_);
        naming_ = xcb_composite_name_window_pixmap(x_.raw(), window_, pixmap_.id()).sequence;
        geometry_ = xcb_get_geometry(x_.raw(), pixmap_.id()).sequence;
    }
    windowGeometry_ = xcb_get_geometry(x_.raw(), window_).sequence;
    if (way_ == Way::shown) naming_ = windowGeometry_;
}

bool SceneSource::readPicture() {
    if (!std::exchange(asked_, false)) return false;
    const auto window = windowGeometry_ ? x_.await<xcb_get_geometry_reply_t>(windowGeometry_) : nullptr;
    const auto pixmap = geometry_ ? x_.await<xcb_get_geometry_reply_t>(geometry_) : nullptr;
    const xcb_get_geometry_reply_t* picture = pixmap_ ? pixmap.get() : window.get();
    const bool before = named_;
    named_ = picture && window;
    if (!named_) {
        stale_ |= !tooLarge_;  // a window without a picture is asked again
        pixmap_ = {};
        return before;
    }
    news_ = true;
    size_ = {0, 0, picture->width, picture->height};
    depth_ = picture->depth;
    border_ = window->border_width;
    configuredWidth_ = window->width;
    configuredHeight_ = window->height;
    configuredBorder_ = border_;
    return true;
}

void SceneSource::usePicture() {
    const auto format = x_.formats().opaque(depth_);
    if (!named_ || picture_ || !format) return;
    picture_ = ServerPicture(x_);
    const uint32_t includeInferiors = XCB_SUBWINDOW_MODE_INCLUDE_INFERIORS;
    xcb_render_create_picture(x_.raw(), picture_.id(), drawable(), format, XCB_RENDER_CP_SUBWINDOW_MODE,
                              &includeInferiors);
}

void SceneSource::subtractDamage(xcb_xfixes_region_t into) {
    if (damage_) xcb_damage_subtract(x_.raw(), damage_.id(), XCB_NONE, into);
}

}  // namespace orvo::platform::x11
