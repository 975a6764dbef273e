// The frames of the device path on x11.
#include "ScreenCapture/platform/x11/display_source.h"

#include <utility>
#include <vector>

#include "ScreenCapture/platform/software/region.h"
#include "ScreenCapture/platform/x11/compositor.h"
#include "ScreenCapture/platform/x11/desktop.h"
#include "ScreenCapture/platform/x11/pointer.h"
#include "ScreenCapture/platform/x11/pointer_tracker.h"

namespace orvo::platform::x11 {
namespace {

using software::FrameResult;
using Outcome = FrameResult::Outcome;

class X11DisplaySource final : public software::DisplaySource, private EventHandler {
  public:
    explicit X11DisplaySource(const Server::Use& x)
        : epoch_(desktopServer().epoch()),
          pointer_(x.connection()),
          compositor_(std::make_unique<Compositor>(desktopServer(), x)),
          layers_(1, layerOfRoot(*x)) {
        desktopServer().add(*this);
    }
    ~X11DisplaySource() override {
        const Server::Use x = desktopServer().use();
        desktopServer().remove(*this);
        pointer_.stop();
        compositor_ = nullptr;
    }

    FrameResult next(const software::DisplaySettings& settings) override {
        Server::Use x = desktopServer().use();
        if (!isUsable(x) || !x->answers()) return lost();
        const auto desktop = currentDesktop(x);
        const Monitor* const monitor = desktop ? desktop->monitors->find(settings.display) : nullptr;
        if (!desktop || !isUsable(x)) return lost();
        if (!monitor) return {Outcome::displayGone, nullptr, NoImage::gone};
        const PixelRect area = captureArea(monitor->area, settings.crop);
        if (area.empty()) return {Outcome::dropped, nullptr, NoImage::notOnScreen};
        PointerPosition& position = sharedPointer(x);
        if (std::exchange(area_, area) != area) position.disturb();  // the pointer may have been moved with the screen
        pointer_.ask(position, settings.cursor, settings.clicks);
        // Where there is something to draw anyway the pointer's place comes with it, in one wait.
        bool draws = compositor_->update(x, area, layers_, {}) || !frame_;
        if (draws) takeFrame(x);
        if (pointer_.hear(position)) {
            x.readEvents();
            if (!draws && (draws = compositor_->update(x, area, layers_, {}))) takeFrame(x);
        }
        const PointerLook look = pointer_.look();
        if (!x) return lost();
        if (!draws && look == look_) return {Outcome::frame, frame_, NoImage::none, Changes::nothing()};
        if (!draws) takeFrame(x);
        if (!frame_) return x ? FrameResult{Outcome::dropped, nullptr, why_} : lost();
        pointer_.draw(look, *frame_, area.x, area.y);
        Changes changes = follower_.next(*frame_);
        if (std::exchange(look_, look) != look) {
            for (const PixelRect& rect : painted_) changes.add(rect);
            for (const PixelRect& rect : frame_->painted()) changes.add(rect);
        }
        painted_ = frame_->painted();
        return {Outcome::frame, frame_, NoImage::none, changes};
    }

  private:
    bool isUsable(const Server::Use& x) const { return x && epoch_ == desktopServer().epoch(); }
    static FrameResult lost() { return {Outcome::sourceLost, nullptr, whyUnreachable()}; }
    void onEvent(const Connection&, const xcb_generic_event_t& event) override { pointer_.handle(event); }

    void takeFrame(Server::Use& x) {
        frame_ = nullptr;  // may be written on the spot if nobody else holds it
        compositor_->begin();
        frame_ = compositor_->finishFrame(x, why_);
    }

    const uint64_t epoch_;
    PointerTracker pointer_;
    std::unique_ptr<Compositor> compositor_;
    const std::vector<Layer> layers_;
    PixelRect area_;
    Ref<software::Frame> frame_;
    PointerLook look_;                // what is painted on the frame
    std::vector<PixelRect> painted_;  // where that is
    ChangeFollower follower_;         // of the frames
    NoImage why_ = NoImage::none;
};

}  // namespace

PixelRect captureArea(const PixelRect& display, const Rect& crop) {
    if (!(crop.width > 0) || !(crop.height > 0)) return display;
    const auto limited = [](double value) { return truncated<int16_t>(value); };  // what a server can have
    const PixelRect area = {display.x + limited(crop.x),
                            display.y + display.height - limited(crop.y) - limited(crop.height), limited(crop.width),
                            limited(crop.height)};
    return software::intersection(area, display);
}

std::unique_ptr<software::DisplaySource> openDisplaySource(NoImage& why) {
    constexpr std::chrono::milliseconds kPatience{250};  // of a server that has just begun to answer again
    Server::Use x = desktopServer().use(kPatience);
    const auto desktop = x ? currentDesktop(x) : nullptr;
    why = !desktop ? whyUnreachable() : desktop->monitors->areShown ? NoImage::none : NoImage::wayland;
    if (why != NoImage::none || !x) return nullptr;
    return std::make_unique<X11DisplaySource>(x);
}

}  // namespace orvo::platform::x11
