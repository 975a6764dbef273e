// Asks for the pictures of one target again and again.
#include <algorithm>
#include <cmath>

#include "ScreenCapture/platform/x11/compositor.h"
#include "ScreenCapture/platform/x11/desktop.h"
#include "ScreenCapture/platform/x11/services.h"

namespace orvo::platform::x11 {
namespace {

constexpr int kMaxCoordinate = 1 << 20;  // pixels from the root's origin

// The whole pixels of a rectangle; sizes that no server has are cut.
PixelRect pixelsOf(const Rect& rect) {
    const auto cut = [](double value) { return std::clamp(truncated<int>(value), -kMaxCoordinate, kMaxCoordinate); };
    return {cut(std::floor(rect.x)), cut(std::floor(rect.y)), cut(rect.width), cut(rect.height)};
}

// A frame that holds several clients is there once.
//
// A client that some capture has redirected by itself is a layer of its own: the server draws its picture into the
// frame's, and what its owner has not drawn would count as drawn there. Where frames hold what nobody painted there are
// only the clients.
void addWindow(const Server::Use& x, std::vector<Layer>& layers, const WindowList& windows,
               const DesktopWindow& window) {
    const bool isFramed = window.frame != window.number;
    if (isFramed && window.onScreen &&
        (!windows.paintsFrames || RedirectedWindows::of(desktopServer()).find(x, window.number)))
        layers.push_back(layerInFrame(window));
    if (isFramed && !windows.paintsFrames) return;
    const auto isFrame = [&](const Layer& layer) { return layer.id == window.frame; };
    if (std::none_of(layers.begin(), layers.end(), isFrame)) layers.push_back(layerOfFrame(window));
}

// Everything on screen but desktop windows and the background, with frames, front to back.
void setLayersOfArea(const Server::Use& x, std::vector<Layer>& layers, const WindowList& windows) {
    layers.clear();
    for (const DesktopWindow& window : windows.all)
        if (window.frameOnScreen && window.type != WindowType::desktop) addWindow(x, layers, windows, window);
}

// The windows of the list, each with its frame, in the order given; numbers that are not on screen are left out.
// withBackground: what the root shows lies behind them.
void setLayersOfList(const Server::Use& x, std::vector<Layer>& layers, const WindowList& windows,
                     const std::vector<uint32_t>& numbers, bool withBackground) {
    layers.clear();
    for (const uint32_t number : numbers) {
        const DesktopWindow* window = windows.find(number);
        if (window && window->frameOnScreen) addWindow(x, layers, windows, *window);
    }
    if (withBackground && windows.background != 0)
        layers.push_back({Layer::Kind::background, windows.background, windows.root, windows.root, {}});
}

// A target window is redirected from the start: what was covered has time to be painted again before the first picture.
// When the server has gone, so has a target window, and there is no picture of any kind; a display is found again on
// the next server.
class WindowGrabber final : public Grabber {
  public:
    WindowGrabber(uint32_t target, bool isScreen) : target_(target), isScreen_(isScreen) {
        Server::Use x = desktopServer().use();
        open(x);
    }
    ~WindowGrabber() override {
        const Server::Use x = desktopServer().use();
        close();
    }

    Shot window() override {
        return ask([this](Server::Use& x, const Desktop& desktop) -> Shot {
            if (!hasWindowPictures(*x)) return whyNoWindowPictures(*x);
            const DesktopWindow* window = desktop.windows->find(target_);
            if (!window || !window->onScreen) return NoImage::notOnScreen;
            layers_.assign(1, layerOfClient(*window));
            Shot shot = compositor_->take(x, boundsOfClient(*window), layers_, *desktop.windows);
            return shot.image && compositor_->missing() != NoImage::none ? Shot(compositor_->missing()) : shot;
        });
    }

    Shot area(const Rect& area) override {
        return ask([&](Server::Use& x, const Desktop& desktop) {
            setLayersOfArea(x, layers_, *desktop.windows);
            return compositor_->take(x, desktop.monitors->toRoot(pixelsOf(area)), layers_, *desktop.windows);
        });
    }

    Shot composed(const Rect& bounds, const std::vector<uint32_t>& windows) override {
        return ask([&](Server::Use& x, const Desktop& desktop) -> Shot {
            if (isScreen_ && !desktop.monitors->areShown) return NoImage::wayland;
            setLayersOfList(x, layers_, *desktop.windows, windows, isScreen_);
            return compositor_->take(x, desktop.monitors->toRoot(pixelsOf(bounds)), layers_, *desktop.windows);
        });
    }

    Shot display() override {
        return ask([this](Server::Use& x, const Desktop& desktop) -> Shot {
            const Monitor* monitor = desktop.monitors->find(target_);
            if (!monitor) return NoImage::gone;
            if (!desktop.monitors->areShown) return NoImage::wayland;
            layers_.assign(1, layerOfRoot(*x));
            return compositor_->take(x, monitor->area, layers_, *desktop.windows);
        });
    }

  private:
    // True when there is a server that answers, and a compositor on it.
    bool open(Server::Use& x) {
        if (!x) return false;
        const uint64_t before = std::exchange(epoch_, desktopServer().epoch());
        if (before != epoch_) {
            close();
            // Windows do not outlive their server.
            if (before != 0 && !isScreen_) gone_ = true;
            compositor_ = std::make_unique<Compositor>(desktopServer(), x);
            if (!isScreen_ && !gone_) watchTarget(x);
        }
        return x && x->answers();
    }
    void close() {
        compositor_.reset();
        window_.reset();
    }

    void watchTarget(Server::Use& x) {
        const auto desktop = currentDesktop(x);
        auto& windows = RedirectedWindows::of(desktopServer());
        window_ = windows.find(x, target_);
        if (window_) return;
        window_ = windows.open(x, target_, desktop ? desktop->windows->frameOf(target_) : 0);
        const auto size = x->await<xcb_get_geometry_reply_t>(xcb_get_geometry(x->raw(), target_).sequence);
        if (!size && x) gone_ = true;
        if (!size) return;
        window_->fit(withBorder({0, 0, size->width, size->height}, size->border_width), size->border_width, false);
        x->sync();  // whatever is drawn from here on goes into its picture
    }
    bool isGone() {
        gone_ |= window_ && window_->gone();
        return gone_;
    }

    // Takes a picture of the desktop as it is now. None without a server that answers, before or afterwards, nor of a
    // target that is gone.
    template <typename Take>
    Shot ask(Take&& take) {
        Server::Use x = desktopServer().use();
        const auto desktop = open(x) ? currentDesktop(x) : nullptr;
        if (!desktop) return whyUnreachable();
        if (isGone()) return NoImage::gone;
        if (window_) window_->setFrame(desktop->windows->frameOf(target_));
        Shot shot = take(x, *desktop);
        if (!x) return whyUnreachable();
        // What was asked before the target went may have been answered from another window of the same number.
        x.readEvents();
        return isGone() ? Shot(NoImage::gone) : std::move(shot);
    }

    const uint32_t target_;
    const bool isScreen_;
    uint64_t epoch_ = 0;  // of the server that the next two belong to
    std::unique_ptr<Compositor> compositor_;
    std::shared_ptr<RedirectedWindow> window_;  // the target
    std::vector<Layer> layers_;                 // of the picture that is taken
    bool gone_ = false;
};

}  // namespace

std::unique_ptr<Grabber> makeGrabber(uint32_t target, bool isScreen) {
    return std::make_unique<WindowGrabber>(target, isScreen);
}

}  // namespace orvo::platform::x11
