// The windows on screen and their pictures.
#include "ScreenCapture/platform/x11/window_server.h"

#include <utility>

#include "ScreenCapture/platform/x11/applications.h"
#include "ScreenCapture/platform/x11/desktop.h"
#include "ScreenCapture/platform/x11/picker_pictures.h"
#include "ScreenCapture/platform/x11/server.h"
#include "ScreenCapture/platform/x11/window_grabber.h"

namespace orvo::platform::x11 {
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
    return std::make_unique<WindowGrabber>(target, isScreen);
}

}  // namespace orvo::platform::x11
