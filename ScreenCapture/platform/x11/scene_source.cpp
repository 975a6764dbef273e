// One window as a source of pixels.
#include "ScreenCapture/platform/x11/scene_source.h"

#include <xcb/composite.h>
#include <xcb/damage.h>

#include <algorithm>
#include <atomic>
#include <memory>
#include <mutex>

#include "ScreenCapture/platform/x11/repaint_request.h"

namespace orvo::platform::x11 {
namespace {

// What a window has not repainted by then comes with its damage.
std::atomic<std::chrono::milliseconds> repaintLimit{std::chrono::milliseconds(50)};
// A window whose background the server paints is known at once, but repaints itself all the same.
constexpr std::chrono::milliseconds kRepaintQuiet{5};
// A window that does not repaint is not asked more often.
constexpr std::chrono::milliseconds kRequestInterval{500};

// All sources of the process, on whatever connection and thread.
struct Sources {
    std::mutex mutex;
    std::vector<const SceneSource*> all;
};
Sources& sources() {
    static Sources& instance = *new Sources;
    return instance;
}

// Whether a comes after b, or is b.
bool notBefore(unsigned a, unsigned b) {
    return static_cast<int32_t>(a - b) >= 0;
}

}  // namespace

void setRepaintLimit(std::chrono::milliseconds limit) {
    repaintLimit = limit;
}

SceneSource::SceneSource(Connection& x, xcb_window_t window, xcb_window_t frame, Way way)
    : x_(x), window_(window), frame_(frame), way_(way) {
    // Its visibility tells when it comes back with a window that holds it, and so has another picture.
    const uint32_t events = XCB_EVENT_MASK_STRUCTURE_NOTIFY | XCB_EVENT_MASK_VISIBILITY_CHANGE;
    xcb_change_window_attributes(x_.raw(), window_, XCB_CW_EVENT_MASK, &events);
    std::lock_guard lock(sources().mutex);
    sources().all.push_back(this);
}

SceneSource::~SceneSource() {
    {
        std::lock_guard lock(sources().mutex);
        std::erase(sources().all, this);
    }
    if (asked_)
        for (const unsigned request : {geometry_, windowGeometry_})
            if (request != 0) xcb_discard_reply(x_.raw(), request);
    if (fetching_ != 0) xcb_discard_reply(x_.raw(), fetching_);
    // Of a window that has gone nothing is left to undo; another one may have its number.
    if (gone_) return;
    const uint32_t none = 0;
    xcb_change_window_attributes(x_.raw(), window_, XCB_CW_EVENT_MASK, &none);
    unredirect();
}

void SceneSource::fit(const PixelRect& outer, int border, bool isNew) {
    inner_ = {0, 0, outer.width - 2 * border, outer.height - 2 * border};
    tooLarge_ = !fitsPicture(outer);
    if (tooLarge_)
        unredirect();
    else
        redirect(isNew);
}

bool SceneSource::isUnknown(xcb_window_t window, xcb_window_t frame) {
    std::lock_guard lock(sources().mutex);
    return std::any_of(sources().all.begin(), sources().all.end(), [=](const SceneSource* other) {
        return other->mayBeUnknown_ && (other->isAbout(window) || (frame != 0 && other->window_ == frame));
    });
}

// All at once, while nobody else is served: the damage begins as what shows of the window, and goes on with what the
// server paints of the rest as its background.
void SceneSource::redirect(bool isNew) {
    if (redirects_ || way_ == Way::shown || !hasWindowPictures(x_)) return;
    redirects_ = true;
    const bool isUnknownToOthers = isUnknown(window_, frame_);
    xcb_connection_t* const x = x_.raw();
    unknown_ = ServerRegion(x_);
    drawn_ = ServerRegion(x_);
    damage_ = ServerDamage(x_);
    for (const ServerRegion* region : {&unknown_, &drawn_}) xcb_xfixes_create_region(x, region->id(), 0, nullptr);
    x_.flush();  // the server must not be left with half of it
    xcb_grab_server(x);
    xcb_damage_create(x, damage_.id(), window_, XCB_DAMAGE_REPORT_LEVEL_NON_EMPTY);
    xcb_composite_redirect_window(x, window_, XCB_COMPOSITE_REDIRECT_AUTOMATIC);
    loseContent();
    doubtful_ = isNew || isUnknownToOthers;
    subtractDamage(drawn_.id());
    since_ = xcb_ungrab_server(x).sequence;
    x_.flush();
    lost_ = false;
}

void SceneSource::unredirect() {
    if (!std::exchange(redirects_, false)) return;
    damage_ = {};
    mayBeUnknown_ = false;
    doubtful_ = false;
    xcb_composite_unredirect_window(x_.raw(), window_, XCB_COMPOSITE_REDIRECT_AUTOMATIC);
}

void SceneSource::loseContent() {
    if (!redirects_) return;
    const xcb_rectangle_t all = {0, 0, static_cast<uint16_t>(inner_.width), static_cast<uint16_t>(inner_.height)};
    xcb_xfixes_set_region(x_.raw(), unknown_.id(), 1, &all);
    mayBeUnknown_ = true;
    doubtful_ = lost_ = true;
    requested_ = {};
    if (fetching_ != 0) xcb_discard_reply(x_.raw(), std::exchange(fetching_, 0));
}

void SceneSource::handleRestacking(const xcb_generic_event_t& event) {
    if (!mayBeUnknown_ || !notBefore(event.full_sequence, since_) || !notBefore(event.full_sequence, forgotten_))
        return;
    // The damage that was taken since counted as drawn.
    if (!notBefore(event.full_sequence, taken_))
        loseContent();
    else
        doubtful_ = true;
}

void SceneSource::askUnknown() {
    if (mayBeUnknown_ && fetching_ == 0) fetching_ = xcb_xfixes_fetch_region(x_.raw(), unknown_.id()).sequence;
}

std::vector<PixelRect> SceneSource::readUnknown() {
    std::vector<PixelRect> rects;
    if (!mayBeUnknown_) return rects;
    if (fetching_ == 0) return {inner_};
    const auto reply = x_.await<xcb_xfixes_fetch_region_reply_t>(std::exchange(fetching_, 0));
    if (!reply) return {inner_};
    const xcb_rectangle_t* all = xcb_xfixes_fetch_region_rectangles(reply.get());
    for (int i = 0; i < xcb_xfixes_fetch_region_rectangles_length(reply.get()); ++i)
        rects.push_back({all[i].x, all[i].y, all[i].width, all[i].height});
    if (!rects.empty()) return rects;
    mayBeUnknown_ = false;
    doubtful_ = false;
    return rects;
}

bool SceneSource::requestRepaint() {
    const auto now = Clock::now();
    wantsRepaint_ = now - requested_ < kRequestInterval;
    if (wantsRepaint_) {
        if (!doubtful_) return false;
        subtractDamage(drawn_.id());
        forgotten_ = taken_;
        doubtful_ = false;
        return true;
    }
    requested_ = now;
    const bool counts = !std::exchange(doubtful_, false);
    if (counts) subtractDamage(drawn_.id());
    taken_ = x11::requestRepaint(x_, window_, frame_, damage_.id(), unknown_.id(), drawn_.id());
    if (!counts) forgotten_ = taken_;
    expectRepaint();
    return true;
}

void SceneSource::expectRepaint() {
    redirected_ = repainted_ = Clock::now();
    askUnknown();
}

bool SceneSource::isRepainted() {
    if (redirected_ == Clock::time_point{}) return true;
    if (std::exchange(learned_, false)) askUnknown();
    if (fetching_ != 0) readUnknown();
    const auto now = Clock::now();
    const bool mayRepaint = mayBeUnknown_ || now - repainted_ < kRepaintQuiet;
    if (damage_ && mayRepaint && now - redirected_ < repaintLimit.load()) return false;
    redirected_ = {};
    return true;
}

bool SceneSource::handle(const xcb_generic_event_t& event) {
    const uint8_t type = event.response_type & 0x7F;
    if (damage_ && type == x_.extensions().damageEvent + XCB_DAMAGE_NOTIFY) {
        if (reinterpret_cast<const xcb_damage_notify_event_t&>(event).damage != damage_.id()) return false;
        news_ = true;
        // The server reports more of it only then. Whatever is drawn meanwhile, all of the picture is drawn afterwards.
        if (redirected_ != Clock::time_point{}) {
            subtractDamage(drawn_.id());
            learned_ = true;
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
        fit({0, 0, notify.width + 2 * notify.border_width, notify.height + 2 * notify.border_width},
            notify.border_width, true);
        becomeStale(event);
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
    if (notBefore(event.full_sequence, naming_)) stale_ = true;
    if (notBefore(event.full_sequence, since_)) loseContent();
}

void SceneSource::askPicture() {
    if (gone_ || !stale_ || asked_ || !hasWindowPictures(x_)) return;
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
    const PixelRect inner{0, 0, window->width, window->height};
    if (inner != inner_) {  // the size that it was redirected with was an old one
        inner_ = inner;
        loseContent();
    }
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
    if (!damage_) return;
    taken_ = xcb_damage_subtract(x_.raw(), damage_.id(), XCB_NONE, into).sequence;
    if (mayBeUnknown_ && !doubtful_) xcb_xfixes_subtract_region(x_.raw(), unknown_.id(), into, unknown_.id());
}

}  // namespace orvo::platform::x11
