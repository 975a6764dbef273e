// The Render formats that captures need.
#pragma once

#include <xcb/render.h>

#include "ScreenCapture/platform/x11/connection.h"

namespace orvo::platform::x11 {

// 0 for what the server does not have.
struct PictureFormats {
    xcb_render_pictformat_t root = 0;    // of the root window's visual
    xcb_render_pictformat_t argb32 = 0;  // 32 bits a pixel, blue first in memory, alpha last
    // The same with what stands in the place of alpha ignored, for drawables of these depths.
    xcb_render_pictformat_t opaque24 = 0;
    xcb_render_pictformat_t opaque32 = 0;

    xcb_render_pictformat_t opaque(uint8_t depth) const { return depth == 32 ? opaque32 : depth == 24 ? opaque24 : 0; }
};

// Asks the server.
PictureFormats queryPictureFormats(Connection& x);

// The format of a visual in the answer; 0 when it has none.
xcb_render_pictformat_t formatOfVisual(const xcb_render_query_pict_formats_reply_t& formats, xcb_visualid_t visual);

}  // namespace orvo::platform::x11
