// Frames that the server draws into, and the screen that it draws from.
#include "ScreenCapture/platform/x11/shared_frame.h"

namespace orvo::platform::x11 {

Ref<software::Frame> makeSharedFrame(Connection& x, int width, int height, xcb_render_pictformat_t argb32,
                                     SharedFrame& backing) {
    constexpr int kPixelsPerLine = 16;  // 64 bytes
    const auto rowPixels = static_cast<uint16_t>((width + kPixelsPerLine - 1) / kPixelsPerLine * kPixelsPerLine);
    const size_t bytesPerRow = static_cast<size_t>(rowPixels) * 4;
    auto shared = shareMemory(x, software::imageMemory(height, bytesPerRow));
    if (!shared.memory.bytes()) return nullptr;
    backing.segment = std::move(shared.segment);
    backing.pixmap = ServerPixmap(x);
    const auto created = xcb_shm_create_pixmap_checked(x.raw(), backing.pixmap.id(), x.root(), rowPixels,
                                                       static_cast<uint16_t>(height), 32, backing.segment.id(), 0);
    backing.picture = ServerPicture(x);
    xcb_render_create_picture(x.raw(), backing.picture.id(), backing.pixmap.id(), argb32, 0, nullptr);
    xcb_discard_reply(x.raw(), shared.attached.sequence);  // without it there is no pixmap either
    if (!x.succeeded(created)) return nullptr;
    return makeCounted<software::Frame>(std::move(shared.memory), width, height, bytesPerRow);
}

ServerPicture pictureOfRoot(Connection& x, xcb_render_pictformat_t format) {
    ServerPicture root(x);
    const uint32_t includeInferiors = XCB_SUBWINDOW_MODE_INCLUDE_INFERIORS;
    xcb_render_create_picture(x.raw(), root.id(), x.root(), format, XCB_RENDER_CP_SUBWINDOW_MODE, &includeInferiors);
    return root;
}

}  // namespace orvo::platform::x11
