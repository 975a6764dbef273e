// Properties of windows and of the root window, and the requests that find them out. What is named ask...() sends its
// requests and leaves the answers to the batch, so that those of many windows travel together.
#pragma once

#include <xcb/xcb.h>

#include <chrono>
#include <cstdint>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "ScreenCapture/platform/x11/connection.h"
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

// Properties of one window, asked for together. Each is read once.
class PropertyRequest {
  public:
    struct Answer : Property {
        Reply<xcb_get_property_reply_t> reply;  // owns the bytes
    };
    // limit: of each property, in units of 4 bytes.
    PropertyRequest(Connection& x, xcb_window_t window, const std::vector<xcb_atom_t>& names, uint32_t limit);
    Answer read(xcb_atom_t name) const;

  private:
    Connection& x_;
    std::map<xcb_atom_t, unsigned> sequences_;
};

// What the root window says about the window manager, its clients and the focus.
class RootProperties : public RootFacts {
  public:
    // The events of the root window that change the answers.
    static bool isInteresting(const Atoms& atoms, xcb_atom_t property);

    // Asks and waits; false when the server could not be asked. What is found is checked with the batch that follows.
    bool read(Connection& x);
    void askCheck(RequestBatch& batch);

    std::vector<xcb_window_t> children;  // back to front
    std::vector<xcb_window_t> clients;   // the manager's, back to front
    std::vector<xcb_window_t> inOrder;   // the same, first mapped first
    xcb_window_t active = 0;             // as the manager says
    xcb_window_t focus = 0;              // the window that gets the keys; 0 when the pointer decides
    xcb_window_t checkWindow = 0;
    bool listsClients = false;   // among the hints is the list of clients
    bool reportsActive = false;  // among them the active window
    bool reportsHidden = false;  // the manager marks the windows that are minimised

    // Whether a window that is marked as hidden since then is out of the way only because the desktop is shown.
    bool isHiddenForDesktop(std::chrono::steady_clock::time_point hiddenSince) const;

    // When that answer may become another although nothing happens; the distant future when it does not.
    std::chrono::steady_clock::time_point changesBy() const;

  private:
    xcb_window_t compositor_ = 0;  // the compositing manager's window
    bool supportsHidden_ = false;
    bool showsDesktop_ = false;
    std::chrono::steady_clock::time_point readAt_;
    std::chrono::steady_clock::time_point showsDesktopSince_;
    std::chrono::steady_clock::time_point showedDesktopUntil_;
};

// What is known of one window, which stays where it is until the batch that it was asked with is received.
class WindowProperties {
  public:
    void askGeometry(RequestBatch& batch, xcb_window_t window);
    const Geometry& geometry() const { return geometry_; }

    // Properties are asked for again only after they have changed. Selects the window's events, so that what changes
    // after any later question is reported.
    void askProperties(RequestBatch& batch, xcb_window_t window);
    // False for a property that nobody here is interested in.
    bool propertyChanged(const Atoms& atoms, xcb_atom_t atom);
    bool hasState() const { return state_ > 0; }  // a client that its manager has taken on

    // The bounding shape, kept until it or the size changes.
    void askShape(RequestBatch& batch, xcb_window_t window);
    void shapeChanged() { shapeKnown_ = false; }

    // Nothing that was asked for has an answer.
    void invalidate() { propertiesKnown_ = shapeKnown_ = pidRequested = false; }

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
    void take(const Atoms& atoms, const PropertyRequest& properties);
    bool isMinimized(const RootProperties& root) const;
    PixelRect outerWhenShown(bool isShown);

    bool propertiesKnown_ = false;
    bool shapeKnown_ = false;
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

// One question for the processes of many windows.
void askProcesses(RequestBatch& batch, std::vector<std::pair<xcb_window_t, WindowProperties*>> windows);

}  // namespace orvo::platform::x11
