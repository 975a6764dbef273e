// The monitors as RandR describes them.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "ScreenCapture/platform/values.h"

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

std::unique_ptr<DesktopPart> makeMonitorPart();

}  // namespace orvo::platform::x11
