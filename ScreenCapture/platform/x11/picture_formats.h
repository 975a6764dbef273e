// The Render formats that captures need.
#pragma once

#include <xcb/render.h>

#include <cstdint>

namespace orvo::platform::x11 {

// 0 for what the server does not have, or has with its bytes the other way round.
struct PictureFormats {
    xcb_render_pictformat_t root = 0;    // of the root window's visual
    xcb_render_pictformat_t argb32 = 0;  // 32 bits a pixel, blue first in memory, alpha last
    // The same with what stands in the place of alpha ignored, for drawables of these depths.
    xcb_render_pictformat_t opaque24 = 0;
    xcb_render_pictformat_t opaque32 = 0;

    xcb_render_pictformat_t opaque(uint8_t depth) const { return depth == 32 ? opaque32 : depth == 24 ? opaque24 : 0; }
};

// Those of a server whose lowest byte comes first, from its answer.
PictureFormats formatsIn(const xcb_render_query_pict_formats_reply_t& answer, xcb_visualid_t rootVisual);

}  // namespace orvo::platform::x11
