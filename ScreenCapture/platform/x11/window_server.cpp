// The windows on screen and their pictures.
#include "ScreenCapture/platform/x11/window_server.h"

#include "ScreenCapture/platform/x11/applications.h"
#include "ScreenCapture/platform/x11/asking.h"
#include "ScreenCapture/platform/x11/desktop_model.h"
#include "ScreenCapture/platform/x11/display_grabber.h"
#include "ScreenCapture/platform/x11/window_facts.h"
#include "ScreenCapture/platform/x11/window_grabber.h"
#include "ScreenCapture/platform/x11/window_scenes.h"

namespace orvo::platform::x11 {
namespace {

Rect rectOf(const PixelRect& area) {
    return {static_cast<double>(area.x), static_cast<double>(area.y), static_cast<double>(area.width),
            static_cast<double>(area.height)};
}

}  // namespace

std::vector<WindowInfo> X11WindowServer::onScreenWindows() {
    std::vector<WindowInfo> infos;
    const auto desktop = currentDesktop();
    if (!desktop) return infos;
    for (const DesktopWindow& window : desktop->windows->all) {
        if (!window.onScreen || window.type == WindowType::desktop) continue;
        infos.push_back({window.number, window.pid, window.layer, window.alpha, rectOf(window.bounds),
                         applicationName(window), window.title});
    }
    return infos;
}

std::vector<uint32_t> X11WindowServer::onScreenNumbers() {
    std::vector<uint32_t> numbers;
    const auto desktop = currentDesktop();
    if (!desktop) return numbers;
    for (const DesktopWindow& window : desktop->windows->all)
        if (window.onScreen) numbers.push_back(window.number);
    return numbers;
}

Shot X11WindowServer::windowPicture(uint32_t window) {
    const auto desktop = currentDesktop();
    if (!desktop) return NoImage::noServer;
    const DesktopWindow* found = desktop->windows->find(window);
    if (!found) return NoImage::gone;
    if (!found->onScreen) return NoImage::notOnScreen;
    const Asking asking(Line::pictures);
    if (!asking) return NoImage::noServer;
    if (!asking->extensions().composite) return NoImage::failed;
    SceneGrabber scene(*asking);
    Shot shot =
        scene.take(boundsOfClient(*found), {layerOfClient(*found, queryShape(*asking, window))}, *desktop->windows);
    if (shot.image && !scene.anyPicture()) return NoImage::notOnScreen;
    return shot;
}

Shot X11WindowServer::displayPicture(uint32_t display) {
    const auto desktop = currentDesktop();
    if (!desktop) return NoImage::noServer;
    const Monitor* monitor = desktop->monitors->find(display);
    if (!monitor) return NoImage::gone;
    const Asking asking(Line::pictures);
    if (!asking) return NoImage::noServer;
    return DisplayGrabber(*asking, monitor->area).take();
}

std::unique_ptr<Grabber> X11WindowServer::grabber(uint32_t target, bool isScreen) {
    return std::make_unique<WindowGrabber>(target, isScreen);
}

}  // namespace orvo::platform::x11
