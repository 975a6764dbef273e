// What is known of one window, and the requests that find it out. Asking and reading are apart, so that the requests of
// many windows travel together.
#pragma once

#include <xcb/xcb.h>

#include <array>
#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

#include "ScreenCapture/platform/x11/atoms.h"
#include "ScreenCapture/platform/x11/root_facts.h"
#include "ScreenCapture/platform/x11/windows.h"

namespace orvo::platform::x11 {

// Where a window is. It changes too often to be kept: every refresh asks.
struct Geometry {
    bool exists = false;
    bool inputOnly = false;
    bool viewable = false;
    bool overrideRedirect = false;
    PixelRect bounds;  // without its border, root coordinates
    PixelRect outer;   // with its border
};

class WindowFacts {
  public:
    // Each read follows its ask.
    void askGeometry(Connection& x, xcb_window_t window);
    void readGeometry(Connection& x);
    const Geometry& geometry() const { return geometry_; }

    // Properties are asked for again only after they have changed. Selects the window's events, so that what changes
    // after any later question is reported.
    void askProperties(Connection& x, const Atoms& atoms, xcb_window_t window);
    void readProperties(Connection& x, const Atoms& atoms);
    // False for a property that nobody here is interested in.
    bool propertyChanged(const Atoms& atoms, xcb_atom_t atom);
    // Nothing that was asked for has an answer.
    void invalidate();
    bool hasState() const { return state_ > 0; }  // a client that its manager has taken on

    // The bounding shape, kept until it or the size changes.
    void askShape(Connection& x, xcb_window_t window);
    void readShape(Connection& x);
    void shapeChanged() { shapeKnown_ = false; }
    const std::vector<PixelRect>& shape() const { return shape_; }

    // Copies everything that is known. The frame is another window's facts, or these.
    void fill(DesktopWindow& window, const WindowFacts& frame, const RootFacts& root);
    // The window moved with its frame.
    void move(int dx, int dy);

    int32_t serverPid = 0;  // as the server knows its client; 0 when it does not
    bool isRemote = false;  // the server knows the processes of its local clients, and not this one
    bool pidAsked = false;
    uint64_t mapped = 0;   // as in DesktopWindow
    uint64_t focused = 0;  // likewise

  private:
    static constexpr size_t kProperties = 12;
    static std::array<xcb_atom_t, kProperties> interesting(const Atoms& atoms);
    bool isMinimized(const RootFacts& root) const;
    PixelRect boundsWhenShown(bool isShown);

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
    PixelRect shownBounds_;  // when it was on screen for the last time; empty: not yet
    std::string title_, role_, instance_, className_, machine_;
    WindowType type_ = WindowType::none;
    int32_t state_ = -1;  // WM_STATE; -1 without
    int32_t claimedPid_ = 0;
    double alpha_ = 1;
    xcb_window_t transientFor_ = 0;
    bool hidden_ = false, shaded_ = false, modal_ = false, above_ = false, fullScreen_ = false, hasIcon_ = false;
    std::chrono::steady_clock::time_point hiddenSince_;
};

// What the system calls a process; empty when it cannot be told.
std::string processName(int32_t pid);

// Asks for the bounding shape of one window. read(), once: relative to its border's corner; empty: all of it, or the
// window has gone.
class ShapeRequest {
  public:
    ShapeRequest(Connection& x, xcb_window_t window);
    std::vector<PixelRect> read(Connection& x) const;

  private:
    unsigned size_ = 0;
    unsigned rectangles_ = 0;
};
inline std::vector<PixelRect> queryShape(Connection& x, xcb_window_t window) {
    return ShapeRequest(x, window).read(x);
}

// One question for the processes of many windows.
class PidRequest {
  public:
    void add(xcb_window_t window, WindowFacts& facts);  // the facts stay where they are until read()
    void ask(Connection& x);
    void read(Connection& x);

  private:
    std::vector<std::pair<xcb_window_t, WindowFacts*>> windows_;
    unsigned sequence_ = 0;
};

}  // namespace orvo::platform::x11
