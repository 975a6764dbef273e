// The displays: monitors in points, which are pixels here.
#include "ScreenCapture/platform/x11/displays.h"

#include <memory>

#include "ScreenCapture/platform/x11/desktop.h"

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

}  // namespace orvo::platform::x11
