// Properties of windows and of the root window, and the requests that find them out. Requests are sent before any
// answer is received, so that those of many windows travel together.
#pragma once

#include <xcb/xcb.h>

#include <array>
#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

#include "ScreenCapture/platform/x11/atoms.h"
#include "ScreenCapture/platform/x11/window_list.h"

namespace orvo::platform::x11 {

// The client that made a window, as the part of the number that all its windows share; 0: the server.
xcb_window_t ownerOf(Connection& x, xcb_window_t window);

// Where a window is. It changes too often to be kept: every refresh asks.
struct Geometry {
    bool exists = false;
    bool inputOnly = false;
    bool viewable = false;
    bool overrideRedirect = false;
    bool hasAlpha = false;
    PixelRect bounds;  // without its border, root coordinates
    PixelRect outer;   // with its border
};

// What the root window says about the window manager, its clients and the focus.
class RootProperties {
  public:
    // The events of the root window that change the answers.
    static bool isInteresting(const Atoms& atoms, xcb_atom_t property);

    // Each receive follows its request; the check follows the rest.
    void request(Connection& x, const Atoms& atoms);
    bool receive(Connection& x, const Atoms& atoms);  // false when the server could not be asked
    void requestCheck(Connection& x, const Atoms& atoms);
    void receiveCheck(Connection& x, const Atoms& atoms);

    PixelRect area;                      // of the root
    std::vector<xcb_window_t> children;  // back to front
    std::vector<xcb_window_t> clients;   // the manager's, back to front
    std::vector<xcb_window_t> inOrder;   // the same, first mapped first
    xcb_window_t active = 0;             // as the manager says
    xcb_window_t focus = 0;              // the window that gets the keys; 0 when the pointer decides
    xcb_pixmap_t background = 0;         // what it shows; 0 for none
    xcb_window_t checkWindow = 0;
    bool hasManager = false;  // some window manager runs
    bool keepsHints = false;  // and keeps the hints of the root up to date: what a dead one left there is not believed
    bool listsClients = false;   // among them the list of its clients
    bool reportsActive = false;  // among them the active window
    bool reportsHidden = false;  // it marks the windows that are minimised
    bool isComposited = false;   // a compositing manager runs
    bool paintsFrames = true;    // as in WindowList

    // Whether a window that is marked as hidden since then is out of the way only because the desktop is shown.
    bool isHiddenForDesktop(std::chrono::steady_clock::time_point hiddenSince) const;

    // When that answer may become another although nothing happens; the distant future when it does not.
    std::chrono::steady_clock::time_point changesBy() const;

  private:
    struct Sequences {
        unsigned tree, attributes, geometry, focus, stacking, clients, active, check, background, supported, showing,
            compositor;
    } sequences_{};
    unsigned check_ = 0;
    unsigned managerName_ = 0;
    xcb_window_t compositor_ = 0;  // the compositing manager's window
    unsigned backgroundSize_ = 0;
    unsigned backgroundAttributes_ = 0;
    bool supportsHidden_ = false;
    bool showsDesktop_ = false;
    std::chrono::steady_clock::time_point readAt_;
    std::chrono::steady_clock::time_point showsDesktopSince_;
    std::chrono::steady_clock::time_point showedDesktopUntil_;
};

class WindowProperties {
  public:
    // Each receive follows its request.
    void requestGeometry(Connection& x, xcb_window_t window);
    void receiveGeometry(Connection& x);
    const Geometry& geometry() const { return geometry_; }

    // Properties are asked for again only after they have changed. Selects the window's events, so that what changes
    // after any later question is reported.
    void requestProperties(Connection& x, const Atoms& atoms, xcb_window_t window);
    void receiveProperties(Connection& x, const Atoms& atoms);
    // False for a property that nobody here is interested in.
    bool propertyChanged(const Atoms& atoms, xcb_atom_t atom);
    // Nothing that was asked for has an answer.
    void invalidate();
    bool hasState() const { return state_ > 0; }  // a client that its manager has taken on

    // The bounding shape, kept until it or the size changes.
    void requestShape(Connection& x, xcb_window_t window);
    void receiveShape(Connection& x);
    void shapeChanged() { shapeKnown_ = false; }
    const std::vector<PixelRect>& shape() const { return shape_; }

    // Copies everything that is known. The frame is another window's facts, or these.
    void fill(DesktopWindow& window, const WindowProperties& frame, const RootProperties& root);
    // The window moved with its frame.
    void move(int dx, int dy);

    int32_t serverPid = 0;  // as the server knows its client; 0 when it does not
    bool isRemote = false;  // the server knows the processes of its local clients, and not this one
    bool pidRequested = false;
    uint64_t mapped = 0;   // as in DesktopWindow
    uint64_t focused = 0;  // likewise

  private:
    static constexpr size_t kProperties = 14;
    static std::array<xcb_atom_t, kProperties> interesting(const Atoms& atoms);
    bool isMinimized(const RootProperties& root) const;
    PixelRect outerWhenShown(bool isShown);

    bool propertiesKnown_ = false;
    bool shapeKnown_ = false;
    bool awaitsProperties_ = false;
    bool awaitsShape_ = false;
    std::array<unsigned, kProperties> properties_{};
    std::array<unsigned, 3> place_{};
    unsigned rectangles_ = 0;

    Geometry geometry_;
    std::vector<PixelRect> shape_;
    PixelRect shapedOuter_;
    PixelRect shownOuter_;  // when it was on screen for the last time; empty: not yet
    Margins margins_;
    std::vector<PixelRect> opaque_;
    ClientFacts client_;
    int32_t state_ = -1;  // WM_STATE; -1 without
    int32_t claimedPid_ = 0;
    double opacity_ = 1;
    bool hidden_ = false, shaded_ = false, above_ = false;
    std::chrono::steady_clock::time_point hiddenSince_;
};

// What the system calls a process; empty when it is unknown.
std::string processName(int32_t pid);

// One question for the processes of many windows.
class PidRequest {
  public:
    void add(xcb_window_t window, WindowProperties& facts);  // the facts stay where they are until receive()
    void request(Connection& x);
    void receive(Connection& x);

  private:
    std::vector<std::pair<xcb_window_t, WindowProperties*>> windows_;
    unsigned sequence_ = 0;
};

}  // namespace orvo::platform::x11
