// One window as a source of pixels: redirected, so that its own picture exists whatever covers it, or as it shows.
#pragma once

#include <xcb/xcb.h>

#include <chrono>
#include <cstdint>
#include <utility>

#include "ScreenCapture/platform/values.h"
#include "ScreenCapture/platform/x11/server_objects.h"

namespace orvo::platform::x11 {

// Whether the server can have a picture of that size, and a frame is made of it: the sides are those of a pixmap, whose
// limits the server itself does not survive, and the area is one that it can still be asked for without standing still.
inline bool fitsPicture(const PixelRect& size) {
    constexpr int kLargestSide = 32767;
    constexpr int64_t kMostPixels = 64'000'000;
    return size.width <= kLargestSide && size.height <= kLargestSide &&
           int64_t{size.width} * size.height <= kMostPixels;
}

// For one thread, on the connection of its owner, who hands it the events. Asking and reading are apart, so that the
// requests for many windows travel together.
class SceneSource {
  public:
    // Shown: the picture is what the screen shows of a window without a border, good for as long as it shows whole.
    enum class Way { redirected, shown };

    // Watches the window. Nothing is taken for granted: the window may have gone already.
    SceneSource(Connection& x, xcb_window_t window, Way way = Way::redirected);
    ~SceneSource();
    SceneSource(const SceneSource&) = delete;
    SceneSource& operator=(const SceneSource&) = delete;

    // The window's size with its border: it is redirected from now on if that is wanted and its picture is not too
    // large. Later sizes are told by events.
    void fit(const PixelRect& outer);
    bool tooLarge() const { return tooLarge_; }

    // True when the event was about this window.
    bool handle(const xcb_generic_event_t& event);
    bool gone() const { return gone_; }  // destroyed; another window may have its number by now
    bool isShown() const { return way_ == Way::shown; }
    bool covered() const { return covered_; }  // a shown one that did not show whole for a while

    // A window that was covered repaints itself once it is redirected, now.
    void expectRepaint() { redirected_ = repainted_ = Clock::now(); }
    // Whether it has, as far as the events tell that were handed in.
    bool isRepainted();

    // Names the picture when the window has another one than the last time, unless that is asked already.
    void askPicture();
    // The answer, which may have come long ago. True when there is another one now, or none any more.
    bool readPicture();
    // Makes the server draw with it, where the formats allow.
    void usePicture();
    bool hasPicture() const { return named_; }
    xcb_drawable_t drawable() const { return way_ == Way::shown ? window_ : pixmap_.id(); }  // of the picture
    xcb_render_picture_t picture() const { return picture_.id(); }
    const PixelRect& size() const { return size_; }  // of the picture, borders included
    int border() const { return border_; }
    uint8_t depth() const { return depth_; }

    // Whether something was drawn since the last call.
    bool takeNews() { return std::exchange(news_, false) || !damage_; }
    bool hasNews() const { return news_ || !damage_; }
    // What was drawn, window coordinates, put into a region of the server.
    void subtractDamage(xcb_xfixes_region_t into);

  private:
    using Clock = std::chrono::steady_clock;
    void becomeStale(const xcb_generic_event_t& event);
    void redirect();
    void unredirect();

    Connection& x_;
    const xcb_window_t window_;
    const Way way_;
    ServerDamage damage_;
    ServerPixmap pixmap_;
    ServerPicture picture_;
    PixelRect size_;
    unsigned naming_ = 0, geometry_ = 0, windowGeometry_ = 0;  // requests
    int border_ = 0;
    uint8_t depth_ = 0;
    bool asked_ = false;
    bool named_ = false;
    bool covered_ = false;
    bool stale_ = true;  // the window has another picture, or none, since the last naming
    bool news_ = true;
    bool gone_ = false;
    bool redirects_ = false;
    bool tooLarge_ = false;
    int configuredWidth_ = -1, configuredHeight_ = -1, configuredBorder_ = -1;
    Clock::time_point redirected_{}, repainted_{};  // the epoch: no repaint is expected
};

}  // namespace orvo::platform::x11
