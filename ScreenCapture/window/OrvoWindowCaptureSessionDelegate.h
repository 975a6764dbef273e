// Whom the window capture session tells of its frames and of its failures.
#pragma once

#include <cstdint>

#include "ScreenCapture/platform/image.h"

class OrvoWindowCaptureSessionDelegate {
  public:
    virtual ~OrvoWindowCaptureSessionDelegate() = default;
    // One frame, on the capture queue; the buffer is valid during the call only. recordTime: milliseconds since 1970
    // plus the timestamp offset.
    virtual void onCapturedWindowImage(orvo::platform::PixelBuffer& buffer, uint32_t windowID, uint64_t recordTime) = 0;
    // No usable picture for more than three seconds; on the capture queue.
    virtual void captureSessionRuntimeErrorOccur() = 0;
};
