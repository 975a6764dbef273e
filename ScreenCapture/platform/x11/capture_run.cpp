// One run of the device path on x11.
#include "ScreenCapture/platform/x11/capture_run.h"

#include <utility>

#include "ScreenCapture/platform/software/region.h"
#include "ScreenCapture/platform/x11/desktop.h"
#include "ScreenCapture/platform/x11/server.h"

namespace orvo::platform::x11 {

using Outcome = software::FrameResult::Outcome;

PixelRect captureArea(const PixelRect& display, const Rect& crop) {
    if (!(crop.width > 0) || !(crop.height > 0)) return display;
    const auto limited = [](double value) { return truncated<int16_t>(value); };  // what a server can have
    const PixelRect area = {display.x + limited(crop.x),
                            display.y + display.height - limited(crop.y) - limited(crop.height), limited(crop.width),
                            limited(crop.height)};
    return software::intersection(area, display);
}

CaptureRun::CaptureRun(std::unique_ptr<Connection> connection)
    : x_(std::move(connection)),
      pointer_(*x_),
      windows_(*x_, [this](const xcb_generic_event_t& event) { handle(event); }),
      compositor_(windows_),
      layers_(1, layerOfRoot(*x_)) {
    selectMonitorEvents(*x_);
}

void CaptureRun::handle(const xcb_generic_event_t& event) {
    pointer_.handle(event);
    if (!tellsOfMonitors(*x_, event)) return;
    monitorIsStale_ = true;
    pointer_.disturb();
}

// False when there is no such display.
bool CaptureRun::findArea(const software::DisplaySettings& settings, PixelRect& area) {
    if (monitorIsStale_ || monitor_.number != settings.display) {
        const MonitorList monitors = queryMonitors(*x_);
        const Monitor* found = monitors.find(settings.display);
        if (!found) return false;
        monitor_ = *found;
        monitorIsStale_ = false;
    }
    area = captureArea(monitor_.area, settings.crop);
    return true;
}

void CaptureRun::takeFrame() {
    frame_ = nullptr;  // may be written on the spot if nobody else holds it
    compositor_.begin();
    frame_ = compositor_.finishFrame(why_);
}

software::FrameResult CaptureRun::next(const software::DisplaySettings& settings) {
    windows_.readEvents();
    if (!x_->answers()) return lost();
    pointer_.ask(settings.cursor, settings.clicks);
    PixelRect area;
    const bool found = findArea(settings, area);
    if (x_->lost()) return lost();
    if (!found) return {Outcome::displayGone, nullptr, NoImage::gone};
    if (area.empty()) return {Outcome::dropped, nullptr, NoImage::notOnScreen};
    // Where there is something to draw anyway the pointer's place comes with it, in one wait.
    bool draws = compositor_.update(area, layers_, {}) || !frame_;
    if (draws) takeFrame();
    if (pointer_.hear()) {
        windows_.readEvents();
        if (!draws && (draws = compositor_.update(area, layers_, {}))) takeFrame();
    }
    const PointerLook look = pointer_.look();
    if (x_->lost()) return lost();
    if (!draws && look == look_) return {Outcome::frame, frame_, NoImage::none, Changes::nothing()};
    if (!draws) takeFrame();
    if (!frame_) return x_->lost() ? lost() : software::FrameResult{Outcome::dropped, nullptr, why_};
    pointer_.draw(look, *frame_, area.x, area.y);
    Changes changes = follower_.next(*frame_);
    if (std::exchange(look_, look) != look) {
        for (const PixelRect& rect : painted_) changes.add(rect);
        for (const PixelRect& rect : frame_->painted()) changes.add(rect);
    }
    painted_ = frame_->painted();
    return {Outcome::frame, frame_, NoImage::none, changes};
}

software::FrameResult CaptureRun::lost() const {
    return {Outcome::sourceLost, nullptr, whyUnreachable(x_.get())};
}

std::unique_ptr<software::DisplaySource> openDisplaySource(NoImage& why) {
    constexpr std::chrono::milliseconds kPatience{250};
    desktopServer().use(kPatience);
    auto connection = Connection::open();
    if (!connection) {
        why = whyUnreachable();
        return nullptr;
    }
    const auto desktop = currentDesktop();
    if (desktop && !desktop->monitors->areShown) {
        why = NoImage::wayland;
        return nullptr;
    }
    return std::make_unique<CaptureRun>(std::move(connection));
}

}  // namespace orvo::platform::x11
