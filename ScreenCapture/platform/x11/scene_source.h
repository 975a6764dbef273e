// One window as a source of pixels: redirected, so that its own picture exists whatever covers it, or as it shows.
#pragma once

#include <xcb/xcb.h>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <utility>
#include <vector>

#include "ScreenCapture/platform/values.h"
#include "ScreenCapture/platform/x11/server_objects.h"

namespace orvo::platform::x11 {

// How long a picture waits for windows that are to repaint themselves. Process-wide; for tests, from any thread.
void setRepaintLimit(std::chrono::milliseconds limit);

// Whether the server can have a picture of that size, and a frame is made of it: the sides are those of a pixmap, whose
// limits the server itself does not survive, and the area is one that it can still be asked for without standing still.
inline bool fitsPicture(const PixelRect& size) {
    constexpr int kMaxSide = 32767;
    constexpr int64_t kMaxPixels = 64'000'000;
    return size.width <= kMaxSide && size.height <= kMaxSide && int64_t{size.width} * size.height <= kMaxPixels;
}

// Whether the server lets windows have pictures of their own and tells what is drawn into them.
inline bool hasWindowPictures(const Connection& x) {
    return x.extensions().composite && x.extensions().damage && x.extensions().xfixes;
}

// For one thread, on the connection of its owner, who hands it the events: those of the window, and those of all
// top-level windows. Asking and reading are apart, so that the requests for many windows travel together.
//
// The server fills the pixmap of a window that is redirected, mapped or resized with what the screen shows at its
// place, whoever drew that. What its owner has not drawn since is *unknown*, and must not be shown. Damage takes it
// away; but the server also reports as damage what comes to light when any top-level window moves, goes or is reshaped,
// and then nothing was drawn. So damage counts only while no such event has come since it was last taken; otherwise it
// is thrown away, and the window is asked to paint itself again.
//
// A window that somebody has redirected already keeps its pixmap, so what it holds counts as drawn, unless another
// source of this process knows better: then nothing of it is known here either.
class SceneSource {
  public:
    // Shown: the picture is what the screen shows of a window without a border, good for as long as it shows whole.
    enum class Way { redirected, shown };

    // Watches the window. Nothing is taken for granted: the window may have gone already. frame: the child of the root
    // that holds it; 0: it is that itself, or nobody knows.
    SceneSource(Connection& x, xcb_window_t window, xcb_window_t frame, Way way = Way::redirected);
    ~SceneSource();
    SceneSource(const SceneSource&) = delete;
    SceneSource& operator=(const SceneSource&) = delete;

    // The window's size with its border: it is redirected from now on if that is wanted and its picture is not too
    // large. Later sizes come with events. isNew: it was mapped while the owner watched, so nothing of it is known;
    // of other windows that is known which shows on screen.
    void fit(const PixelRect& outer, int border, bool isNew);
    bool tooLarge() const { return tooLarge_; }

    // True when the event was about this window.
    bool handle(const xcb_generic_event_t& event);
    // Whether the event of another capture that had this window, or what holds or fills it, exposed is about this one.
    bool isAbout(xcb_window_t window) const { return window == window_ || window == frame_; }
    // Whether a source of this process does not know all of the window, of its frame or of what the frame holds.
    static bool isUnknown(xcb_window_t window, xcb_window_t frame);
    bool gone() const { return gone_; }  // destroyed; another window may have its number by now
    bool isShown() const { return way_ == Way::shown; }
    bool covered() const { return covered_; }  // a shown one that did not show whole for a while

    // Whether something of the picture may be unknown; which part is that, in window coordinates inside the border.
    bool mayBeUnknown() const { return mayBeUnknown_; }
    xcb_xfixes_region_t unknown() const { return unknown_.id(); }
    // Asks for that part, and reads it: empty, and nothing is unknown any more.
    void askUnknown();
    std::vector<PixelRect> readUnknown();
    // The server has changed what this counts on behind a picture that was taken; once.
    bool takeLost() { return std::exchange(lost_, false); }
    // A top-level window has changed its place, size, stacking or shape, or another capture had this one exposed.
    void handleRestacking(const xcb_generic_event_t& event);
    // Whether damage may have come from something other than drawing, and the window should be asked to paint itself.
    bool needsRepaint() const { return redirects_ && mayBeUnknown_ && (doubtful_ || wantsRepaint_); }
    // Asks, or if it was asked a moment ago forgets the damage only and is in need on. True when damage was forgotten.
    bool requestRepaint();

    // A window that was covered repaints itself once it is redirected, now.
    void expectRepaint();
    // Whether it has, or will not within the limit.
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
    bool takeNews() { return std::exchange(news_, false); }
    // What was drawn, window coordinates, put into a region of the server.
    void subtractDamage(xcb_xfixes_region_t into);
    void takeDamage() { subtractDamage(drawn_.id()); }

  private:
    using Clock = std::chrono::steady_clock;
    void becomeStale(const xcb_generic_event_t& event);
    void loseContent();
    void redirect(bool isNew);
    void unredirect();

    Connection& x_;
    const xcb_window_t window_, frame_;
    const Way way_;
    ServerDamage damage_;
    ServerPixmap pixmap_;
    ServerPicture picture_;
    PixelRect size_;
    PixelRect inner_;                                          // the window without its border, as far as events tell
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
    ServerRegion unknown_, drawn_;            // drawn_: for a moment
    std::atomic<bool> mayBeUnknown_ = false;  // other sources of the window read it
    bool doubtful_ = false;                   // the damage so far may be none
    bool wantsRepaint_ = false;
    bool lost_ = false;
    bool learned_ = false;    // damage came while a repaint was awaited
    unsigned since_ = 0;      // the request since which the window is redirected
    unsigned forgotten_ = 0;  // that took damage which did not count
    unsigned taken_ = 0;      // that took the damage the last time
    unsigned fetching_ = 0;   // that asked for what is unknown; 0: none
    int configuredWidth_ = -1, configuredHeight_ = -1, configuredBorder_ = -1;
    Clock::time_point redirected_{}, repainted_{};  // the epoch: no repaint is expected
    Clock::time_point requested_{};                 // when a repaint was last asked for
};

}  // namespace orvo::platform::x11
