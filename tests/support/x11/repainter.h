// Windows of a program that repaints them when it is asked to, as programs do.
#pragma once

#include <atomic>
#include <map>
#include <mutex>
#include <thread>

#include "support/x11/x_windows.h"

namespace orvo::testing {

// A thread answers the exposures of the connection of the Windows given, which outlives it. What a window shows is kept
// in a pixmap and copied from it.
class Repainter {
  public:
    explicit Repainter(Windows& windows);
    ~Repainter();
    Repainter(const Repainter&) = delete;
    Repainter& operator=(const Repainter&) = delete;

    // Its content begins as one colour. hasBackground: the server fills what is exposed with another one before.
    xcb_window_t make(const WindowWish& wish, bool hasBackground = true);
    void paint(xcb_window_t window, const Area& area, uint32_t colour);
    // Until the window manager, if the root has one, and this program have answered all that was sent to them so far,
    // and the server has done it.
    void settle();

  private:
    void run();

    Windows& windows_;
    const xcb_window_t probe_;  // never mapped
    std::mutex mutex_;
    std::map<xcb_window_t, xcb_pixmap_t> contents_;
    std::atomic<uint32_t> asked_ = 0, answered_ = 0;
    std::thread thread_;
};

}  // namespace orvo::testing
