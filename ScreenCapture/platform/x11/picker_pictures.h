// Pictures for a picker: of many windows, and of a display.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "ScreenCapture/platform/window_server.h"
#include "ScreenCapture/platform/x11/server.h"

namespace orvo::platform::x11 {

// On the second connection, which is open while there is a batch: pictures wait for windows to repaint.
std::unique_ptr<PictureBatch> makePictureBatch(std::vector<uint32_t> windows);

// The area of the root window now, opaque, halved as often as that leaves the width at least needed. The server halves
// it: memory to share comes at its price, which is paid for each page that is touched first, here and there.
Shot pictureOfDisplay(Server& server, Server::Use& x, const PixelRect& area, int neededWidth);

}  // namespace orvo::platform::x11
