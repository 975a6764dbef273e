// The frames that a compositor hands out, and what the server draws into for them; bounded.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "ScreenCapture/platform/software/frame.h"
#include "ScreenCapture/platform/software/region.h"
#include "ScreenCapture/platform/x11/server_objects.h"

namespace orvo::platform::x11 {

// Whether pixmaps can lie in memory that this process shares with the server, so that what it draws is there at once.
// The environment variable ORVO_SHARED_PIXMAPS=0 has every server treated as one where they cannot; for tests and
// measurements.
bool hasSharedPixmaps(const Connection& x);

// A pixmap of 32 bits a pixel that the server draws pictures into. Times are counted by the compositor.
struct Canvas {
    ServerPixmap pixmap;
    ServerPicture picture;
    ServerRegion stale;      // what was drawn into the windows since
    uint64_t drawnTime = 0;  // 0: nothing of what is in it counts
};

// For one thread. The size of all frames is the same, their rows begin aligned to 64 bytes.
//
// With shared pixmaps each frame is a canvas. Without them there is one canvas, as wide as a row of the frames is long,
// and frames know what of it they still have to fetch.
class FramePool {
  public:
    struct Slot {
        Ref<software::Frame> frame;
        ServerSegment segment;     // the frame's memory; none where memory cannot be shared
        Canvas canvas;             // in the segment; none without shared pixmaps
        software::Region stale;    // without: what to fetch, unless it is all
        uint64_t fetchedTime = 0;  // 0: nothing of what is in it counts
    };

    // draws: the server does. size: not empty.
    FramePool(Connection& x, const PixelRect& size, bool draws);

    const PixelRect& size() const { return size_; }
    // A slot whose frame nobody holds outside, the latest first: least of it is out of date. Null when the pool is
    // full(), or the system or the server has no more memory.
    Slot* acquire();
    bool full() const { return slots_.size() == kMaxFrames; }

    bool sharesPixmaps() const { return sharesPixmaps_; }
    // That the slot's frame is drawn into, or fetched from.
    Canvas& canvasOf(Slot& slot) { return sharesPixmaps_ ? slot.canvas : own_; }
    template <typename Act>
    void forEachCanvas(Act&& act) {
        if (own_.picture) act(own_);
        for (const auto& slot : slots_)
            if (slot->canvas.picture) act(slot->canvas);
    }
    const std::vector<std::unique_ptr<Slot>>& slots() const { return slots_; }

  private:
    // One being delivered, one waiting, one being written, and five that a host may keep.
    static constexpr size_t kMaxFrames = 8;

    bool addSlot();
    void addPicture(Canvas& canvas);

    Connection& x_;
    const PixelRect size_;
    const bool draws_;
    bool sharesPixmaps_;
    bool sharesMemory_;
    Canvas own_;
    std::vector<std::unique_ptr<Slot>> slots_;  // the latest first
};

}  // namespace orvo::platform::x11
