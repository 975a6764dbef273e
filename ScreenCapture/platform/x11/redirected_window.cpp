// One window to draw from.
#include "ScreenCapture/platform/x11/redirected_window.h"

#include <xcb/composite.h>
#include <xcb/damage.h>
#include <xcb/shape.h>

#include <algorithm>
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

// Those of the whole process, on whatever connection and thread.
struct All {
    std::mutex mutex;
    std::vector<const RedirectedWindow*> windows;
};
All& all() {
    static All& instance = *new All;
    return instance;
}

// Whether request a comes after b, or is b. Requests are numbered in 32 bits, which wrap: the difference is right as
// long as the two lie less than half of all numbers apart.
bool notBefore(unsigned a, unsigned b) {
    return static_cast<int32_t>(a - b) >= 0;
}

}  // namespace

void setRepaintLimit(std::chrono::milliseconds limit) {
    repaintLimit = limit;
}

RedirectedWindow::RedirectedWindow(RedirectedWindows& windows, std::shared_ptr<Connection> x, xcb_window_t window,
                                   xcb_window_t frame)
    : windows_(windows), x_(std::move(x)), window_(window), frame_(frame) {
    if (hasDamage(*x_)) {
        drawn_ = ServerRegion(*x_);
        xcb_xfixes_create_region(x_->raw(), drawn_.id(), 0, nullptr);
    }
    std::lock_guard lock(all().mutex);
    all().windows.push_back(this);
    if (isRoot()) {
        named_ = true;
        size_ = {0, 0, INT16_MAX, INT16_MAX};  // whatever it has now
        depth_ = x_->screen()->root_depth;
        picture_ = pictureOf(*x_, window_, x_->formats().root);
        if (!hasDamage(*x_)) return;
        damage_ = ServerDamage(*x_);
        xcb_damage_create(x_->raw(), damage_.id(), window_, XCB_DAMAGE_REPORT_LEVEL_NON_EMPTY);
        return;
    }
    // Its visibility shows when it comes back with a window that holds it, and so has another picture.
    x_->select(window_, XCB_EVENT_MASK_STRUCTURE_NOTIFY | XCB_EVENT_MASK_VISIBILITY_CHANGE);
}

RedirectedWindow::~RedirectedWindow() {
    {
        std::lock_guard lock(all().mutex);
        std::erase(all().windows, this);
    }
    if (asked_)
        for (const unsigned request : {geometry_, windowGeometry_})
            if (request != 0) xcb_discard_reply(x_->raw(), request);
    if (fetching_ != 0) xcb_discard_reply(x_->raw(), fetching_);
    // Of a window that has gone nothing is left to undo; another one may have its number.
    if (gone_ || isRoot()) return;
    // The server draws what the window holds into its frame.
    const auto frame = mayBeUnknown_ && frame_ != window_ ? windows_.find(*x_, frame_) : nullptr;
    unredirect();
    if (frame) frame->loseContent();
}

void RedirectedWindow::fit(const PixelRect& outer, int border, bool isNew) {
    inner_ = {0, 0, outer.width - 2 * border, outer.height - 2 * border};
    border_ = border;
    tooLarge_ = !fitsPicture(outer);
    if (tooLarge_)
        unredirect();
    else
        redirect(isNew);
}

bool RedirectedWindow::isUnknown(xcb_window_t window, xcb_window_t frame) {
    std::lock_guard lock(all().mutex);
    return std::any_of(all().windows.begin(), all().windows.end(), [=](const RedirectedWindow* other) {
        return other->mayBeUnknown_ && (other->isAbout(window) || (frame != 0 && other->window_ == frame));
    });
}

// All at once, while nobody else is served: the damage begins as what shows of the window, and goes on with what the
// server paints of the rest as its background.
void RedirectedWindow::redirect(bool isNew) {
    if (damage_ || !hasWindowPictures(*x_)) return;
    const bool isUnknownToOthers = isUnknown(window_, frame_);
    xcb_connection_t* const x = x_->raw();
    unknown_ = ServerRegion(*x_);
    xcb_xfixes_create_region(x, unknown_.id(), 0, nullptr);
    damage_ = ServerDamage(*x_);
    x_->flush();  // the server must not be left with half of it
    xcb_grab_server(x);
    xcb_damage_create(x, damage_.id(), window_, XCB_DAMAGE_REPORT_LEVEL_NON_EMPTY);
    xcb_composite_redirect_window(x, window_, XCB_COMPOSITE_REDIRECT_AUTOMATIC);
    loseContent();
    // Of a window with a border the server reports all as drawn, also what it only copied from the screen.
    doubtful_ = isNew || isUnknownToOthers || border_ > 0;
    subtractDamage(drawn_);
    since_ = xcb_ungrab_server(x).sequence;
    x_->flush();
}

void RedirectedWindow::unredirect() {
    if (!damage_) return;
    damage_ = {};
    mayBeUnknown_ = false;
    doubtful_ = false;
    xcb_composite_unredirect_window(x_->raw(), window_, XCB_COMPOSITE_REDIRECT_AUTOMATIC);
}

void RedirectedWindow::loseContent() {
    if (!damage_) return;
    const xcb_rectangle_t whole = rectangle(inner_);
    xcb_xfixes_set_region(x_->raw(), unknown_.id(), 1, &whole);
    mayBeUnknown_ = true;
    doubtful_ = true;
    isAllKnown_ = false;
    generation_ = nextVersion();
    requested_ = {};
    if (fetching_ != 0) xcb_discard_reply(x_->raw(), std::exchange(fetching_, 0));
}

// An event bears the number of the last request that the server had done when it sent it. So an event of before the
// redirection is in what the redirection found, one of before damage was thrown away was thrown away with it, and one
// of before damage was taken means that what was taken may have been no drawing: then nothing is known after all.
void RedirectedWindow::onRestacking(const xcb_generic_event_t& event) {
    if (!mayBeUnknown_ || !notBefore(event.full_sequence, since_) || !notBefore(event.full_sequence, forgotten_))
        return;
    if (!notBefore(event.full_sequence, taken_))
        loseContent();
    else
        doubtful_ = true;
}

void RedirectedWindow::requestUnknown() {
    if (mayBeUnknown_ && fetching_ == 0) fetching_ = xcb_xfixes_fetch_region(x_->raw(), unknown_.id()).sequence;
}

std::vector<PixelRect> RedirectedWindow::receiveUnknown() {
    if (!mayBeUnknown_) return {};
    if (fetching_ == 0) return {inner_};
    const auto reply = x_->await<xcb_xfixes_fetch_region_reply_t>(std::exchange(fetching_, 0));
    if (!reply) return {inner_};
    std::vector<PixelRect> rects;
    appendRects(*reply, rects);
    isAllKnown_ = rects.empty();
    return rects;
}

void RedirectedWindow::settle() {
    if (std::exchange(isAllKnown_, false)) mayBeUnknown_ = doubtful_ = false;
}

void RedirectedWindow::repaintIfNeeded() {
    if (!damage_ || !mayBeUnknown_ || !(doubtful_ || wantsRepaint_)) return;
    const auto now = Clock::now();
    wantsRepaint_ = now - requested_ < kRequestInterval;
    if (wantsRepaint_) {
        if (!doubtful_) return;
        damaged_ = true;
        collectDamage();  // which does not count
        forgotten_ = taken_;
        doubtful_ = false;
        return;
    }
    requested_ = now;
    damaged_ = true;
    collectDamage();
    taken_ = requestRepaint(*x_, window_, frame_, damage_.id(), unknown_.id(), drawn_.id());
    if (std::exchange(doubtful_, false)) forgotten_ = taken_;
    generation_ = nextVersion();
    expectRepaint();
}

void RedirectedWindow::expectRepaint() {
    redirected_ = repainted_ = Clock::now();
    requestUnknown();
}

void RedirectedWindow::requestRepainted() {
    if (!damaged_) return;
    collectDamage();  // the server reports more of it only once it is taken
    requestUnknown();
    repainted_ = Clock::now();
}

void RedirectedWindow::receiveRepainted() {
    settle();
    const auto now = Clock::now();
    const bool mayRepaint = mayBeUnknown_ || now - repainted_ < kRepaintQuiet;
    if (!damage_ || !mayRepaint || now - redirected_ >= repaintLimit.load()) redirected_ = {};
}

void RedirectedWindow::onEvent(const xcb_generic_event_t& event) {
    const uint8_t type = event.response_type;
    if (damage_ && x_->extensions().damage.sent(event, XCB_DAMAGE_NOTIFY))
        damaged_ |= reinterpret_cast<const xcb_damage_notify_event_t&>(event).damage == damage_.id();
    if (isRoot()) return;
    if (type == XCB_CONFIGURE_NOTIFY) {
        const auto& notify = reinterpret_cast<const xcb_configure_notify_event_t&>(event);
        const PixelRect inner{0, 0, notify.width, notify.height};
        if (notify.window != window_ || (inner == inner_ && notify.border_width == border_)) return;
        fit(withBorder(inner, notify.border_width), notify.border_width, true);
        return onNewPixmap(event);
    }
    if (type == XCB_VISIBILITY_NOTIFY &&
        reinterpret_cast<const xcb_visibility_notify_event_t&>(event).window == window_)
        return onNewPixmap(event);
    if (type != XCB_MAP_NOTIFY && type != XCB_UNMAP_NOTIFY && type != XCB_REPARENT_NOTIFY && type != XCB_DESTROY_NOTIFY)
        return;
    // These events begin alike: the window that it is reported to, then the window that it is about.
    if (reinterpret_cast<const xcb_unmap_notify_event_t&>(event).window != window_) return;
    onNewPixmap(event);
    gone_ |= type == XCB_DESTROY_NOTIFY;
}

// The pixmap has become another one, at the time of the event. A name that was asked for later than that, by the
// numbers of the requests, is the new pixmap's already: naming it again would make every picture wait once more. And of
// what was there before the redirection nothing was taken to be known.
void RedirectedWindow::onNewPixmap(const xcb_generic_event_t& event) {
    if (notBefore(event.full_sequence, naming_)) hasOtherPixmap_ = true;
    if (notBefore(event.full_sequence, since_)) loseContent();
}

void RedirectedWindow::requestPixmap() {
    if (isRoot() || gone_ || !hasOtherPixmap_ || asked_ || !hasWindowPictures(*x_)) return;
    picture_ = {};
    alphaPicture_ = {};
    pixmap_ = {};
    geometry_ = windowGeometry_ = 0;
    asked_ = true;
    hasOtherPixmap_ = false;
    if (tooLarge_) return;  // until it has another size
    pixmap_ = ServerPixmap(*x_);
    naming_ = xcb_composite_name_window_pixmap(x_->raw(), window_, pixmap_.id()).sequence;
    geometry_ = xcb_get_geometry(x_->raw(), pixmap_.id()).sequence;
    windowGeometry_ = xcb_get_geometry(x_->raw(), window_).sequence;
}

void RedirectedWindow::receivePixmap() {
    if (!std::exchange(asked_, false)) return;
    const auto window = windowGeometry_ ? x_->await<xcb_get_geometry_reply_t>(windowGeometry_) : nullptr;
    const auto pixmap = geometry_ ? x_->await<xcb_get_geometry_reply_t>(geometry_) : nullptr;
    const bool before = std::exchange(named_, pixmap && window);
    if (named_ || before) generation_ = nextVersion();
    if (!named_) {
        hasOtherPixmap_ |= !tooLarge_;  // a window without a picture is asked again
        pixmap_ = {};
        return;
    }
    size_ = {0, 0, pixmap->width, pixmap->height};
    depth_ = pixmap->depth;
    border_ = window->border_width;
    const PixelRect inner{0, 0, window->width, window->height};
    if (inner == inner_) return;
    inner_ = inner;  // the size that it was redirected with was an old one
    loseContent();
}

void RedirectedWindow::usePixmap() {
    if (!named_ || picture_) return;
    const PictureFormats& formats = x_->formats();
    picture_ = pictureOf(*x_, drawable(), depth_ < formats.opaque.size() ? formats.opaque[depth_] : 0);
    if (depth_ == 32) alphaPicture_ = pictureOf(*x_, drawable(), formats.argb32);
}

void RedirectedWindow::subtractDamage(const ServerRegion& into) {
    taken_ = xcb_damage_subtract(x_->raw(), damage_.id(), XCB_NONE, into.id()).sequence;
    if (mayBeUnknown_ && !doubtful_) xcb_xfixes_subtract_region(x_->raw(), unknown_.id(), into.id(), unknown_.id());
}

void RedirectedWindow::collectDamage() {
    if (!damage_ || !std::exchange(damaged_, false)) return;
    if (listeners_.size() == 1 && !listeners_.front()->any) {  // as nearly always: a request less
        subtractDamage(listeners_.front()->region);
        listeners_.front()->any = true;
        return;
    }
    subtractDamage(drawn_);
    for (Damage* listener : listeners_) {
        if (std::exchange(listener->any, true))
            xcb_xfixes_union_region(x_->raw(), drawn_.id(), listener->region.id(), listener->region.id());
        else
            xcb_xfixes_copy_region(x_->raw(), drawn_.id(), listener->region.id());
    }
}

RedirectedWindows& RedirectedWindows::of(Server& server) {
    static auto& desktop = *new RedirectedWindows(desktopServer());
    static auto& pictures = *new RedirectedWindows(pictureServer());
    return &server == &desktopServer() ? desktop : pictures;
}

std::shared_ptr<RedirectedWindow> RedirectedWindows::find(const Connection& x, xcb_window_t window) const {
    const auto found = windows_.find(window);
    auto held = found == windows_.end() ? nullptr : found->second.lock();
    return held && !held->gone() && held->x_.get() == &x ? held : nullptr;
}

std::shared_ptr<RedirectedWindow> RedirectedWindows::find(const Server::Use& x, xcb_window_t window) const {
    return find(*x, window);
}

std::shared_ptr<RedirectedWindow> RedirectedWindows::open(const Server::Use& x, xcb_window_t window,
                                                          xcb_window_t frame) {
    if (auto held = find(x, window)) return held;
    // Of all top-level windows: what moves or goes brings to light what was not drawn.
    x->select(x->root(), XCB_EVENT_MASK_STRUCTURE_NOTIFY | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY);
    std::erase_if(windows_, [](const auto& each) { return each.second.expired(); });
    auto opened = std::make_shared<RedirectedWindow>(*this, x.connection(), window, frame);
    windows_[window] = opened;
    return opened;
}

void RedirectedWindows::onEvent(const Connection& x, const xcb_generic_event_t& event) {
    const uint8_t type = event.response_type;
    const xcb_window_t exposed = repaintRequestedByOther(x, event);
    const bool isShape = x.extensions().shape.sent(event, XCB_SHAPE_NOTIFY);
    const bool isRestacking =
        isShape || (type >= XCB_DESTROY_NOTIFY && type <= XCB_CIRCULATE_NOTIFY && type != XCB_MAP_REQUEST);
    const bool isServers = (type & 0x80) == 0;  // not sent by some client
    for (const auto& [number, weak] : windows_) {
        const auto window = weak.lock();
        if (!window || window->x_.get() != &x) continue;
        if (isRestacking || (exposed != 0 && window->isAbout(exposed))) window->onRestacking(event);
        if (isServers) window->onEvent(event);
    }
}

// A window that loses a part of its shape brings to light what is below, too.
void RedirectedWindows::followShapes(const Server::Use& x, const std::vector<xcb_window_t>& windows) {
    if (!x->extensions().shape) return;
    for (const xcb_window_t window : windows) xcb_shape_select_input(x->raw(), window, 1);
}

}  // namespace orvo::platform::x11
