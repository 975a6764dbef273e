// The windows of the desktop: clients with their frames, and windows that no manager frames.
#pragma once

#include <xcb/xcb.h>

#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "ScreenCapture/platform/values.h"

namespace orvo::platform::x11 {

class DesktopPart;

// By purpose; menu: menus, tooltips, notifications and what else floats above everything for a moment.
enum class WindowType { none, normal, dialog, desktop, dock, menu, other };

// What a client says of its window.
struct ClientFacts {
    std::string title;                // UTF-8, as all texts
    std::string role;                 // WM_WINDOW_ROLE
    std::string instance, className;  // WM_CLASS
    std::string machine;              // WM_CLIENT_MACHINE
    WindowType type = WindowType::none;
    xcb_window_t transientFor = 0;  // 0: none; the root window: its whole group
    bool modal = false;             // a dialog that keeps the focus from transientFor
    bool fullScreen = false;
    bool hasIcon = false;  // of its own, _NET_WM_ICON
    bool operator==(const ClientFacts&) const = default;
};

struct DesktopWindow : ClientFacts {
    xcb_window_t number = 0;             // the client's own window
    xcb_window_t frame = 0;              // the child of the root that holds it; the same without a frame
    PixelRect bounds;                    // what the user takes for the window: without its border and its shadow
    PixelRect outer;                     // all of the client's own window, root coordinates as well
    int border = 0;                      // of that window
    bool hasAlpha = false;               // its pixels have an alpha channel
    std::vector<PixelRect> opaque;       // then what of it is opaque all the same, relative to outer
    PixelRect frameBounds;               // the frame with its border, root coordinates
    std::vector<PixelRect> shape;        // of the frame, relative to frameBounds; empty: all of it
    bool frameHasAlpha = false;          // the frame's pixels have an alpha channel
    std::vector<PixelRect> clientShape;  // of the client, relative to outer
    bool managed = false;                // the client of a window manager, or such a window while no manager runs
    bool helper = false;                 // the manager's own, or out of sight: not for users to choose
    bool frameOnScreen = false;          // the frame is mapped; of a shaded window that is its title
    bool onScreen = false;               // mapped with everything that holds it, neither minimised nor shaded
    bool minimized = false;              // a window on another workspace, or shaded, or behind the shown desktop is not
    // Below 0: a client whose process is not known; all its windows have the same number.
    int32_t pid = 0;
    bool pidIsCertain = false;  // the server says so, not the client
    uint64_t focused = 0;       // of nextVersion(): the larger, the later it had the focus; 0: not since it is known
    int32_t layer = 0;          // desktop -1, normal 0, above 3, docks 20, menus 101
    double alpha = 1;           // the opacity that the client or its frame asks for
    uint64_t mapped = 0;        // counts on whenever a frame is found mapped
    bool operator==(const DesktopWindow&) const = default;
};

// Whoever owns a window that is listed.
struct Process {
    int32_t pid = 0;  // as in DesktopWindow
    // Instance and class of its windows, the first window by number first. Kept while none of its windows has one.
    std::vector<std::pair<std::string, std::string>> classes;
    std::string name;  // what the system calls it, or its machine; empty when that is unknown
    bool operator==(const Process&) const = default;
};

// What the root window and its manager are like.
struct RootFacts {
    PixelRect root;               // the root window, at the origin
    xcb_pixmap_t background = 0;  // what the root shows; 0 when nobody says, or it is no pixmap of the root's depth
    bool hasManager = false;      // a window manager runs
    bool keepsHints = false;      // and keeps the common hints up to date: what a dead one left is not believed
    bool isComposited = false;    // a compositing manager runs
    bool paintsFrames = true;     // frames hold what a manager painted, as far as one can know
    bool operator==(const RootFacts&) const = default;
};

struct WindowList : RootFacts {
    std::vector<DesktopWindow> all;  // front to back, those that are not on screen at their place in the stack
    std::vector<Process> processes;  // in the order in which they appeared
    std::vector<int32_t> hidden;     // processes whose application is hidden as a whole
    xcb_window_t active = 0;         // the client that has the focus; 0 without one
    uint64_t mappings = 0;           // the last number of a mapped frame
    bool operator==(const WindowList&) const = default;

    const DesktopWindow* find(xcb_window_t number) const;
    const Process* process(int32_t pid) const;
    int32_t activeProcess() const;  // 0 without one
    bool isHidden(int32_t pid) const;
    xcb_window_t frameOf(xcb_window_t client) const;  // 0 when it has none, or is none of these
    // Whether all of a client or frame shows on the root, as far as the bounds of others say.
    bool isSeenWhole(xcb_window_t window) const;
};

std::unique_ptr<DesktopPart> makeWindowListPart();

}  // namespace orvo::platform::x11
