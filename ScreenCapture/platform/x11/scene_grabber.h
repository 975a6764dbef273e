// Pictures of windows composed over a rectangle, taken again and again. The server composes, front to back with what is
// covered left out, straight into the buffer that is handed over; without news it is asked nothing.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <vector>

#include "ScreenCapture/platform/software/region.h"
#include "ScreenCapture/platform/x11/scene_source.h"
#include "ScreenCapture/platform/x11/shared_frame.h"
#include "ScreenCapture/platform/x11/windows.h"

namespace orvo::platform::x11 {

// A window of the scene, or the background.
struct SceneLayer {
    xcb_window_t window = 0;       // 0: the background pixmap
    xcb_pixmap_t background = 0;   // repeats from the root's origin
    PixelRect outer;               // with its border, coordinates of the scene's bounds
    PixelRect clip;                // what of it counts, the same coordinates
    std::vector<PixelRect> shape;  // relative to outer; empty: all
    int border = 0;                // of the window
    uint64_t mapped = 0;           // as in DesktopWindow
    bool operator==(const SceneLayer&) const = default;
};

// For one thread. Reads the events of its connection, whenever it waits for some.
//
// What of a window its owner may not have drawn is left out (see SceneSource). Windows have no pictures where the
// server does not tell what is drawn into them, without Damage or XFixes. A server without shared pixmaps or Render
// sends each window's picture, and they are composed here.
class SceneGrabber {
  public:
    using Heard = std::function<void(const xcb_generic_event_t&)>;
    // others: gets every event too, for what else the connection is used for.
    explicit SceneGrabber(Connection& x, Heard others = nullptr);
    ~SceneGrabber();
    SceneGrabber(const SceneGrabber&) = delete;
    SceneGrabber& operator=(const SceneGrabber&) = delete;

    // Redirects and watches a window whatever the scene is made of. False when there is no such window.
    bool pin(xcb_window_t window, xcb_window_t frame);
    bool pinnedGone() const { return pinned_ && pinned_->gone(); }

    // Watches a window for a picture later; waits for nothing. It is redirected unless all of it shows.
    void expect(const DesktopWindow& window, const WindowList& windows);
    void forget(xcb_window_t window);
    // Whether the window's last picture may not be its own: it was taken as shown, and something came over it.
    // windows: the desktop after the picture.
    bool wasCovered(xcb_window_t window, const WindowList& windows) const;
    // Smaller pictures are views of frames of this size, so that their memory serves for all; not if it is too large.
    void setRoom(const PixelRect& room) { room_ = fitsPicture(room) ? room : PixelRect(); }

    void readEvents();

    // The layers (front to back) over the bounds. Pixels of windows are opaque; what no layer covers, what has no
    // picture now and what of a picture is unknown is four zero bytes. Waits a little for windows to repaint that are
    // new here and were covered. windows: the desktop now.
    Shot take(const PixelRect& bounds, const std::vector<SceneLayer>& layers, const WindowList& windows);
    // The two halves of take(): the server draws while the caller is busy with something else. After flushing.
    void begin(const PixelRect& bounds, const std::vector<SceneLayer>& layers, const WindowList& windows);
    Shot finish();  // once for each begin()
    // Why the window of the only layer had no picture the last time.
    NoImage missing() const { return missing_; }

  private:
    struct Backing : SharedFrame {
        ServerRegion stale;        // frame coordinates
        std::vector<bool> layers;  // which may have something in it
        bool isStale = true;
        bool all = true;  // nothing of the frame is drawn yet
    };
    using Ring = software::Ring<Backing>;
    // What the server is told of one layer.
    struct Part {
        SceneSource* source = nullptr;
        software::Region visible;  // frame coordinates
        PixelRect drawn;           // the part of the frame that its picture reaches
        ServerRegion region;       // visible
    };

    void handle(const xcb_generic_event_t& event);
    Shot ask(const PixelRect& bounds, const std::vector<SceneLayer>& layers, const WindowList& windows);
    bool updateSources(const std::vector<SceneLayer>& layers, const WindowList& windows);
    void waitForRepaint(const std::vector<SceneLayer>& layers);
    void followShapes(const WindowList& windows);
    bool isContentLost();
    bool dropLostContent();
    bool namePictures(const std::vector<SceneLayer>& layers);
    void layOut(const PixelRect& bounds, const std::vector<SceneLayer>& layers);
    ServerPicture backgroundPicture(xcb_pixmap_t pixmap);
    ServerRegion regionOf(const software::Region& region);
    bool collectNews();
    Ring::Slot makeSlot();
    void refresh(Ring::Slot& slot, bool asksNews);
    bool awaitRefreshed(Ring::Slot& slot);
    void draw(Ring::Slot& slot);
    void clipTo(const Part& part, const SceneLayer& layer, const Backing& backing);
    void noteMissing(const std::vector<SceneLayer>& layers, bool anyPicture);
    Shot composeHere(const PixelRect& bounds, const std::vector<SceneLayer>& layers);

    Connection& x_;
    const Heard others_;
    bool onServer_ = false;
    std::map<xcb_window_t, std::unique_ptr<SceneSource>> sources_;
    SceneSource* pinned_ = nullptr;
    std::vector<xcb_window_t> kept_;  // whatever the scene is made of

    PixelRect bounds_;
    PixelRect room_, frameSize_;  // at the origin
    std::vector<SceneLayer> layers_;
    std::vector<Part> parts_;
    ServerPicture background_;
    software::Region uncovered_;
    ServerRegion uncoveredRegion_;
    ServerRegion newsRegion_, layerNews_, clip_;
    std::unique_ptr<Ring> ring_;
    std::vector<xcb_window_t> followed_;  // tell when their shape changes
    uint64_t followedMappings_ = 0;
    std::optional<uint64_t> mappings_;  // of the first desktop that was seen
    uint64_t version_ = 0;
    uint64_t versionBeforeNews_ = 0;  // of the pictures before the damage that is being fetched
    bool laidOut_ = false;
    // Of the picture that is begun.
    Shot begun_ = NoImage::failed;  // without a slot: the result
    Ring::Slot* slot_ = nullptr;    // that the server draws into
    unsigned drawn_ = 0;            // answered when it has; 0: it had nothing to draw
    bool asksNews_ = false;         // with what is new
    bool anyUnknown_ = false;       // something of it was left out for not being drawn
    NoImage missing_ = NoImage::none;
};

}  // namespace orvo::platform::x11
