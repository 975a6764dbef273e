// Frames that the server draws into, and the screen that it draws from.
#pragma once

#include "ScreenCapture/platform/software/frame.h"
#include "ScreenCapture/platform/x11/server_objects.h"

namespace orvo::platform::x11 {

// What stands behind such a frame on the server.
struct SharedFrame {
    ServerSegment segment;
    ServerPixmap pixmap;    // 32 bits a pixel, in the segment
    ServerPicture picture;  // the pixmap's
};

// A frame whose rows begin aligned to 64 bytes, with what stands behind it. argb32: a format of 32 bits with alpha.
// Null when the server or the system refuses. Needs shared pixmaps and Render.
Ref<software::Frame> makeSharedFrame(Connection& x, int width, int height, xcb_render_pictformat_t argb32,
                                     SharedFrame& backing);

// The root window with what its windows show, to draw from. format: of the root's visual.
ServerPicture pictureOfRoot(Connection& x, xcb_render_pictformat_t format);

}  // namespace orvo::platform::x11
