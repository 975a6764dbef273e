// The device path on x11: one connection and one queue a run.
#pragma once

#include <memory>

#include "ScreenCapture/platform/display_capture.h"

namespace orvo::platform::x11 {

std::shared_ptr<DisplayCapture> makeDisplayCapture();

}  // namespace orvo::platform::x11
