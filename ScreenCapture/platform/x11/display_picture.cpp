// One picture of a display for a picker.
#include "ScreenCapture/platform/x11/display_picture.h"

#include <utility>

#include "ScreenCapture/platform/x11/compositor.h"

namespace orvo::platform::x11 {
namespace {

bool canHalve(const PixelRect& area, int neededWidth) {
    return area.width % 2 == 0 && area.height % 2 == 0 && area.width / 2 >= neededWidth;
}

// Draws an area of one picture at half its width and height; in the middle of four pixels the filter gives their mean.
xcb_void_cookie_t drawHalf(Connection& x, const ServerPicture& from, const PixelRect& area, const ServerPicture& to) {
    constexpr xcb_render_fixed_t kOne = 1 << 16;
    constexpr char kFilter[] = "bilinear";
    xcb_render_set_picture_transform(x.raw(), from.id(),
                                     {2 * kOne, 0, area.x * kOne, 0, 2 * kOne, area.y * kOne, 0, 0, kOne});
    xcb_render_set_picture_filter(x.raw(), from.id(), sizeof kFilter - 1, kFilter, 0, nullptr);
    return xcb_render_composite_checked(x.raw(), XCB_RENDER_PICT_OP_SRC, from.id(), XCB_NONE, to.id(), 0, 0, 0, 0, 0, 0,
                                        static_cast<uint16_t>(area.width / 2), static_cast<uint16_t>(area.height / 2));
}

// Null when the server cannot, or refuses.
Ref<Image> halvedPicture(Connection& x, PixelRect area, int neededWidth) {
    const PictureFormats& formats = x.formats();
    if (!x.extensions().render || !hasSharedPixmaps(x) || !formats.root || !formats.opaque32) return nullptr;
    ServerPicture from = pictureOf(x, x.root(), formats.root);
    ServerPixmap between;
    while (true) {
        const PixelRect half{0, 0, area.width / 2, area.height / 2};
        if (!canHalve(half, neededWidth)) break;
        ServerPixmap pixmap(x);
        xcb_create_pixmap(x.raw(), 32, pixmap.id(), x.root(), static_cast<uint16_t>(half.width),
                          static_cast<uint16_t>(half.height));
        ServerPicture picture(x);
        xcb_render_create_picture(x.raw(), picture.id(), pixmap.id(), formats.opaque32, 0, nullptr);
        // An error shows in the last step, which has nothing to draw from then.
        xcb_discard_reply(x.raw(), drawHalf(x, from, area, picture).sequence);
        from = std::move(picture);
        between = std::move(pixmap);
        area = half;
    }
    FramePool frames(x, {0, 0, area.width / 2, area.height / 2}, true);
    FramePool::Slot* const slot = frames.acquire();
    if (!slot || !frames.sharesPixmaps()) return nullptr;
    if (!x.succeeded(drawHalf(x, from, area, slot->canvas.picture))) return nullptr;
    slot->frame->makeOpaque();
    return Ref<Image>(slot->frame);
}

}  // namespace

Shot pictureOfDisplay(Connection& x, const PixelRect& area, int neededWidth) {
    if (canHalve(area, neededWidth))
        if (auto picture = halvedPicture(x, area, neededWidth)) return picture;
    RedirectedWindows windows(x);
    return Compositor(windows).take(area, {layerOfRoot(x)}, {});
}

}  // namespace orvo::platform::x11
