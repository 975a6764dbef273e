// The monitors as RandR describes them.
#include "ScreenCapture/platform/x11/monitors.h"

#include <xcb/randr.h>

#include <algorithm>
#include <optional>
#include <string_view>
#include <utility>

#include "ScreenCapture/platform/x11/desktop.h"

namespace orvo::platform::x11 {
namespace {

constexpr uint32_t kWholeRoot = 1;  // the number of the only display of a server without RandR

constexpr std::string_view kXwayland = "XWAYLAND";  // an extension, and what its outputs' names begin with

// An Xwayland is known by its extension, one from before it had that by the names of its outputs.
bool isXwayland(Connection& x) {
    const auto extension = xcb_query_extension(x.raw(), kXwayland.size(), kXwayland.data()).sequence;
    const unsigned resources =
        x.extensions().randr ? xcb_randr_get_screen_resources_current(x.raw(), x.root()).sequence : 0;
    const auto found = x.await<xcb_query_extension_reply_t>(extension);
    const auto outputs = resources ? x.await<xcb_randr_get_screen_resources_current_reply_t>(resources) : nullptr;
    if (found && found->present) return true;
    if (!outputs || outputs->num_outputs == 0) return false;
    const auto first = xcb_randr_get_screen_resources_current_outputs(outputs.get())[0];
    const auto output = x.await<xcb_randr_get_output_info_reply_t>(
        xcb_randr_get_output_info(x.raw(), first, outputs->config_timestamp).sequence);
    if (!output) return false;
    const std::string_view name(reinterpret_cast<const char*>(xcb_randr_get_output_info_name(output.get())),
                                output->name_len);
    return name.starts_with(kXwayland);
}

// The whole root window where the server has no RandR 1.5.
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

class MonitorPart final : public DesktopPart {
  public:
    void attach(Connection& x) override {
        // Some changes are reported only by a ConfigureNotify of the root window.
        x.select(x.root(), XCB_EVENT_MASK_STRUCTURE_NOTIFY);
        if (x.extensions().randr)
            xcb_randr_select_input(x.raw(), x.root(),
                                   XCB_RANDR_NOTIFY_MASK_SCREEN_CHANGE | XCB_RANDR_NOTIFY_MASK_CRTC_CHANGE |
                                       XCB_RANDR_NOTIFY_MASK_OUTPUT_CHANGE);
        isXwayland_.reset();
    }
    void invalidate() override { isXwayland_.reset(); }
    bool handle(const Connection& x, const xcb_generic_event_t& event) override {
        if ((event.response_type & 0x7F) == XCB_CONFIGURE_NOTIFY)
            return reinterpret_cast<const xcb_configure_notify_event_t&>(event).window == x.root();
        const Extension& randr = x.extensions().randr;
        return randr.sent(event, XCB_RANDR_SCREEN_CHANGE_NOTIFY) || randr.sent(event, XCB_RANDR_NOTIFY);
    }
    void refresh(Connection& x, Desktop& next) override {
        if (!isXwayland_) isXwayland_ = isXwayland(x);
        MonitorList list = queryMonitors(x);
        list.areShown = !*isXwayland_;
        if (list != *next.monitors) next.monitors = std::make_shared<const MonitorList>(std::move(list));
    }

  private:
    std::optional<bool> isXwayland_;  // of this connection
};

}  // namespace

const Monitor* MonitorList::find(uint32_t number) const {
    const auto found = std::ranges::find(all, number, &Monitor::number);
    return found == all.end() ? nullptr : &*found;
}

const Monitor* MonitorList::main() const {
    const auto isAtCorner = [](const Monitor& monitor) { return monitor.area.x == 0 && monitor.area.y == 0; };
    auto found = std::ranges::find_if(all, &Monitor::primary);
    if (found == all.end()) found = std::ranges::find_if(all, isAtCorner);
    if (found == all.end()) found = all.begin();
    return all.empty() ? nullptr : &*found;
}

Rect MonitorList::toGlobal(const PixelRect& onRoot) const {
    const Monitor* const origin = main();
    return {static_cast<double>(onRoot.x - (origin ? origin->area.x : 0)),
            static_cast<double>(onRoot.y - (origin ? origin->area.y : 0)), static_cast<double>(onRoot.width),
            static_cast<double>(onRoot.height)};
}

PixelRect MonitorList::toRoot(const PixelRect& global) const {
    const Monitor* const origin = main();
    if (!origin) return global;
    return {global.x + origin->area.x, global.y + origin->area.y, global.width, global.height};
}

std::unique_ptr<DesktopPart> makeMonitorPart() {
    return std::make_unique<MonitorPart>();
}

}  // namespace orvo::platform::x11
