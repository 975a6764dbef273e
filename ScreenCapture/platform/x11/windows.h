// The windows of the desktop: clients with their frames, and windows that no manager frames.
#pragma once

#include <xcb/xcb.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "ScreenCapture/platform/values.h"

namespace orvo::platform::x11 {

class ModelPart;

// By purpose; menu: menus, tooltips, notifications and what else floats above everything for a moment.
enum class WindowType { none, normal, dialog, desktop, dock, menu, other };

struct DesktopWindow {
    xcb_window_t number = 0;       // the client's own window
    xcb_window_t frame = 0;        // the child of the root that holds it; the same without a frame
    PixelRect bounds;              // what the client draws, root coordinates
    int border = 0;                // of the client itself, around the bounds
    PixelRect frameBounds;         // the frame with its border, root coordinates
    std::vector<PixelRect> shape;  // of the frame, relative to frameBounds; empty: all of it
    bool managed = false;          // the client of a window manager, or such a window while no manager runs
    bool onScreen = false;         // mapped, with everything that holds it
    bool iconic = false;
    bool transient = false;
    bool fullScreen = false;
    bool hasIcon = false;  // of its own, _NET_WM_ICON
    WindowType type = WindowType::none;
    int32_t pid = 0;            // 0 when it cannot be told
    bool pidIsCertain = false;  // the server says so, not the client
    int32_t layer = 0;          // desktop -1, normal 0, above 3, docks 20, menus 101
    double alpha = 1;
    uint64_t mapped = 0;    // counts on whenever a frame is mapped; 0: before anybody looked
    std::string title;      // UTF-8, as all texts
    std::string role;       // WM_WINDOW_ROLE
    std::string instance;   // WM_CLASS
    std::string className;  // WM_CLASS
    std::string process;    // what the system calls the process; empty with a WM_CLASS, or when it could not be told
};

struct WindowList {
    std::vector<DesktopWindow> all;  // front to back, those that are not on screen at their place in the stack
    std::vector<int32_t> processes;  // that own clients, in the order in which they appeared
    xcb_window_t active = 0;         // the client that has the focus; 0 without one
    xcb_pixmap_t background = 0;     // what the root shows; 0 when nobody says, or it is no pixmap of the root's depth
    PixelRect root;                  // the root window, at the origin
    uint64_t mappings = 0;           // the last number of a mapped frame
    bool hasManager = false;         // a window manager that keeps the common hints runs

    const DesktopWindow* find(xcb_window_t number) const;
    // Whether all of a client or frame shows on the root, as far as the bounds of others tell.
    bool isSeenWhole(xcb_window_t window) const;
};

// How far in front a window is kept.
int32_t layerOf(WindowType type, bool keptAbove);

std::unique_ptr<ModelPart> makeWindowPart();

}  // namespace orvo::platform::x11
