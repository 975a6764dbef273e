// Whether the user lets this process record the screen.
#pragma once

#include <CoreGraphics/CoreGraphics.h>

namespace orvo::platform::macos {

// Can be asked since 11.0. Before, a picture shows what is permitted.
inline bool isRecordingPermitted() {
    if (@available(macOS 11.0, *)) return CGPreflightScreenCaptureAccess();
    return true;
}

}  // namespace orvo::platform::macos
