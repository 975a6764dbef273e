// Asks for the pictures of one target again and again.
#include "ScreenCapture/platform/x11/window_grabber.h"

#include <xcb/shape.h>

#include <algorithm>
#include <cmath>

#include "ScreenCapture/platform/x11/desktop_model.h"
#include "ScreenCapture/platform/x11/window_facts.h"
#include "ScreenCapture/platform/x11/window_scenes.h"

namespace orvo::platform::x11 {
namespace {

constexpr int kFarthest = 1 << 20;  // pixels from the root's origin

// The whole pixels of a rectangle; sizes that no server has are cut.
PixelRect pixelsOf(const Rect& rect) {
    const auto cut = [](double value) { return std::clamp(truncated<int>(value), -kFarthest, kFarthest); };
    return {cut(std::floor(rect.x)), cut(std::floor(rect.y)), cut(rect.width), cut(rect.height)};
}

}  // namespace

WindowGrabber::WindowGrabber(uint32_t target, bool isScreen) : target_(target), isScreen_(isScreen) {
    const PipeGuard guard;
    connect();
}

WindowGrabber::~WindowGrabber() {
    const PipeGuard guard;
    scene_.reset();
    display_.reset();
    x_.reset();
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
    display_.reset();
    scene_.reset();
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
    display_.reset();
    scene_.reset();
    scene_ = std::make_unique<SceneGrabber>(*x_, [this](auto& event) { handle(event); });
    shapeIsStale_ = true;
    if (!isScreen_ && !gone_) watchTarget();
}

void WindowGrabber::watchTarget() {
    if (x_->extensions().shape) xcb_shape_select_input(x_->raw(), target_, 1);
    const auto desktop = currentDesktop();
    const xcb_window_t frame = desktop ? desktop->windows->frameOf(target_) : 0;
    if (!scene_->pin(target_, frame) && !x_->lost()) gone_ = true;
}

void WindowGrabber::readEvents() {
    scene_->readEvents();
    if (scene_->pinnedGone()) gone_ = true;
}

void WindowGrabber::handle(const xcb_generic_event_t& event) {
    if (display_) display_->handle(event);
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
        Shot shot = scene_->take(boundsOfClient(*window), layers_, *desktop.windows);
        return shot.image && scene_->missing() != NoImage::none ? Shot(scene_->missing()) : shot;
    });
}

Shot WindowGrabber::area(const Rect& area) {
    return ask([&](const Desktop& desktop) {
        setLayersOfArea(layers_, *desktop.windows);
        return scene_->take(desktop.monitors->toRoot(pixelsOf(area)), layers_, *desktop.windows);
    });
}

Shot WindowGrabber::composed(const Rect& bounds, const std::vector<uint32_t>& windows) {
    return ask([&](const Desktop& desktop) -> Shot {
        if (isScreen_ && !desktop.monitors->areShown) return NoImage::wayland;
        setLayersOfList(layers_, *desktop.windows, windows, isScreen_);
        return scene_->take(desktop.monitors->toRoot(pixelsOf(bounds)), layers_, *desktop.windows);
    });
}

Shot WindowGrabber::display() {
    return ask([this](const Desktop& desktop) -> Shot {
        const Monitor* monitor = desktop.monitors->find(target_);
        if (!monitor) return NoImage::gone;
        if (!desktop.monitors->areShown) return NoImage::wayland;
        if (!display_ || display_->area() != monitor->area)
            display_ = std::make_unique<DisplayGrabber>(*x_, monitor->area);
        return display_->take();
    });
}

}  // namespace orvo::platform::x11
