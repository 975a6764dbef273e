// Pictures of layers over a rectangle, taken again and again: windows, the screen as it shows, the root's background.
// The server draws, with what is covered left out, straight into the memory that is handed over; while
// nothing changes it is asked nothing.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "ScreenCapture/platform/software/region.h"
#include "ScreenCapture/platform/x11/frame_pool.h"
#include "ScreenCapture/platform/x11/redirected_window.h"
#include "ScreenCapture/platform/x11/window_list.h"

namespace orvo::platform::x11 {

struct Layer {
    enum class Kind {
        window,      // its own picture, whatever covers it
        root,        // what the screen shows
        background,  // a pixmap, repeated from the root's origin
    };
    enum class Alpha {
        ignored,  // opaque, whatever stands in the place of alpha
        blended,  // drawn over what lies below it, its colours multiplied by alpha already
        kept,     // alpha goes into the picture; nothing may lie below
    };
    Kind kind = Kind::window;
    uint32_t id = 0;                    // of the window or the pixmap
    PixelRect outer;                    // with its border, coordinates of the picture's bounds
    PixelRect clip;                     // what of it counts, the same coordinates
    std::vector<PixelRect> shape = {};  // relative to outer; empty: all
    int border = 0;                     // of the window
    uint64_t mapped = 0;                // as in DesktopWindow
    Alpha alpha = Alpha::ignored;
    uint16_t opacity = 0xFFFF;           // of all of it, where it is blended
    std::vector<PixelRect> opaque = {};  // what of it hides all below though it is blended, relative to outer
    uint32_t frame = 0;                  // a client's: of that layer it takes its own place
    bool operator==(const Layer&) const = default;
};

// The screen as it shows, for bounds in root coordinates.
Layer layerOfRoot(const Connection& x);
// A window's client alone, cut to its bounds, from their corner: its place on the root does not matter.
PixelRect boundsOfClient(const DesktopWindow& window);
Layer layerOfClient(const DesktopWindow& window);
// On the root, with what lies below showing through: a frame with the clients in it, or a window without one; and a
// client alone, at its place in its frame, cut by both shapes.
Layer layerOfFrame(const DesktopWindow& window);
Layer layerInFrame(const DesktopWindow& window);

// Used and destroyed under its server's lock, which it gives up while windows repaint.
//
// Damage. The server keeps one damage object for each window and has no idea of frames; every frame of the pool lags
// behind by what was drawn since it was drawn itself. So damage is taken once, turned into the frame's coordinates, cut
// to what is seen of its window, and added to the stale region of every canvas; a picture then has the server draw
// stale ∩ visible of each damaged layer into one of them:
//
//     tick         1           2           3
//     damage       a           b           (none)
//     frame A      drawn: a    held        drawn: b     it lacked only what came while somebody held it
//     frame B      stale: a    drawn: a,b  stale: (none)
//
// All of these are requests that nobody waits for. The one wait is for the rectangles of the damage: their answer says
// that the drawing before it is done, whether any of the damage is seen at all, and what of the picture has changed.
// Without damage, and with a free frame that is up to date, nothing is asked.
//
// Layers are drawn back to front. What is opaque hides all below; only what an alpha channel or an opacity lets show
// through is drawn beneath, and drawn again together with it: those parts *mix*. Where nothing opaque lies below, they
// are drawn over zero bytes.
//
// What of a window its owner may not have drawn is left out (see RedirectedWindow). Windows have no pictures where the
// server does not report what is drawn into them. Where pixmaps cannot be shared the server draws into one of its own,
// from which the frames fetch what they lack; where it cannot draw, without Render, it sends each layer's pixels.
class Compositor {
  public:
    // Of no use on another connection.
    Compositor(Server& server, const Server::Use& x);
    ~Compositor();
    Compositor(const Compositor&) = delete;
    Compositor& operator=(const Compositor&) = delete;

    // Smaller pictures are views of frames of this size, so that their memory serves for all; not if it is too large.
    void setRoom(const PixelRect& room) { room_ = fitsPicture(room) ? room : PixelRect(); }

    // Takes the layers (front to back) over the bounds as the next picture's, with what was drawn by now. Waits a
    // little for windows to repaint that are new here and were covered. desktop: as it is now. False when the picture
    // equals the one before for certain.
    bool update(Server::Use& x, const PixelRect& bounds, const std::vector<Layer>& layers, const WindowList& desktop);
    // Has the server begin to draw the picture of the last update(), for the next finish(). After flushing it draws
    // while the caller is busy with something else.
    void begin();
    // The picture that was begun, once. Where anything was drawn the fourth byte is 0xFF, unless alpha is kept; what no
    // layer covers, what has no picture now and what of a window is unknown is four zero bytes. Nobody else holds it.
    Shot finish(Server::Use& x);
    // The same for who goes on with the frame; without room.
    Ref<software::Frame> finishFrame(Server::Use& x, NoImage& why);
    Shot take(Server::Use& x, const PixelRect& bounds, const std::vector<Layer>& layers, const WindowList& desktop) {
        update(x, bounds, layers, desktop);
        begin();
        return finish(x);
    }
    // Why the window of a layer had no picture the last time.
    NoImage missing(size_t layer = 0) const;
    // False where the server sends pixels, for it cannot draw.
    bool drawsOnServer() const { return draws_; }

  private:
    // What stands behind one layer.
    struct Part {
        std::shared_ptr<RedirectedWindow> window;  // null for a background
        uint64_t generation = 0;                   // of the window when it was laid out
        ServerPicture background;
        PixelRect reach;           // what its picture can fill, frame coordinates
        software::Region visible;  // what of that no opaque layer hides
        bool mixes = false;        // some pixel of it is mixed with another layer's
        Layer::Alpha alpha = Layer::Alpha::ignored;
        ServerPicture mask;   // of its opacity; none for all
        ServerRegion region;  // the same
        Damage damage;
        uint64_t damagedTime = 0;  // the last

        Part() = default;
        Part(const Part&) = delete;
        Part& operator=(const Part&) = delete;
        ~Part() {
            if (window && damage.region) window->remove(damage);
        }
        bool isKnown() const { return window && !window->mayBeUnknown(); }
        // Of the picture's origin, from that of the frame.
        int dx = 0, dy = 0;
    };

    bool updateWindows(Server::Use& x, const WindowList& desktop);
    void openWindows(const Server::Use& x, const WindowList& desktop);
    void followShapes(const Server::Use& x, const WindowList& desktop);
    bool waitForRepaint(Server::Use& x);
    void namePixmaps();
    bool isLaidOut(const PixelRect& bounds) const;
    void layOut(const PixelRect& bounds);
    std::unique_ptr<Part> makePart(const Layer& layer, const std::shared_ptr<RedirectedWindow>& window);
    void collectDamage();
    void draw(Canvas& canvas);
    void drawPart(const Part& part, const Canvas& canvas);
    void clipTo(const Part& part, const Canvas& canvas, bool all);
    bool awaitDrawn(FramePool::Slot& slot);
    void takeChanges(const xcb_xfixes_fetch_region_reply_t& damage);
    ServerRegion regionOf(const software::Region& region);

    // compositor_images.cpp
    bool fetchStale(FramePool::Slot& slot);
    bool fetchLayers(FramePool::Slot& slot);

    RedirectedWindows& windows_;
    const std::shared_ptr<Connection> connection_;
    Connection& x_;
    bool draws_ = false;  // the server does
    NoImage refused_ = NoImage::failed;
    PixelRect room_;

    // What the frames were laid out for, the whole of it: bounds, layers, and the generations in the parts.
    PixelRect bounds_;
    std::vector<Layer> layers_;
    std::vector<std::shared_ptr<RedirectedWindow>> sources_;  // of the layers
    std::vector<std::unique_ptr<Part>> parts_;                // of the layers
    software::Region uncovered_;                              // by what is opaque and known
    ServerRegion uncoveredRegion_, damage_, clip_;
    std::unique_ptr<FramePool> frames_;
    SharedMemory scratch_;  // for fetching

    uint64_t time_ = 0;  // counts the updates
    uint64_t laidOutTime_ = 0;
    uint64_t damagedTime_ = 0;
    uint64_t mixedTime_ = 0;  // when a part that mixes was damaged
    bool mixes_ = false;      // some part does
    bool hasDamage_ = false;  // that the version does not count yet

    uint64_t version_ = 0;  // of the pixels
    uint64_t changedSince_ = 0;
    std::vector<PixelRect> changed_;  // of the pixels since that version

    // Of the picture that is begun.
    FramePool::Slot* slot_ = nullptr;
    unsigned drawing_ = 0;     // answered when it is drawn; 0: there was nothing to draw
    bool asksDamage_ = false;  // with the damage
    bool hasUnknown_ = false;  // something of it was left out for not being drawn

    std::optional<uint64_t> firstMappings_;  // of the first desktop that was seen
    uint64_t followedMappings_ = 0;
};

}  // namespace orvo::platform::x11
