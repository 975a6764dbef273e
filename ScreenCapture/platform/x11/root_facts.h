// What the root window says about the window manager, its clients and the focus. Asking and reading are apart, so that
// the requests travel together with others.
#pragma once

#include <xcb/xcb.h>

#include <chrono>
#include <vector>

#include "ScreenCapture/platform/values.h"
#include "ScreenCapture/platform/x11/atoms.h"

namespace orvo::platform::x11 {

class RootFacts {
  public:
    // The events of the root window that change the answers.
    static bool isInteresting(const Atoms& atoms, xcb_atom_t property);

    // Each read follows its ask; the check follows the rest.
    void ask(Connection& x, const Atoms& atoms);
    bool read(Connection& x, const Atoms& atoms);  // false when the server could not be asked
    void askCheck(Connection& x, const Atoms& atoms);
    void readCheck(Connection& x, const Atoms& atoms);

    PixelRect area;                      // of the root
    std::vector<xcb_window_t> children;  // back to front
    std::vector<xcb_window_t> clients;   // the manager's, back to front
    std::vector<xcb_window_t> inOrder;   // the same, first mapped first
    xcb_window_t active = 0;             // as the manager says
    xcb_window_t focus = 0;              // the window that gets the keys; 0 when the pointer decides
    xcb_pixmap_t background = 0;         // what it shows; 0 for none
    xcb_window_t checkWindow = 0;
    bool hasManager = false;  // some window manager runs
    bool keepsHints = false;  // and keeps the hints of the root up to date: what a dead one left behind is not believed
    bool listsClients = false;   // among them the list of its clients
    bool reportsActive = false;  // among them the active window
    bool reportsHidden = false;  // it marks the windows that are minimised

    // Whether a window that is marked as hidden since then is out of the way only because the desktop is shown.
    bool isHiddenForDesktop(std::chrono::steady_clock::time_point hiddenSince) const;

    // When that answer may become another although nothing happens; the distant future when it does not.
    std::chrono::steady_clock::time_point changesBy() const;

  private:
    struct Sequences {
        unsigned tree, attributes, geometry, focus, stacking, clients, active, check, background, supported, showing;
    } sequences_{};
    unsigned check_ = 0;
    unsigned backgroundSize_ = 0;
    unsigned backgroundAttributes_ = 0;
    bool supportsHidden_ = false;
    bool showsDesktop_ = false;
    std::chrono::steady_clock::time_point readAt_;
    std::chrono::steady_clock::time_point showsDesktopSince_;
    std::chrono::steady_clock::time_point showedDesktopUntil_;
};

}  // namespace orvo::platform::x11
