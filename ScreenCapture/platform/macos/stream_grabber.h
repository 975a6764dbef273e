// The pictures of one target by a stream of ScreenCaptureKit, 14.0 and later.
#pragma once

#include <memory>

#include "ScreenCapture/platform/window_server.h"

namespace orvo::platform::macos {

// The stream starts at the first question and ends with the grabber. Until it has brought a picture, and for a
// rectangle that reaches over several displays, single pictures are taken. One that the system or the user ended stays
// ended.
std::unique_ptr<Grabber> makeStreamGrabber(uint32_t target);

}  // namespace orvo::platform::macos
