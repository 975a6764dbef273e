// One window as a source of pixels: redirected, so that its own picture exists whatever covers it.
#pragma once

#include <xcb/xcb.h>

#include <utility>

#include "ScreenCapture/platform/values.h"
#include "ScreenCapture/platform/x11/picture_formats.h"
#include "ScreenCapture/platform/x11/server_objects.h"

namespace orvo::platform::x11 {

// For one thread, on the connection of its owner, who hands it the events. Asking and reading are apart, so that the
// requests for many windows travel together.
class SceneSource {
  public:
    // Redirects the window and watches it. Nothing is taken for granted: the window may have gone already.
    SceneSource(Connection& x, xcb_window_t window);
    ~SceneSource();
    SceneSource(const SceneSource&) = delete;
    SceneSource& operator=(const SceneSource&) = delete;

    // True when the event was about this window.
    bool handle(const xcb_generic_event_t& event);
    bool gone() const { return gone_; }  // destroyed; another window may have its number by now

    // Names the picture when the window has another one than the last time.
    void askPicture();
    // True when there is another one now, or none any more.
    bool readPicture();
    // Makes the server draw with it, where the formats allow.
    void usePicture(const PictureFormats& formats);
    bool hasPicture() const { return named_; }
    xcb_pixmap_t pixmap() const { return pixmap_.id(); }
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
    Connection& x_;
    const xcb_window_t window_;
    ServerDamage damage_;
    ServerPixmap pixmap_;
    ServerPicture picture_;
    PixelRect size_;
    unsigned geometry_ = 0;
    unsigned windowGeometry_ = 0;
    int border_ = 0;
    uint8_t depth_ = 0;
    bool asked_ = false;
    bool named_ = false;
    bool stale_ = true;  // the window has another picture, or none, since the last naming
    bool news_ = true;
    bool gone_ = false;
    int configuredWidth_ = -1, configuredHeight_ = -1, configuredBorder_ = -1;
};

}  // namespace orvo::platform::x11
