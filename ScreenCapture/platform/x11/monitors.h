// The monitors as RandR describes them.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "ScreenCapture/platform/values.h"
#include "ScreenCapture/platform/x11/connection.h"

namespace orvo::platform::x11 {

class DesktopPart;

struct Monitor {
    uint32_t number = 0;  // its name's atom: stable while the server lives
    bool primary = false;
    PixelRect area;  // root coordinates, origin top-left
    bool operator==(const Monitor&) const = default;
};

struct MonitorList {
    std::vector<Monitor> all;  // in the server's order
    bool areShown = true;      // false: the server is part of a Wayland session, and the root stays black
    bool operator==(const MonitorList&) const = default;

    const Monitor* find(uint32_t number) const;
    // The primary monitor, else the one at the root's corner, else the first; null without any.
    const Monitor* main() const;

    // Global coordinates begin at the main display's top-left corner, wherever that lies on the root; y goes downwards.
    // Everything of this adapter counts from the root's corner, and is turned by these two where it crosses the port.
    Rect toGlobal(const PixelRect& onRoot) const;
    PixelRect toRoot(const PixelRect& global) const;
};

// Asks the server; the whole root window where it has no RandR 1.5.
MonitorList queryMonitors(Connection& x);

// Selects the events of changed monitors. Some changes are reported only by a ConfigureNotify of the root
// window: its StructureNotify has to be selected too.
void selectMonitorEvents(Connection& x);
bool isMonitorEvent(const Connection& x, const xcb_generic_event_t& event);

std::unique_ptr<DesktopPart> makeMonitorPart();

}  // namespace orvo::platform::x11
