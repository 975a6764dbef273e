// Objects on the server that are freed with their owner here, and memory shared with it.
#pragma once

#include <xcb/damage.h>
#include <xcb/render.h>
#include <xcb/shm.h>
#include <xcb/xcb.h>
#include <xcb/xfixes.h>

#include <cstddef>
#include <utility>
#include <vector>

#include "ScreenCapture/platform/software/frame.h"
#include "ScreenCapture/platform/x11/connection.h"

namespace orvo::platform::x11 {

// One identifier, freed by its request; the connection must outlive it.
template <auto Free>
class ServerObject {
  public:
    ServerObject() = default;
    // A new identifier; the caller sends the request that creates the object.
    explicit ServerObject(Connection& x) : connection_(x.raw()), id_(xcb_generate_id(connection_)) {}
    ServerObject(ServerObject&& other) noexcept : connection_(other.connection_), id_(std::exchange(other.id_, 0)) {}
    ServerObject& operator=(ServerObject other) noexcept {
        std::swap(connection_, other.connection_);
        std::swap(id_, other.id_);
        return *this;
    }
    ~ServerObject() {
        if (id_) Free(connection_, id_);
    }

    uint32_t id() const { return id_; }
    explicit operator bool() const { return id_ != 0; }

  private:
    xcb_connection_t* connection_ = nullptr;
    uint32_t id_ = 0;
};

using ServerPixmap = ServerObject<xcb_free_pixmap>;
using ServerSegment = ServerObject<xcb_shm_detach>;
using ServerPicture = ServerObject<xcb_render_free_picture>;
using ServerRegion = ServerObject<xcb_xfixes_destroy_region>;
using ServerDamage = ServerObject<xcb_damage_destroy>;

// What a drawable shows, with the windows inside it, to draw from; none without a format.
ServerPicture pictureOf(Connection& x, xcb_drawable_t drawable, xcb_render_pictformat_t format);

inline xcb_rectangle_t rectangle(const PixelRect& area) {
    return {static_cast<int16_t>(area.x), static_cast<int16_t>(area.y), static_cast<uint16_t>(area.width),
            static_cast<uint16_t>(area.height)};
}
// A window's rectangle with its border, from that inside it.
inline PixelRect withBorder(const PixelRect& inner, int border) {
    return {inner.x - border, inner.y - border, inner.width + 2 * border, inner.height + 2 * border};
}
// Adds the rectangles of a region.
void appendRects(const xcb_xfixes_fetch_region_reply_t& reply, std::vector<PixelRect>& rects);

// Memory that the server writes into. The mapping here lives as long as the frame made of it, the segment there as long
// as its owner.
struct SharedMemory {
    software::FrameMemory memory;
    ServerSegment segment;
    xcb_void_cookie_t attached{};  // the server may refuse: ask whether it succeeded, or discard that answer
};
// Without memory when the system refuses.
SharedMemory shareMemory(Connection& x, size_t size);

// Memory for a frame that the server does not share.
software::FrameMemory plainMemory(size_t size);

}  // namespace orvo::platform::x11
