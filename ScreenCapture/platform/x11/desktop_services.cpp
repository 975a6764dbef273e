// Displays, pointer and windows: the desktop's facts in the port's points and coordinates.
#include "ScreenCapture/platform/x11/applications.h"
#include "ScreenCapture/platform/x11/desktop.h"
#include "ScreenCapture/platform/x11/pointer.h"
#include "ScreenCapture/platform/x11/services.h"

namespace orvo::platform::x11 {
namespace {

std::shared_ptr<const MonitorList> monitors() {
    const auto desktop = currentDesktop();
    return desktop ? desktop->monitors : std::make_shared<const MonitorList>();
}

class X11Displays final : public Displays {
  public:
    std::vector<Display> screens() override {
        const auto list = monitors();
        std::vector<Display> displays;
        for (const Monitor& monitor : list->all) {
            Rect frame = list->toGlobal(monitor.area);
            frame.y = list->main()->area.height - (frame.y + frame.height);
            displays.push_back({monitor.number, frame, 1.0});
        }
        return displays;
    }

    uint32_t mainDisplay() override {
        const auto list = monitors();
        return list->main() ? list->main()->number : 0;
    }

    Rect bounds(uint32_t display) override {
        const auto list = monitors();
        const Monitor* monitor = list->find(display);
        return monitor ? list->toGlobal(monitor->area) : Rect();
    }

    uint32_t mainDisplayPixelsHigh() override {
        const auto list = monitors();
        return list->main() ? static_cast<uint32_t>(list->main()->area.height) : 0;
    }

    double focusedScreenScale() override { return monitors()->all.empty() ? 0 : 1.0; }
};

class X11Pointer final : public Pointer {
  public:
    std::shared_ptr<const Cursor> currentCursor() override {
        const auto desktop = currentDesktop();
        return desktop ? desktop->cursor : nullptr;
    }

    Point location() override {
        Server::Use x = desktopServer().use();
        const auto desktop = currentDesktop(x);
        const Monitor* main = desktop ? desktop->monitors->main() : nullptr;
        if (!x || !main) return {};
        PointerPosition& pointer = sharedPointer(x);
        pointer.request();
        pointer.receive();
        const PointerPosition::Place& place = pointer.place();
        if (!place.known) return {};
        const Point global = desktop->monitors->toGlobal({place.x, place.y, 0, 0}).origin();
        return {global.x, main->area.height - global.y};
    }
};

class X11WindowServer final : public WindowServer {
  public:
    std::vector<WindowInfo> onScreenWindows() override {
        std::vector<WindowInfo> infos;
        const auto desktop = currentDesktop();
        if (!desktop) return infos;
        for (const DesktopWindow& window : desktop->windows->all) {
            if (!window.onScreen || window.helper || window.type == WindowType::desktop) continue;
            infos.push_back({window.number, window.pid, window.layer, window.alpha,
                             desktop->monitors->toGlobal(window.bounds), applicationName(*desktop->windows, window.pid),
                             window.title});
        }
        return infos;
    }

    void onScreenNumbers(std::vector<uint32_t>& numbers) override {
        numbers.clear();
        const auto desktop = currentDesktop();
        if (!desktop) return;
        for (const DesktopWindow& window : desktop->windows->all)
            if (window.frameOnScreen) numbers.push_back(window.number);
    }

    uint64_t desktopVersion() override {
        const auto desktop = currentDesktop();
        return desktop ? desktop->version : 0;
    }

    NoImage whyUnreachable() override {
        return currentDesktop() && !serverHangs() ? NoImage::none : x11::whyUnreachable();
    }

    std::unique_ptr<PictureBatch> pictures(const std::vector<uint32_t>& windows) override {
        return makePictureBatch(windows);
    }

    Shot windowPicture(uint32_t window) override { return makePictureBatch({window})->take(window); }

    Shot displayPicture(uint32_t display, int width) override {
        const auto desktop = currentDesktop();
        if (!desktop) return NoImage::noServer;
        const Monitor* monitor = desktop->monitors->find(display);
        if (!monitor) return NoImage::gone;
        if (!desktop->monitors->areShown) return NoImage::wayland;
        Server::Use x = desktopServer().use();
        if (!x) return NoImage::noServer;
        return pictureOfDisplay(desktopServer(), x, monitor->area, width);
    }

    std::unique_ptr<Grabber> grabber(uint32_t target, bool isScreen) override { return makeGrabber(target, isScreen); }
};

}  // namespace

std::unique_ptr<Displays> makeDisplays() {
    return std::make_unique<X11Displays>();
}

std::unique_ptr<Pointer> makePointer() {
    return std::make_unique<X11Pointer>();
}

std::unique_ptr<WindowServer> makeWindowServer() {
    return std::make_unique<X11WindowServer>();
}

}  // namespace orvo::platform::x11
