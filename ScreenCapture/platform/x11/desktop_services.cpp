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

}  // namespace

std::vector<Display> X11Displays::screens() {
    const auto list = monitors();
    std::vector<Display> displays;
    for (const Monitor& monitor : list->all) {
        Rect frame = list->toGlobal(monitor.area);
        frame.y = list->main()->area.height - (frame.y + frame.height);
        displays.push_back({monitor.number, frame, 1.0});
    }
    return displays;
}

uint32_t X11Displays::mainDisplay() {
    const auto list = monitors();
    return list->main() ? list->main()->number : 0;
}

Rect X11Displays::bounds(uint32_t display) {
    const auto list = monitors();
    const Monitor* monitor = list->find(display);
    return monitor ? list->toGlobal(monitor->area) : Rect();
}

uint32_t X11Displays::mainDisplayPixelsHigh() {
    const auto list = monitors();
    return list->main() ? static_cast<uint32_t>(list->main()->area.height) : 0;
}

double X11Displays::focusedScreenScale() {
    return monitors()->all.empty() ? 0 : 1.0;
}

std::shared_ptr<const Cursor> X11Pointer::currentCursor() {
    const auto desktop = currentDesktop();
    return desktop ? desktop->cursor : nullptr;
}

Point X11Pointer::location() {
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

std::vector<WindowInfo> X11WindowServer::onScreenWindows() {
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

void X11WindowServer::onScreenNumbers(std::vector<uint32_t>& numbers) {
    numbers.clear();
    const auto desktop = currentDesktop();
    if (!desktop) return;
    for (const DesktopWindow& window : desktop->windows->all)
        if (window.frameOnScreen) numbers.push_back(window.number);
}

uint64_t X11WindowServer::desktopVersion() {
    const auto desktop = currentDesktop();
    return desktop ? desktop->version : 0;
}

NoImage X11WindowServer::whyUnreachable() {
    return currentDesktop() && !serverHangs() ? NoImage::none : x11::whyUnreachable();
}

std::unique_ptr<PictureBatch> X11WindowServer::pictures(const std::vector<uint32_t>& windows) {
    return makePictureBatch(windows);
}

Shot X11WindowServer::windowPicture(uint32_t window) {
    return makePictureBatch({window})->take(window);
}

Shot X11WindowServer::displayPicture(uint32_t display, int width) {
    const auto desktop = currentDesktop();
    if (!desktop) return NoImage::noServer;
    const Monitor* monitor = desktop->monitors->find(display);
    if (!monitor) return NoImage::gone;
    if (!desktop->monitors->areShown) return NoImage::wayland;
    Server::Use x = desktopServer().use();
    if (!x) return NoImage::noServer;
    return pictureOfDisplay(desktopServer(), x, monitor->area, width);
}

std::unique_ptr<Grabber> X11WindowServer::grabber(uint32_t target, bool isScreen) {
    return makeGrabber(target, isScreen);
}

}  // namespace orvo::platform::x11
