// Frames on servers that cannot draw into this process's memory, or cannot draw: their pixels are sent.
#include <algorithm>
#include <cstring>

#include "ScreenCapture/platform/version.h"
#include "ScreenCapture/platform/x11/compositor.h"

namespace orvo::platform::x11 {
namespace {

using software::Frame;
using software::Region;

// Beyond that many rectangles the box around them is fetched.
constexpr size_t kMaxFetches = 8;

PixelRect boxOf(const Region& region) {
    int left = INT16_MAX, top = INT16_MAX, right = 0, bottom = 0;
    for (const PixelRect& rect : region.rects()) {
        left = std::min(left, rect.x);
        top = std::min(top, rect.y);
        right = std::max(right, rect.x + rect.width);
        bottom = std::max(bottom, rect.y + rect.height);
    }
    return {left, top, right - left, bottom - top};
}

uint8_t* rowOf(Frame& frame, int x, int y) {
    return frame.data() + static_cast<size_t>(y) * frame.bytesPerRow() + static_cast<size_t>(x) * 4;
}

// Rows that lie one after the other.
void copyRows(const uint8_t* from, size_t bytesPerRow, Frame& frame, const PixelRect& to) {
    for (int line = 0; line < to.height; ++line, from += bytesPerRow)
        std::memcpy(rowOf(frame, to.x, to.y + line), from, static_cast<size_t>(to.width) * 4);
}

// Draws a pixel over another as Render does: colours multiplied by alpha, 255 in the place of the result's alpha.
void blend(const uint8_t* from, bool hasAlpha, uint32_t opacity, uint8_t* to) {
    const auto scaled = [](uint32_t value, uint32_t by) { return (value * by + 127) / 255; };
    const uint32_t rest = 255 - scaled(hasAlpha ? from[3] : 255, opacity);
    for (int i = 0; i < 3; ++i)
        to[i] = static_cast<uint8_t>(std::min(255U, scaled(from[i], opacity) + scaled(to[i], rest)));
    to[3] = 0xFF;
}

unsigned requestImage(Connection& x, xcb_drawable_t drawable, const PixelRect& rect) {
    return xcb_get_image(x.raw(), XCB_IMAGE_FORMAT_Z_PIXMAP, drawable, static_cast<int16_t>(rect.x),
                         static_cast<int16_t>(rect.y), static_cast<uint16_t>(rect.width),
                         static_cast<uint16_t>(rect.height), ~0U)
        .sequence;
}

// Null when the server has not sent all of it.
Reply<xcb_get_image_reply_t> receiveImage(Connection& x, unsigned sequence, const PixelRect& rect) {
    auto reply = x.await<xcb_get_image_reply_t>(sequence);
    const int64_t wanted = int64_t{rect.width} * rect.height * 4;
    return reply && xcb_get_image_data_length(reply.get()) >= wanted ? std::move(reply) : nullptr;
}

}  // namespace

// The server packs the rows that it sends. So it can write straight into the frame only where whole rows are fetched,
// padding included; of narrower rectangles it writes into memory beside it, from where they are copied: of a rectangle
// of half the width that moves as many bytes.
bool Compositor::fetchStale(FramePool::Slot& slot) {
    if (slot.fetchedTime >= std::max(laidOutTime_, damagedTime_)) return true;
    Frame& frame = *slot.frame;
    if (slot.fetchedTime < laidOutTime_) slot.stale = Region({0, 0, bounds_.width, bounds_.height});
    if (slot.stale.rects().size() > kMaxFetches) slot.stale = Region(boxOf(slot.stale));
    slot.fetchedTime = 0;
    const size_t bytesPerRow = frame.bytesPerRow();
    const auto isNarrow = [&](const PixelRect& rect) { return static_cast<size_t>(rect.width) * 8 < bytesPerRow; };
    const std::vector<PixelRect>& rects = slot.stale.rects();
    if (slot.segment && !scratch_.segment && std::any_of(rects.begin(), rects.end(), isNarrow)) {
        scratch_ = shareMemory(x_, bytesPerRow * static_cast<size_t>(frame.height()));
        if (!scratch_.memory || !x_.succeeded(scratch_.attached)) return false;
    }
    const xcb_pixmap_t pixmap = frames_->canvasOf(slot).pixmap.id();
    unsigned requests[kMaxFetches] = {};
    size_t offset = 0;
    for (size_t i = 0; i < rects.size(); ++i) {
        PixelRect rect = rects[i];
        if (!slot.segment) {
            requests[i] = requestImage(x_, pixmap, rect);
            continue;
        }
        const bool narrow = isNarrow(rect);
        if (!narrow) rect = {0, rect.y, static_cast<int>(bytesPerRow / 4), rect.height};
        const size_t at = narrow ? offset : bytesPerRow * static_cast<size_t>(rect.y);
        if (narrow) offset += static_cast<size_t>(rect.width) * 4 * static_cast<size_t>(rect.height);
        requests[i] = xcb_shm_get_image(x_.raw(), pixmap, static_cast<int16_t>(rect.x), static_cast<int16_t>(rect.y),
                                        static_cast<uint16_t>(rect.width), static_cast<uint16_t>(rect.height), ~0U,
                                        XCB_IMAGE_FORMAT_Z_PIXMAP, narrow ? scratch_.segment.id() : slot.segment.id(),
                                        static_cast<uint32_t>(at))
                          .sequence;
    }
    bool isComplete = true;
    offset = 0;
    for (size_t i = 0; i < rects.size(); ++i) {
        const PixelRect& rect = rects[i];
        const size_t rowSize = static_cast<size_t>(rect.width) * 4;
        if (!slot.segment) {
            const auto image = receiveImage(x_, requests[i], rect);
            if (image) copyRows(xcb_get_image_data(image.get()), rowSize, frame, rect);
            isComplete &= image != nullptr;
            continue;
        }
        isComplete &= x_.await<xcb_shm_get_image_reply_t>(requests[i]) != nullptr;
        if (!isComplete || !isNarrow(rect)) continue;
        copyRows(scratch_.memory.get() + offset, rowSize, frame, rect);
        offset += rowSize * static_cast<size_t>(rect.height);
    }
    if (!isComplete) return false;
    slot.stale.clear();
    slot.fetchedTime = time_;
    return true;
}

// Without Render: every layer's pixels whenever anything has changed, put together here, back to front.
bool Compositor::fetchLayers(FramePool::Slot& slot) {
    if (std::exchange(hasDamage_, false)) {
        version_ = nextVersion();
        changedSince_ = 0;
    }
    if (slot.fetchedTime >= std::max(laidOutTime_, damagedTime_)) return true;
    slot.fetchedTime = 0;
    Frame& frame = *slot.frame;
    std::vector<unsigned> requests;
    for (const auto& part : parts_) {
        requests.push_back(0);
        if (!part->window || part->visible.empty()) continue;
        part->window->requestUnknown();
        hasUnknown_ |= part->window->mayBeUnknown();
        requests.back() =
            requestImage(x_, part->window->drawable(), software::moved(boxOf(part->visible), -part->dx, -part->dy));
    }
    std::memset(frame.data(), 0, frame.bytesPerRow() * static_cast<size_t>(frame.height()));
    for (size_t i = parts_.size(); i-- > 0;) {
        if (requests[i] == 0) continue;
        const Part& part = *parts_[i];
        const PixelRect box = boxOf(part.visible);
        const int border = part.window->border();
        Region known = part.visible;
        for (const PixelRect& rect : part.window->receiveUnknown())
            known.subtract(software::moved(rect, part.dx + border, part.dy + border));
        const auto image = receiveImage(x_, requests[i], box);
        if (!image) return false;
        const bool blends = part.alpha == Layer::Alpha::blended, hasAlpha = part.window->depth() == 32;
        for (const PixelRect& rect : known.rects())
            for (int y = rect.y; y < rect.y + rect.height; ++y)
                for (int x = rect.x; x < rect.x + rect.width; ++x) {
                    const uint8_t* const from =
                        xcb_get_image_data(image.get()) + ((y - box.y) * box.width + x - box.x) * 4;
                    uint8_t* const to = rowOf(frame, x, y);
                    if (blends) {
                        blend(from, hasAlpha, layers_[i].opacity >> 8, to);
                        continue;
                    }
                    std::memcpy(to, from, 4);
                    if (!hasAlpha || part.alpha == Layer::Alpha::ignored) to[3] = 0xFF;
                }
    }
    slot.fetchedTime = time_;
    return true;
}

}  // namespace orvo::platform::x11
