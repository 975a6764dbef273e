// The Render formats that captures need.
#include "ScreenCapture/platform/x11/picture_formats.h"

namespace orvo::platform::x11 {
namespace {

bool isBgr(const xcb_render_pictforminfo_t& format) {
    const auto& direct = format.direct;
    return format.type == XCB_RENDER_PICT_TYPE_DIRECT && direct.red_mask == 0xFF && direct.red_shift == 16 &&
           direct.green_mask == 0xFF && direct.green_shift == 8 && direct.blue_mask == 0xFF && direct.blue_shift == 0;
}

void take(const xcb_render_pictforminfo_t& format, PictureFormats& found) {
    const auto& direct = format.direct;
    if (!isBgr(format)) return;
    if (format.depth == 32 && direct.alpha_mask == 0xFF && direct.alpha_shift == 24) found.argb32 = format.id;
    if (format.depth == 32 && direct.alpha_mask == 0) found.opaque32 = format.id;
    if (format.depth == 24 && direct.alpha_mask == 0) found.opaque24 = format.id;
}

// 0 when it has none.
xcb_render_pictformat_t formatOfVisual(const xcb_render_query_pict_formats_reply_t& formats, xcb_visualid_t visual) {
    for (auto screen = xcb_render_query_pict_formats_screens_iterator(&formats); screen.rem;
         xcb_render_pictscreen_next(&screen))
        for (auto depth = xcb_render_pictscreen_depths_iterator(screen.data); depth.rem;
             xcb_render_pictdepth_next(&depth))
            for (auto one = xcb_render_pictdepth_visuals_iterator(depth.data); one.rem;
                 xcb_render_pictvisual_next(&one))
                if (one.data->visual == visual) return one.data->format;
    return 0;
}

}  // namespace

PictureFormats formatsIn(const xcb_render_query_pict_formats_reply_t& answer, xcb_visualid_t rootVisual) {
    PictureFormats found;
    for (auto format = xcb_render_query_pict_formats_formats_iterator(&answer); format.rem;
         xcb_render_pictforminfo_next(&format))
        take(*format.data, found);
    found.root = formatOfVisual(answer, rootVisual);
    return found;
}

}  // namespace orvo::platform::x11
