// Pictures of an area of the root window, taken again and again: only what changed is fetched, straight into the buffer
// that is handed over.
#pragma once

#include <cstdint>

#include "ScreenCapture/platform/software/frame.h"
#include "ScreenCapture/platform/version.h"
#include "ScreenCapture/platform/x11/shared_frame.h"

namespace orvo::platform::x11 {

// For one thread. The owner of the connection reads its events and hands each to handle().
//
// Each buffer knows what of it is out of date, as a region on the server. Taking a picture adds the news to all regions
// and has the server copy the region of one idle buffer, in one round trip; without news it asks nothing.
// A server without Damage copies the whole area each time. One without shared pixmaps or Render writes whole images
// into shared memory, and one without shared memory sends them.
class DisplayGrabber {
  public:
    // area: root coordinates, inside the root window, not empty.
    DisplayGrabber(Connection& x, const PixelRect& area);

    const PixelRect& area() const { return area_; }

    // True when the event was about this grabber's picture.
    bool handle(const xcb_generic_event_t& event);
    // False when the next picture would equal the last one for certain.
    bool changed() const { return news_ || !damage_; }

    // The picture now, opaque, in a frame that nobody else holds. Every picture's version tells of its pixels.
    Shot take();
    // The same as take() for who goes on with the frame.
    Ref<software::Frame> takeFrame(NoImage& why);

  private:
    enum class Way { composite, sharedImage, image };

    // What stands behind a frame on the server; which members are used depends on the way.
    struct Backing : SharedFrame {
        ServerRegion stale;  // frame coordinates
        bool isStale = true;
    };
    using Ring = software::Ring<Backing>;

    void findWay();
    Ring::Slot makeSlot();
    Ring::Slot makeCompositeSlot();
    void collectNews();
    bool refresh(Ring::Slot& slot);
    bool composite(Ring::Slot& slot, bool& drawn);
    bool fetchShared(Ring::Slot& slot);
    bool fetchImage(Ring::Slot& slot);

    Connection& x_;
    const PixelRect area_;
    Way way_ = Way::image;
    xcb_render_pictformat_t opaqueFormat_ = 0;  // 32 bits with alpha
    ServerDamage damage_;
    ServerRegion newsRegion_;
    ServerRegion bounds_;
    ServerPicture root_;
    Ring ring_;
    bool news_ = true;  // something was drawn since the last picture
    uint64_t version_ = nextVersion();
};

}  // namespace orvo::platform::x11
