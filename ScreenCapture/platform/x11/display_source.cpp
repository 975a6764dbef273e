// The frames of the device path on x11.
#include <functional>
#include <mutex>
#include <utility>
#include <vector>

#include "ScreenCapture/platform/software/pointer_blend.h"
#include "ScreenCapture/platform/software/region.h"
#include "ScreenCapture/platform/x11/compositor.h"
#include "ScreenCapture/platform/x11/desktop.h"
#include "ScreenCapture/platform/x11/pointer.h"
#include "ScreenCapture/platform/x11/services.h"

namespace orvo::platform::x11 {
namespace {

using software::FrameResult;
using Outcome = FrameResult::Outcome;

constexpr uint16_t kButtons = XCB_BUTTON_MASK_1 | XCB_BUTTON_MASK_2 | XCB_BUTTON_MASK_3;  // wheels are above

// What of the pointer a frame shows. Equal looks give equal pixels.
struct PointerLook {
    std::shared_ptr<const Cursor> cursor;  // null: not shown
    bool ring = false;
    int x = 0, y = 0;  // root coordinates
    bool operator==(const PointerLook&) const = default;
};

class X11DisplaySource final : public software::DisplaySource {
  public:
    explicit X11DisplaySource(const Server::Use& x)
        : epoch_(desktopServer().epoch()),
          compositor_(std::make_unique<Compositor>(desktopServer(), x)),
          layers_(1, layerOfRoot(*x)) {}
    ~X11DisplaySource() override {
        const Server::Use x = desktopServer().use();
        if (isUsable(x)) watchButtons(sharedPointer(x), false);
        compositor_ = nullptr;
    }

    FrameResult next(const software::DisplaySettings& settings) override {
        Server::Use x = desktopServer().use();
        if (!isUsable(x) || !x->answers()) return lost();
        // What was found unchanged is so until an event comes, the settings change, or the pointer has to be asked for.
        const uint64_t events = x->eventCount();
        const bool wantsPointer = settings.cursor || settings.clicks;
        if (events == unchangedAt_ && settings == settings_ && (!wantsPointer || sharedPointer(x).isKnown()))
            return {Outcome::frame, frame_, NoImage::none, Changes::nothing()};
        settings_ = settings;
        FrameResult result = draw(x);
        const bool isUnchanged = result.outcome == Outcome::frame && result.changes == Changes::nothing();
        unchangedAt_ = isUnchanged ? events : kNever;
        return result;
    }

    std::function<bool()> stillness() override {
        if (unchangedAt_ == kNever) return nullptr;
        return [epoch = epoch_, events = unchangedAt_, wantsPointer = settings_.cursor || settings_.clicks] {
            const Server::Use x(desktopServer(), std::try_to_lock);
            return x && epoch == desktopServer().epoch() && x->hasAnsweredLately() && events == x->eventCount() &&
                   (!wantsPointer || sharedPointer(x).isKnown());
        };
    }

  private:
    static constexpr uint64_t kNever = UINT64_MAX;

    bool isUsable(const Server::Use& x) const { return x && epoch_ == desktopServer().epoch(); }
    static FrameResult lost() { return {Outcome::sourceLost, nullptr, whyUnreachable()}; }

    FrameResult draw(Server::Use& x) {
        const software::DisplaySettings& settings = settings_;
        const auto desktop = currentDesktop(x);
        const Monitor* const monitor = desktop ? desktop->monitors->find(settings.display) : nullptr;
        if (!desktop || !isUsable(x)) return lost();
        if (!monitor) return {Outcome::displayGone, nullptr, NoImage::gone};
        const PixelRect area = captureArea(monitor->area, settings.crop);
        if (area.empty()) return {Outcome::dropped, nullptr, NoImage::notOnScreen};
        PointerPosition& pointer = sharedPointer(x);
        if (std::exchange(area_, area) != area) pointer.mayHaveMoved();  // with the screen
        watchButtons(pointer, settings.clicks);
        const bool wantsPointer = settings.cursor || settings.clicks;
        if (wantsPointer) pointer.request();
        // Where there is something to draw anyway the pointer's place comes with it, in one wait.
        bool draws = compositor_->update(x, area, layers_, {}) || !frame_;
        if (draws) takeFrame(x);
        if (wantsPointer && pointer.receive()) {
            x.readEvents();
            if (!draws && (draws = compositor_->update(x, area, layers_, {}))) takeFrame(x);
        }
        if (!x) return lost();
        const PointerLook look = lookOf(pointer, settings.cursor ? desktop->cursor : nullptr);
        if (!draws && look == look_) return {Outcome::frame, frame_, NoImage::none, Changes::nothing()};
        if (!draws) takeFrame(x);
        if (!frame_) return x ? FrameResult{Outcome::dropped, nullptr, why_} : lost();
        drawPointer(look, area);
        Changes changes = follower_.next(*frame_);
        if (std::exchange(look_, look) != look) {
            for (const PixelRect& rect : painted_) changes.add(rect);
            for (const PixelRect& rect : frame_->painted()) changes.add(rect);
        }
        painted_ = frame_->painted();
        return {Outcome::frame, frame_, NoImage::none, changes};
    }

    void takeFrame(Server::Use& x) {
        frame_ = nullptr;  // may be written on the spot if nobody else holds it
        compositor_->begin();
        frame_ = compositor_->finishFrame(x, why_);
    }

    void watchButtons(PointerPosition& pointer, bool watch) {
        if (watch == watchesButtons_) return;
        pointer.watchButtons(watchesButtons_ = watch);
        clicks_ = pointer.clicks();
    }
    // A click that came and went since the last look shows once.
    PointerLook lookOf(const PointerPosition& pointer, const std::shared_ptr<const Cursor>& cursor) {
        const PointerPosition::Place& place = pointer.place();
        const bool wasClicked = std::exchange(clicks_, pointer.clicks()) != clicks_;
        const bool ring = watchesButtons_ && (wasClicked || (place.buttons & kButtons) != 0);
        if (!place.known || (!cursor && !ring)) return {};
        return {cursor, ring, place.x, place.y};
    }
    void drawPointer(const PointerLook& look, const PixelRect& area) {
        const int x = look.x - area.x, y = look.y - area.y;
        if (look.ring && ring_) software::blend(*frame_, *ring_, x - ring_->width() / 2, y - ring_->height() / 2);
        if (!look.cursor) return;
        const Point& hotSpot = look.cursor->hotSpot;
        software::blend(*frame_, *look.cursor->picture.image, x - static_cast<int>(hotSpot.x),
                        y - static_cast<int>(hotSpot.y));
    }

    const uint64_t epoch_;
    std::unique_ptr<Compositor> compositor_;
    const std::vector<Layer> layers_;
    software::DisplaySettings settings_;
    uint64_t unchangedAt_ = kNever;  // after so many events the frame was found to show everything
    PixelRect area_;
    Ref<software::Frame> frame_;
    const Ref<software::MemoryBitmap> ring_ = software::makeClickRing();
    bool watchesButtons_ = false;
    uint64_t clicks_ = 0;             // seen so far
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
    why = !desktop                                ? whyUnreachable()
          : !desktop->monitors->areShown          ? NoImage::wayland
          : !canRead(*x, x->screen()->root_depth) ? NoImage::pixelFormat
                                                  : NoImage::none;
    if (why != NoImage::none || !x) return nullptr;
    return std::make_unique<X11DisplaySource>(x);
}

}  // namespace orvo::platform::x11
