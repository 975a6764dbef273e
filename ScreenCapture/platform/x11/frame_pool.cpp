// The frames that a compositor hands out.
#include "ScreenCapture/platform/x11/frame_pool.h"

#include <algorithm>
#include <cstdlib>
#include <string_view>
#include <utility>

namespace orvo::platform::x11 {
namespace {

// Rows of 64 bytes and more.
uint16_t rowPixels(const PixelRect& size) {
    constexpr int kStep = 16;
    return static_cast<uint16_t>((size.width + kStep - 1) / kStep * kStep);
}

}  // namespace

bool hasSharedPixmaps(const Connection& x) {
    const char* const setting = getenv("ORVO_SHARED_PIXMAPS");
    return x.extensions().sharedPixmaps && !(setting && std::string_view(setting) == "0");
}

FramePool::FramePool(Connection& x, const PixelRect& size, bool draws)
    : x_(x),
      size_(size),
      draws_(draws),
      sharesPixmaps_(draws && hasSharedPixmaps(x)),
      sharesMemory_(draws && x.extensions().sharedMemory) {
    slots_.reserve(kMaxFrames);
}

// The count of a frame's owners is its lock. The pool holds one reference, and hands out others only on this thread; so
// a count of one, once seen here, cannot rise behind its back. Whoever held the frame read it before giving its
// reference up: that release and the load in unique() pair, and the writes that follow here come after those reads.
FramePool::Slot* FramePool::acquire() {
    const auto isFree = [](const auto& slot) { return slot->frame->unique(); };
    const auto free = std::find_if(slots_.begin(), slots_.end(), isFree);
    if (free != slots_.end())
        std::rotate(slots_.begin(), free, free + 1);
    else if (full() || !addSlot())
        return nullptr;
    slots_.front()->frame->restore();
    return slots_.front().get();
}

bool FramePool::addSlot() {
    auto slot = std::make_unique<Slot>();
    const size_t bytesPerRow = size_t{rowPixels(size_)} * 4;
    const size_t size = software::imageMemory(size_.height, bytesPerRow);
    SharedMemory shared;
    if (sharesMemory_) shared = shareMemory(x_, size);
    if (shared.memory && sharesPixmaps_) {
        slot->canvas.pixmap = ServerPixmap(x_);
        const auto created =
            xcb_shm_create_pixmap_checked(x_.raw(), slot->canvas.pixmap.id(), x_.root(), rowPixels(size_),
                                          static_cast<uint16_t>(size_.height), 32, shared.segment.id(), 0);
        addPicture(slot->canvas);
        if (!x_.succeeded(created)) slot->canvas = {};
    }
    // What was refused once would be asked for in vain for each frame.
    sharesPixmaps_ = static_cast<bool>(slot->canvas.picture);
    // Without the segment there is no pixmap either.
    if (!shared.memory)
        sharesMemory_ = false;
    else if (sharesPixmaps_)
        xcb_discard_reply(x_.raw(), shared.attached.sequence);
    else
        sharesMemory_ = x_.succeeded(shared.attached);
    if (sharesMemory_)
        slot->segment = std::move(shared.segment);
    else
        shared.memory = plainMemory(size);
    if (draws_ && !sharesPixmaps_ && !own_.picture) {
        own_.pixmap = ServerPixmap(x_);
        const auto created = xcb_create_pixmap_checked(x_.raw(), 32, own_.pixmap.id(), x_.root(), rowPixels(size_),
                                                       static_cast<uint16_t>(size_.height));
        addPicture(own_);
        if (!x_.succeeded(created)) own_ = {};
    }
    const bool isDrawn = !draws_ || sharesPixmaps_ || own_.picture;
    if (x_.lost() || !shared.memory || !isDrawn) return false;
    slot->frame = makeCounted<software::Frame>(std::move(shared.memory), size_.width, size_.height, bytesPerRow);
    slots_.insert(slots_.begin(), std::move(slot));
    return true;
}

void FramePool::addPicture(Canvas& canvas) {
    canvas.picture = ServerPicture(x_);
    xcb_render_create_picture(x_.raw(), canvas.picture.id(), canvas.pixmap.id(), x_.formats().argb32, 0, nullptr);
    canvas.stale = ServerRegion(x_);
    xcb_xfixes_create_region(x_.raw(), canvas.stale.id(), 0, nullptr);
}

}  // namespace orvo::platform::x11
