// The monitors as RandR describes them.
#include "ScreenCapture/platform/x11/monitors.h"

#include <xcb/randr.h>

#include <algorithm>

#include "ScreenCapture/platform/x11/desktop_model.h"

namespace orvo::platform::x11 {
namespace {

constexpr uint32_t kWholeRoot = 1;  // the number of the only display of a server without RandR

class MonitorPart final : public ModelPart {
  public:
    uint32_t rootEvents() const override { return XCB_EVENT_MASK_STRUCTURE_NOTIFY; }
    void attach(Connection& x) override { selectMonitorEvents(x); }
    bool handle(Connection& x, const xcb_generic_event_t& event) override { return tellsOfMonitors(x, event); }
    void refresh(Connection& x, Desktop& next) override {
        next.monitors = std::make_shared<const MonitorList>(queryMonitors(x));
    }
};

}  // namespace

const Monitor* MonitorList::find(uint32_t number) const {
    const auto found = std::find_if(all.begin(), all.end(), [=](auto& monitor) { return monitor.number == number; });
    return found == all.end() ? nullptr : &*found;
}

const Monitor* MonitorList::main() const {
    const Monitor* best = nullptr;
    for (const Monitor& monitor : all) {
        if (monitor.area.y != 0) continue;
        if (monitor.primary) return &monitor;
        if (!best) best = &monitor;
    }
    return best || all.empty() ? best : &all.front();
}

MonitorList queryMonitors(Connection& x) {
    MonitorList list;
    if (!x.extensions().randr) {
        const auto root = x.await<xcb_get_geometry_reply_t>(xcb_get_geometry(x.raw(), x.root()).sequence);
        if (root) list.all.push_back({kWholeRoot, true, {0, 0, root->width, root->height}});
        return list;
    }
    const auto reply = x.await<xcb_randr_get_monitors_reply_t>(xcb_randr_get_monitors(x.raw(), x.root(), 1).sequence);
    if (!reply) return list;
    for (auto i = xcb_randr_get_monitors_monitors_iterator(reply.get()); i.rem; xcb_randr_monitor_info_next(&i))
        list.all.push_back({i.data->name, i.data->primary != 0, {i.data->x, i.data->y, i.data->width, i.data->height}});
    return list;
}

void selectMonitorEvents(Connection& x) {
    if (x.extensions().randr)
        xcb_randr_select_input(x.raw(), x.root(),
                               XCB_RANDR_NOTIFY_MASK_SCREEN_CHANGE | XCB_RANDR_NOTIFY_MASK_CRTC_CHANGE |
                                   XCB_RANDR_NOTIFY_MASK_OUTPUT_CHANGE);
}

bool tellsOfMonitors(const Connection& x, const xcb_generic_event_t& event) {
    const uint8_t type = event.response_type & 0x7f;
    if (type == XCB_CONFIGURE_NOTIFY)
        return reinterpret_cast<const xcb_configure_notify_event_t&>(event).window == x.root();
    const uint8_t first = x.extensions().randrEvent;
    return x.extensions().randr && (type == first + XCB_RANDR_SCREEN_CHANGE_NOTIFY || type == first + XCB_RANDR_NOTIFY);
}

std::unique_ptr<ModelPart> makeMonitorPart() {
    return std::make_unique<MonitorPart>();
}

}  // namespace orvo::platform::x11
