// Pictures of an area of the root window, taken again and again.
#include "ScreenCapture/platform/x11/display_grabber.h"

#include <cstring>
#include <utility>

namespace orvo::platform::x11 {
namespace {

// One being delivered, one waiting, one being written, and five that a host may keep.
constexpr size_t kMostFrames = 8;

xcb_rectangle_t whole(const PixelRect& area) {
    return {0, 0, static_cast<uint16_t>(area.width), static_cast<uint16_t>(area.height)};
}

}  // namespace

DisplayGrabber::DisplayGrabber(Connection& x, const PixelRect& area) : x_(x), area_(area), ring_(kMostFrames) {
    findWay();
    if (!x_.extensions().damage || !x_.extensions().xfixes) return;
    damage_ = ServerDamage(x_);
    xcb_damage_create(x_.raw(), damage_.id(), x_.root(), XCB_DAMAGE_REPORT_LEVEL_NON_EMPTY);
    newsRegion_ = ServerRegion(x_);
    xcb_xfixes_create_region(x_.raw(), newsRegion_.id(), 0, nullptr);
    bounds_ = ServerRegion(x_);
    const xcb_rectangle_t all = whole(area_);
    xcb_xfixes_create_region(x_.raw(), bounds_.id(), 1, &all);
}

void DisplayGrabber::findWay() {
    const Extensions& extensions = x_.extensions();
    if (extensions.sharedMemory) way_ = Way::sharedImage;
    if (!extensions.sharedPixmaps || !extensions.render || !extensions.xfixes) return;
    const PictureFormats& formats = x_.formats();
    if (!formats.root || !formats.argb32) return;
    way_ = Way::composite;
    opaqueFormat_ = formats.argb32;
    root_ = pictureOfRoot(x_, formats.root);
}

bool DisplayGrabber::handle(const xcb_generic_event_t& event) {
    if (!damage_ || (event.response_type & 0x7f) != x_.extensions().damageEvent + XCB_DAMAGE_NOTIFY) return false;
    if (reinterpret_cast<const xcb_damage_notify_event_t&>(event).damage != damage_.id()) return false;
    news_ = true;
    return true;
}

Shot DisplayGrabber::take() {
    NoImage why = NoImage::none;
    if (auto frame = takeFrame(why)) return Ref<Image>(std::move(frame));
    return why;
}

Ref<software::Frame> DisplayGrabber::takeFrame(NoImage& why) {
    Ring::Slot* slot = ring_.idle([this] { return makeSlot(); });
    if (slot && refresh(*slot)) return slot->frame;
    why = x_.lost() ? NoImage::noServer : !slot && ring_.full() ? NoImage::noBuffer : NoImage::failed;
    return nullptr;
}

DisplayGrabber::Ring::Slot DisplayGrabber::makeSlot() {
    if (way_ == Way::composite) {
        auto slot = makeCompositeSlot();
        if (slot.frame || x_.lost()) return slot;
        way_ = Way::sharedImage;
    }
    const size_t bytesPerRow = static_cast<size_t>(area_.width) * 4;
    const size_t size = software::imageMemory(area_.height, bytesPerRow);
    Ring::Slot slot;
    software::FrameMemory memory;
    if (way_ == Way::sharedImage) {
        auto shared = shareMemory(x_, size);
        if (shared.memory.bytes() && x_.succeeded(shared.attached)) {
            memory = std::move(shared.memory);
            slot.backing.segment = std::move(shared.segment);
        } else {
            way_ = Way::image;
        }
    }
    if (way_ == Way::image) memory = plainMemory(size);
    if (memory.bytes())
        slot.frame = makeCounted<software::Frame>(std::move(memory), area_.width, area_.height, bytesPerRow);
    return slot;
}

DisplayGrabber::Ring::Slot DisplayGrabber::makeCompositeSlot() {
    Ring::Slot slot;
    slot.frame = makeSharedFrame(x_, area_.width, area_.height, opaqueFormat_, slot.backing);
    slot.backing.stale = ServerRegion(x_);
    const xcb_rectangle_t all = whole(area_);
    xcb_xfixes_create_region(x_.raw(), slot.backing.stale.id(), 1, &all);
    return slot;
}

// What was drawn since the last picture, cut to the area, becomes stale in every buffer.
void DisplayGrabber::collectNews() {
    if (damage_) {
        xcb_damage_subtract(x_.raw(), damage_.id(), XCB_NONE, newsRegion_.id());
        xcb_xfixes_translate_region(x_.raw(), newsRegion_.id(), static_cast<int16_t>(-area_.x),
                                    static_cast<int16_t>(-area_.y));
        xcb_xfixes_intersect_region(x_.raw(), newsRegion_.id(), bounds_.id(), newsRegion_.id());
    }
    for (const auto& slot : ring_.slots()) {
        Backing& backing = slot->backing;
        backing.isStale = true;
        if (way_ == Way::composite && damage_)
            xcb_xfixes_union_region(x_.raw(), backing.stale.id(), newsRegion_.id(), backing.stale.id());
    }
}

bool DisplayGrabber::refresh(Ring::Slot& slot) {
    bool drawn = std::exchange(news_, false) || !damage_;
    const uint64_t versionBefore = version_;
    if (drawn) {
        collectNews();
        version_ = nextVersion();  // kept when drawing fails: the pixels are other ones all the same
    }
    if (slot.backing.isStale) {
        const bool done = way_ == Way::composite     ? composite(slot, drawn)
                          : way_ == Way::sharedImage ? fetchShared(slot)
                                                     : fetchImage(slot);
        if (!done) return false;
        slot.backing.isStale = false;
    }
    if (!drawn) version_ = versionBefore;
    slot.frame->setVersion(version_);
    return true;
}

// Has the server copy what is stale. drawn: there were news; false afterwards when they lie outside the area.
bool DisplayGrabber::composite(Ring::Slot& slot, bool& drawn) {
    const Backing& backing = slot.backing;
    if (damage_) xcb_xfixes_set_picture_clip_region(x_.raw(), backing.picture.id(), backing.stale.id(), 0, 0);
    xcb_render_composite(x_.raw(), XCB_RENDER_PICT_OP_SRC, root_.id(), XCB_NONE, backing.picture.id(),
                         static_cast<int16_t>(area_.x), static_cast<int16_t>(area_.y), 0, 0, 0, 0,
                         static_cast<uint16_t>(area_.width), static_cast<uint16_t>(area_.height));
    xcb_xfixes_set_region(x_.raw(), backing.stale.id(), 0, nullptr);
    if (!drawn || !damage_) return x_.sync();
    const auto cookie = xcb_xfixes_fetch_region(x_.raw(), newsRegion_.id());
    const auto news = x_.await<xcb_xfixes_fetch_region_reply_t>(cookie.sequence);
    if (!news) return false;
    drawn = news->extents.width > 0 && news->extents.height > 0;
    return true;
}

bool DisplayGrabber::fetchShared(Ring::Slot& slot) {
    const auto cookie =
        xcb_shm_get_image(x_.raw(), x_.root(), static_cast<int16_t>(area_.x), static_cast<int16_t>(area_.y),
                          static_cast<uint16_t>(area_.width), static_cast<uint16_t>(area_.height), ~0U,
                          XCB_IMAGE_FORMAT_Z_PIXMAP, slot.backing.segment.id(), 0);
    const auto reply = x_.await<xcb_shm_get_image_reply_t>(cookie.sequence);
    if (!reply || reply->size != slot.frame->bytesPerRow() * static_cast<size_t>(area_.height)) return false;
    slot.frame->makeOpaque();
    return true;
}

bool DisplayGrabber::fetchImage(Ring::Slot& slot) {
    const auto cookie = xcb_get_image(x_.raw(), XCB_IMAGE_FORMAT_Z_PIXMAP, x_.root(), static_cast<int16_t>(area_.x),
                                      static_cast<int16_t>(area_.y), static_cast<uint16_t>(area_.width),
                                      static_cast<uint16_t>(area_.height), ~0U);
    const auto reply = x_.await<xcb_get_image_reply_t>(cookie.sequence);
    const size_t size = slot.frame->bytesPerRow() * static_cast<size_t>(area_.height);
    if (!reply || static_cast<size_t>(xcb_get_image_data_length(reply.get())) < size) return false;
    std::memcpy(slot.frame->data(), xcb_get_image_data(reply.get()), size);
    slot.frame->makeOpaque();
    return true;
}

}  // namespace orvo::platform::x11
