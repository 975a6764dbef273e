// One window to draw from: redirected by COMPOSITE, so that it has a picture of its own whatever covers it.
#pragma once

#include <xcb/xcb.h>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <map>
#include <memory>
#include <utility>
#include <vector>

#include "ScreenCapture/platform/values.h"
#include "ScreenCapture/platform/version.h"
#include "ScreenCapture/platform/x11/server.h"
#include "ScreenCapture/platform/x11/server_objects.h"

namespace orvo::platform::x11 {

// How long a picture waits for windows that are to repaint themselves. Process-wide; for tests, from any thread.
void setRepaintLimit(std::chrono::milliseconds limit);

// Whether a picture of that size can be had: the sides are those of a pixmap, whose limits the server itself does not
// survive, less what aligns rows, and the area is one that it can still be asked for without standing still.
inline bool fitsPicture(const PixelRect& size) {
    constexpr int kMaxSide = 32767 - 15;
    constexpr int64_t kMaxPixels = 64'000'000;
    return size.width <= kMaxSide && size.height <= kMaxSide && int64_t{size.width} * size.height <= kMaxPixels;
}

// Whether the server reports what is drawn into a window.
inline bool hasDamage(const Connection& x) {
    return x.extensions().damage && x.extensions().xfixes;
}
// Whether it also lets windows have pictures of their own, and what is needed to know what their owners drew; and why
// not.
inline bool hasWindowPictures(const Connection& x) {
    return x.extensions().composite && hasDamage(x) && x.extensions().sync;
}
inline NoImage whyNoWindowPictures(const Connection& x) {
    return canRead(x, x.screen()->root_depth) ? NoImage::failed : NoImage::pixelFormat;
}

// What was drawn into a window since its owner looked last, window coordinates inside the border.
struct Damage {
    ServerRegion region;
    bool any = false;  // false: the region holds nothing that counts
};

class RedirectedWindows;

// A window as a source of pixels, or the root window as it shows, with everything on it; shared by all who draw it.
// Used and destroyed under its server's lock. Asking and reading are apart, so that the requests for many windows
// travel together.
//
// The server fills the pixmap of a window that is redirected, mapped or resized with what the screen shows at its
// place, whoever drew that. What its owner has not drawn since is *unknown*, and must not be shown. Damage takes it
// away; but the server also reports as damage what comes to light when any top-level window moves, goes or is reshaped,
// and then nothing was drawn. So damage counts only while no such event has come since it was last taken; otherwise it
// takes nothing away, and the window is asked to paint itself again.
//
// A window that somebody has redirected already keeps its pixmap, so what it holds counts as drawn, unless another
// capture of this process knows better: then nothing of it is known here either.
class RedirectedWindow {
  public:
    // Watches the window, which may have gone already. frame: the child of the root that holds it; 0: nobody knows.
    RedirectedWindow(RedirectedWindows& windows, std::shared_ptr<Connection> x, xcb_window_t window,
                     xcb_window_t frame);
    ~RedirectedWindow();
    RedirectedWindow(const RedirectedWindow&) = delete;
    RedirectedWindow& operator=(const RedirectedWindow&) = delete;

    // The window's size with its border: it is redirected from now on unless that is too large. Later sizes come with
    // events. isNew: it was mapped while the owner watched, so nothing of it is known; of other windows that is known
    // which shows on screen.
    void fit(const PixelRect& outer, int border, bool isNew);
    void onEvent(const xcb_generic_event_t& event);
    // A manager may put the window into another frame.
    void setFrame(xcb_window_t frame) { frame_ = frame; }

    // Whether somebody in this process does not know all of the window, of its frame or of what the frame holds. Any
    // thread.
    static bool isUnknown(xcb_window_t window, xcb_window_t frame);

    xcb_window_t number() const { return window_; }
    bool gone() const { return gone_; }  // destroyed; another window may have its number by now
    bool tooLarge() const { return tooLarge_; }

    // Another number whenever what can be drawn from has become another for a reason other than damage: there is
    // another pixmap, or none any more, or another part of it is known. A window whose damage nobody reports has
    // another one each time.
    uint64_t generation() const { return reportsDamage() ? generation_ : nextVersion(); }

    // Has the owner's damage filled by collectDamage(), until it is removed.
    void add(Damage& damage) { listeners_.push_back(&damage); }
    void remove(Damage& damage) { std::erase(listeners_, &damage); }
    // Takes what was drawn by now from the server, if anything was, and adds it to the damage of everybody here.
    void collectDamage();

    // Whether something of the picture may be unknown; which part is that, window coordinates inside the border.
    bool mayBeUnknown() const { return mayBeUnknown_; }
    xcb_xfixes_region_t unknown() const { return unknown_.id(); }
    // Asks for that part, and reads it. If it is empty, nothing is unknown any more: but only once the events are read
    // that came before the answer, for one of them may say that the damage was no drawing. Then settle() takes it over.
    void requestUnknown();
    std::vector<PixelRect> receiveUnknown();
    void settle();

    // Asks the window to paint itself, if what of it is unknown would not become known otherwise.
    void repaintIfNeeded();
    // A window that was covered paints itself once it is redirected, now.
    void expectRepaint();
    bool awaitsRepaint() const { return redirected_ != Clock::time_point{}; }
    // Takes what was drawn by now, and asks what is unknown if that was anything.
    void requestRepainted();
    // The answer, once the events before it are read. Ends the wait if the window has repainted itself, or will not
    // within the limit.
    void receiveRepainted();

    // Names the window's pixmap when it has another one than the last time, unless that is asked already.
    void requestPixmap();
    // The answer, which may have come long ago.
    void receivePixmap();
    // Makes the server draw with it, where the formats allow. After all answers: what is asked between two of them
    // would be sent one by one.
    void usePixmap();
    // The last pixmap of a window that has gone is none: what of it is unknown is not followed any more.
    bool hasPixmap() const { return named_ && !gone_; }
    xcb_drawable_t drawable() const { return isRoot() ? window_ : pixmap_.id(); }
    // 0: the server cannot draw with it. withAlpha: with the window's alpha channel, if it has one.
    xcb_render_picture_t picture(bool withAlpha = false) const {
        return withAlpha && alphaPicture_ ? alphaPicture_.id() : picture_.id();
    }
    uint8_t depth() const { return depth_; }
    const PixelRect& size() const { return size_; }  // of the pixmap, borders included
    int border() const { return border_; }

  private:
    friend class RedirectedWindows;
    using Clock = std::chrono::steady_clock;

    bool isRoot() const { return window_ == x_->root(); }
    bool reportsDamage() const { return static_cast<bool>(damage_) || !isRoot(); }
    bool isAbout(xcb_window_t window) const { return window == window_ || window == frame_; }
    void onRestacking(const xcb_generic_event_t& event);
    void onNewPixmap(const xcb_generic_event_t& event);
    void loseContent();
    void redirect(bool isNew);
    void unredirect();
    void subtractDamage(const ServerRegion& into);

    RedirectedWindows& windows_;
    const std::shared_ptr<Connection> x_;  // the objects' own, also when it is lost
    const xcb_window_t window_;
    std::atomic<xcb_window_t> frame_;  // other captures of the window read it
    ServerDamage damage_;              // while it is redirected; of the root always
    std::vector<Damage*> listeners_;
    bool damaged_ = false;  // there is some on the server
    ServerPixmap pixmap_;
    ServerPicture picture_, alphaPicture_;
    PixelRect size_;
    PixelRect inner_;  // the window without its border, as far as events report it
    unsigned naming_ = 0, geometry_ = 0, windowGeometry_ = 0;  // requests
    int border_ = 0;
    uint8_t depth_ = 0;
    bool gone_ = false, tooLarge_ = false;
    bool named_ = false;
    bool asked_ = false;          // for its pixmap
    bool hasOtherPixmap_ = true;  // or none, since the last naming
    uint64_t generation_ = nextVersion();

    ServerRegion unknown_, drawn_;            // drawn_: for a moment
    std::atomic<bool> mayBeUnknown_ = false;  // other captures of the window read it
    bool doubtful_ = false;                   // the damage so far may be none
    bool isAllKnown_ = false;                 // the server says so
    bool wantsRepaint_ = false;
    unsigned since_ = 0;                            // the request since which the window is redirected
    unsigned forgotten_ = 0;                        // that took damage which did not count
    unsigned taken_ = 0;                            // that took the damage the last time
    unsigned fetching_ = 0;                         // that asked for what is unknown; 0: none
    Clock::time_point redirected_{}, repainted_{};  // the epoch: no repaint is expected
    Clock::time_point requested_{};                 // when a repaint was last asked for
};

// The redirected windows of a server, by number: whoever asks for one that somebody has gets the same.
class RedirectedWindows final : private EventHandler {
  public:
    static RedirectedWindows& of(Server& server);

    // Null when nobody has it.
    std::shared_ptr<RedirectedWindow> find(const Server::Use& x, xcb_window_t window) const;
    std::shared_ptr<RedirectedWindow> open(const Server::Use& x, xcb_window_t window, xcb_window_t frame);
    // Receives events about the shapes of these windows from now on.
    void followShapes(const Server::Use& x, const std::vector<xcb_window_t>& windows);

  private:
    friend class RedirectedWindow;
    explicit RedirectedWindows(Server& server) { server.add(*this); }
    void onEvent(const Connection& x, const xcb_generic_event_t& event) override;
    std::shared_ptr<RedirectedWindow> find(const Connection& x, xcb_window_t window) const;

    std::map<xcb_window_t, std::weak_ptr<RedirectedWindow>> windows_;
};

}  // namespace orvo::platform::x11
