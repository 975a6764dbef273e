// The windows on screen and their pictures.
#include "ScreenCapture/platform/x11/window_server.h"

#include <utility>

#include "ScreenCapture/platform/x11/applications.h"
#include "ScreenCapture/platform/x11/desktop.h"
#include "ScreenCapture/platform/x11/display_picture.h"
#include "ScreenCapture/platform/x11/server.h"
#include "ScreenCapture/platform/x11/window_grabber.h"
#include "ScreenCapture/platform/x11/window_pictures.h"

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

std::shared_ptr<void> X11WindowServer::expectPictures(const std::vector<uint32_t>& windows) {
    const auto desktop = currentDesktop();
    const PipeGuard guard;
    auto connection = desktop && windows.size() > 1 ? Connection::open() : nullptr;
    if (!connection || !hasWindowPictures(*connection)) return nullptr;
    std::vector<uint32_t> seen;
    for (const uint32_t number : windows) {
        const DesktopWindow* window = desktop->windows->find(number);
        if (window && window->onScreen) seen.push_back(number);
    }
    auto expected = std::make_shared<WindowPictures>(std::move(connection), std::move(seen), *desktop->windows);
    std::lock_guard lock(mutex_);
    expected_ = expected;
    return expected;
}

Shot X11WindowServer::windowPicture(uint32_t window) {
    const auto desktop = currentDesktop();
    if (!desktop) return NoImage::noServer;
    const DesktopWindow* found = desktop->windows->find(window);
    if (!found) return NoImage::gone;
    if (!found->onScreen) return NoImage::notOnScreen;
    std::shared_ptr<WindowPictures> expected;
    {
        std::lock_guard lock(mutex_);
        expected = expected_.lock();
    }
    if (expected && expected->contains(window)) return expected->take(*found, *desktop->windows);
    const Server::Use x = pictureServer().use();
    if (!x) return NoImage::noServer;
    return pictureOfWindow(*x, *found, *desktop->windows);
}

Shot X11WindowServer::displayPicture(uint32_t display, int width) {
    const auto desktop = currentDesktop();
    if (!desktop) return NoImage::noServer;
    const Monitor* monitor = desktop->monitors->find(display);
    if (!monitor) return NoImage::gone;
    if (!desktop->monitors->areShown) return NoImage::wayland;
    const Server::Use x = pictureServer().use();
    if (!x) return NoImage::noServer;
    return pictureOfDisplay(*x, monitor->area, width);
}

std::unique_ptr<Grabber> X11WindowServer::grabber(uint32_t target, bool isScreen) {
    return std::make_unique<WindowGrabber>(target, isScreen);
}

}  // namespace orvo::platform::x11
