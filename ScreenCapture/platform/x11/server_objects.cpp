// Objects on the server, and memory shared with it.
#include "ScreenCapture/platform/x11/server_objects.h"

#include <sys/mman.h>
#include <unistd.h>

namespace orvo::platform::x11 {
namespace {

software::FrameMemory map(size_t size, int flags, int descriptor) {
    void* bytes = mmap(nullptr, size, PROT_READ | PROT_WRITE, flags, descriptor, 0);
    if (bytes == MAP_FAILED) return {};
    return {static_cast<uint8_t*>(bytes), [size](uint8_t* mapped) { munmap(mapped, size); }};
}

}  // namespace

ServerPicture pictureOf(Connection& x, xcb_drawable_t drawable, xcb_render_pictformat_t format) {
    if (format == 0) return {};
    ServerPicture picture(x);
    const uint32_t includeInferiors = XCB_SUBWINDOW_MODE_INCLUDE_INFERIORS;
    xcb_render_create_picture(x.raw(), picture.id(), drawable, format, XCB_RENDER_CP_SUBWINDOW_MODE, &includeInferiors);
    return picture;
}

void appendRects(const xcb_xfixes_fetch_region_reply_t& reply, std::vector<PixelRect>& rects) {
    const xcb_rectangle_t* all = xcb_xfixes_fetch_region_rectangles(&reply);
    for (int i = 0; i < xcb_xfixes_fetch_region_rectangles_length(&reply); ++i)
        rects.push_back({all[i].x, all[i].y, all[i].width, all[i].height});
}

SharedMemory shareMemory(Connection& x, size_t size) {
    const int descriptor = memfd_create("orvo frame", MFD_CLOEXEC);
    if (descriptor < 0) return {};
    SharedMemory shared;
    if (ftruncate(descriptor, static_cast<off_t>(size)) == 0) shared.memory = map(size, MAP_SHARED, descriptor);
    if (!shared.memory) {
        close(descriptor);
        return {};
    }
    shared.segment = ServerSegment(x);
    // xcb closes the descriptor when it has sent it.
    shared.attached = xcb_shm_attach_fd_checked(x.raw(), shared.segment.id(), descriptor, 0);
    return shared;
}

software::FrameMemory plainMemory(size_t size) {
    return map(size, MAP_PRIVATE | MAP_ANONYMOUS, -1);
}

}  // namespace orvo::platform::x11
