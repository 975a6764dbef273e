// What the server offers: extensions, their versions, Render's formats.
#include "ScreenCapture/platform/x11/extensions.h"

#include <sys/socket.h>
#include <xcb/bigreq.h>
#include <xcb/composite.h>
#include <xcb/damage.h>
#include <xcb/randr.h>
#include <xcb/res.h>
#include <xcb/shape.h>
#include <xcb/shm.h>
#include <xcb/sync.h>
#include <xcb/xfixes.h>
#include <xcb/xinput.h>

#include "ScreenCapture/platform/values.h"
#include "ScreenCapture/platform/x11/connection.h"

namespace orvo::platform::x11 {
namespace {

bool isLocal(int descriptor) {
    sockaddr_storage address{};
    socklen_t length = sizeof(address);
    return getsockname(descriptor, reinterpret_cast<sockaddr*>(&address), &length) == 0 && address.ss_family == AF_UNIX;
}

bool isBgr(const xcb_render_pictforminfo_t& format) {
    const auto& direct = format.direct;
    return format.type == XCB_RENDER_PICT_TYPE_DIRECT && direct.red_mask == 0xFF && direct.red_shift == 16 &&
           direct.green_mask == 0xFF && direct.green_shift == 8 && direct.blue_mask == 0xFF && direct.blue_shift == 0;
}

void take(const xcb_render_pictforminfo_t& format, PictureFormats& found) {
    const auto& direct = format.direct;
    if (!isBgr(format)) return;
    if (format.depth == 32 && direct.alpha_mask == 0xFF && direct.alpha_shift == 24) found.argb32 = format.id;
    if (direct.alpha_mask == 0 && (format.depth == 24 || format.depth == 32)) found.opaque[format.depth] = format.id;
}

// Those of a server whose lowest byte comes first, from its answer. Of other depths than 24 and 32 the first visual's
// is taken, but the root's for the root's depth. A palette's colours are no format.
PictureFormats formatsIn(const xcb_render_query_pict_formats_reply_t& answer, const xcb_screen_t& screen) {
    PictureFormats found;
    std::vector<xcb_render_pictformat_t> palettes;
    for (auto format = xcb_render_query_pict_formats_formats_iterator(&answer); format.rem;
         xcb_render_pictforminfo_next(&format)) {
        take(*format.data, found);
        if (format.data->type != XCB_RENDER_PICT_TYPE_DIRECT) palettes.push_back(format.data->id);
    }
    for (auto each = xcb_render_query_pict_formats_screens_iterator(&answer); each.rem;
         xcb_render_pictscreen_next(&each))
        for (auto depth = xcb_render_pictscreen_depths_iterator(each.data); depth.rem;
             xcb_render_pictdepth_next(&depth))
            for (auto one = xcb_render_pictdepth_visuals_iterator(depth.data); one.rem;
                 xcb_render_pictvisual_next(&one)) {
                const bool isRoot = one.data->visual == screen.root_visual;
                if (depth.data->depth >= found.opaque.size() || contains(palettes, one.data->format)) continue;
                auto& opaque = found.opaque[depth.data->depth];
                if (isRoot) found.root = one.data->format;
                if (opaque == 0 || isRoot) opaque = one.data->format;
            }
    return found;
}

// Asked for all at once, and known before any extension is used: xcb itself would ask and wait without a limit.
bool findExtensions(Connection& x, Extensions& found) {
    xcb_connection_t* const raw = x.raw();
    const std::pair<xcb_extension_t*, Extension*> wanted[] = {
        {&xcb_shm_id, &found.shm},       {&xcb_xfixes_id, &found.xfixes},       {&xcb_damage_id, &found.damage},
        {&xcb_render_id, &found.render}, {&xcb_composite_id, &found.composite}, {&xcb_randr_id, &found.randr},
        {&xcb_shape_id, &found.shape},   {&xcb_input_id, &found.input},         {&xcb_res_id, &found.res},
        {&xcb_sync_id, &found.sync}};
    for (const auto& [id, extension] : wanted) xcb_prefetch_extension_data(raw, id);
    xcb_prefetch_extension_data(raw, &xcb_big_requests_id);
    if (!x.sync()) return false;
    for (const auto& [id, extension] : wanted)
        if (const auto* data = xcb_get_extension_data(raw, id); data && data->present)
            *extension = {data->major_opcode, data->first_event};
    return true;
}

// Several extensions expect a version to be sent before anything else. One wait for all answers.
bool greetExtensions(Connection& x, Extensions& found, PictureFormats& pictureFormats) {
    xcb_connection_t* const raw = x.raw();
    xcb_prefetch_maximum_request_length(raw);
    if (found.xfixes) xcb_discard_reply(raw, xcb_xfixes_query_version(raw, 5, 0).sequence);
    if (found.damage) xcb_discard_reply(raw, xcb_damage_query_version(raw, 1, 1).sequence);
    if (found.render) xcb_discard_reply(raw, xcb_render_query_version(raw, 0, 11).sequence);
    if (found.composite) xcb_discard_reply(raw, xcb_composite_query_version(raw, 0, 4).sequence);
    if (found.input) xcb_discard_reply(raw, xcb_input_xi_query_version(raw, 2, 2).sequence);
    if (found.sync) xcb_discard_reply(raw, xcb_sync_initialize(raw, 3, 1).sequence);
    const unsigned randr = found.randr ? xcb_randr_query_version(raw, 1, 5).sequence : 0;
    const unsigned shm = found.shm ? xcb_shm_query_version(raw).sequence : 0;
    const unsigned formats = found.render ? xcb_render_query_pict_formats(raw).sequence : 0;
    if (!x.sync()) return false;
    if (found.randr) {
        const auto version = x.await<xcb_randr_query_version_reply_t>(randr);
        if (!version || (version->major_version == 1 && version->minor_version < 5)) found.randr = {};
    }
    if (found.shm) {
        const auto version = x.await<xcb_shm_query_version_reply_t>(shm);
        const bool byDescriptor = version && (version->major_version > 1 || version->minor_version >= 2);
        found.sharedMemory = byDescriptor && isLocal(x.descriptor());
        found.sharedPixmaps = found.sharedMemory && version->shared_pixmaps;
    }
    if (found.render) {
        const auto answer = x.await<xcb_render_query_pict_formats_reply_t>(formats);
        if (answer && xcb_get_setup(raw)->image_byte_order == XCB_IMAGE_ORDER_LSB_FIRST)
            pictureFormats = formatsIn(*answer, *x.screen());
    }
    return !x.lost();
}

}  // namespace

bool canRead(const Connection& x, uint8_t depth) {
    const PictureFormats& formats = x.formats();
    if (x.extensions().render && formats.root != 0) return depth < formats.opaque.size() && formats.opaque[depth] != 0;
    return (depth == 24 || depth == 32) && xcb_get_setup(x.raw())->image_byte_order == XCB_IMAGE_ORDER_LSB_FIRST;
}

bool queryExtensions(Connection& x, Extensions& extensions, PictureFormats& formats) {
    return findExtensions(x, extensions) && greetExtensions(x, extensions, formats);
}

}  // namespace orvo::platform::x11
