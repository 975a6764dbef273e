// Asks for the pictures of one target again and again.
#include "ScreenCapture/platform/x11/window_grabber.h"

#include <xcb/shape.h>

#include <algorithm>
#include <cmath>

#include "ScreenCapture/platform/x11/desktop.h"
#include "ScreenCapture/platform/x11/window_properties.h"

namespace orvo::platform::x11 {
namespace {

constexpr int kFarthest = 1 << 20;  // pixels from the root's origin

// The whole pixels of a rectangle; sizes that no server has are cut.
PixelRect pixelsOf(const Rect& rect) {
    const auto cut = [](double value) { return std::clamp(truncated<int>(value), -kFarthest, kFarthest); };
    return {cut(std::floor(rect.x)), cut(std::floor(rect.y)), cut(rect.width), cut(rect.height)};
}

// A frame that holds several clients is there once.
void addFrame(std::vector<Layer>& layers, const DesktopWindow& window) {
    const bool known =
        std::any_of(layers.begin(), layers.end(), [&](const Layer& layer) { return layer.id == window.frame; });
    if (!known)
        layers.push_back({Layer::Kind::window, window.frame, window.frameBounds, window.frameBounds, window.shape,
                          window.frame == window.number ? window.border : 0, window.mapped});
}

// Everything on screen but desktop windows and the background, with frames, front to back.
void setLayersOfArea(std::vector<Layer>& layers, const WindowList& windows) {
    layers.clear();
    for (const DesktopWindow& window : windows.all)
        if (window.frameOnScreen && window.type != WindowType::desktop) addFrame(layers, window);
}

// The windows of the list, each with its frame, in the order given; numbers that are not on screen are left out.
// withBackground: what the root shows lies behind them.
void setLayersOfList(std::vector<Layer>& layers, const WindowList& windows, const std::vector<uint32_t>& numbers,
                     bool withBackground) {
    layers.clear();
    for (const uint32_t number : numbers) {
        const DesktopWindow* window = windows.find(number);
        if (window && window->frameOnScreen) addFrame(layers, *window);
    }
    if (withBackground && windows.background != 0)
        layers.push_back({Layer::Kind::background, windows.background, windows.root, windows.root, {}});
}

}  // namespace

WindowGrabber::WindowGrabber(uint32_t target, bool isScreen) : target_(target), isScreen_(isScreen) {
    const PipeGuard guard;
    connect();
}

WindowGrabber::~WindowGrabber() {
    const PipeGuard guard;
    close();
    x_.reset();
}

void WindowGrabber::close() {
    compositor_.reset();
    window_.reset();
    windows_.reset();
}

// True when there is a server that answers, whose events so far are known.
bool WindowGrabber::connect() {
    if (x_ && x_->silent()) {
        if (!x_->answersAgain() && x_->silent()) return false;
        readEvents();  // all that has happened to the target meanwhile
        if (!x_->lost()) begin();
    }
    if (x_) readEvents();
    if (x_ && !x_->lost()) return x_->answers();
    // Windows do not outlive their server.
    if (connected_ && !isScreen_) gone_ = true;
    close();
    x_ = Connection::open();
    if (!x_) return false;
    begin();
    connected_ = true;
    return true;
}

// Takes a picture of the desktop as it is now. None without a server that answers, before or afterwards, nor of a
// target that is gone.
template <typename Take>
Shot WindowGrabber::ask(Take&& take) {
    const PipeGuard guard;
    const auto desktop = connect() ? currentDesktop() : nullptr;
    if (!desktop) return whyUnreachable(x_.get());
    if (gone_) return NoImage::gone;
    const uint64_t roundTrips = x_->roundTrips();
    Shot shot = take(*desktop);
    // What was asked before the target went may have been answered from another window of the same number.
    if (x_->roundTrips() != roundTrips) readEvents();
    if (x_->lost()) return whyUnreachable(x_.get());
    return gone_ ? Shot(NoImage::gone) : std::move(shot);
}

// Nothing that was drawn before counts.
void WindowGrabber::begin() {
    close();
    windows_ = std::make_unique<RedirectedWindows>(*x_, [this](auto& event) { handle(event); });
    compositor_ = std::make_unique<Compositor>(*windows_);
    shapeIsStale_ = true;
    if (!isScreen_ && !gone_) watchTarget();
}

void WindowGrabber::watchTarget() {
    if (x_->extensions().shape) xcb_shape_select_input(x_->raw(), target_, 1);
    const auto desktop = currentDesktop();
    window_ = windows_->open(target_, desktop ? desktop->windows->frameOf(target_) : 0);
    const auto size = x_->await<xcb_get_geometry_reply_t>(xcb_get_geometry(x_->raw(), target_).sequence);
    if (!size && !x_->lost()) gone_ = true;
    if (!size) return;
    const int border = size->border_width;
    window_->fit({0, 0, size->width + 2 * border, size->height + 2 * border}, border, false);
    x_->sync();  // whatever is drawn from here on goes into its picture
}

void WindowGrabber::readEvents() {
    windows_->readEvents();
    if (window_ && window_->gone()) gone_ = true;
}

void WindowGrabber::handle(const xcb_generic_event_t& event) {
    const bool isShape =
        x_->extensions().shape && (event.response_type & 0x7F) == x_->extensions().shapeEvent + XCB_SHAPE_NOTIFY;
    if (isShape && reinterpret_cast<const xcb_shape_notify_event_t&>(event).affected_window == target_)
        shapeIsStale_ = true;
}

void WindowGrabber::readShape() {
    if (!x_->extensions().shape || !std::exchange(shapeIsStale_, false)) return;
    shape_ = queryShape(*x_, target_);
}

Shot WindowGrabber::window() {
    return ask([this](const Desktop& desktop) -> Shot {
        if (!hasWindowPictures(*x_)) return NoImage::failed;
        const DesktopWindow* window = desktop.windows->find(target_);
        if (!window || !window->onScreen) return NoImage::notOnScreen;
        readShape();
        layers_.assign(1, layerOfClient(*window, shape_));
        Shot shot = compositor_->take(boundsOfClient(*window), layers_, *desktop.windows);
        return shot.image && compositor_->missing() != NoImage::none ? Shot(compositor_->missing()) : shot;
    });
}

Shot WindowGrabber::area(const Rect& area) {
    return ask([&](const Desktop& desktop) {
        setLayersOfArea(layers_, *desktop.windows);
        return compositor_->take(desktop.monitors->toRoot(pixelsOf(area)), layers_, *desktop.windows);
    });
}

Shot WindowGrabber::composed(const Rect& bounds, const std::vector<uint32_t>& windows) {
    return ask([&](const Desktop& desktop) -> Shot {
        if (isScreen_ && !desktop.monitors->areShown) return NoImage::wayland;
        setLayersOfList(layers_, *desktop.windows, windows, isScreen_);
        return compositor_->take(desktop.monitors->toRoot(pixelsOf(bounds)), layers_, *desktop.windows);
    });
}

Shot WindowGrabber::display() {
    return ask([this](const Desktop& desktop) -> Shot {
        const Monitor* monitor = desktop.monitors->find(target_);
        if (!monitor) return NoImage::gone;
        if (!desktop.monitors->areShown) return NoImage::wayland;
        layers_.assign(1, layerOfRoot(*x_));
        return compositor_->take(monitor->area, layers_, *desktop.windows);
    });
}

}  // namespace orvo::platform::x11
