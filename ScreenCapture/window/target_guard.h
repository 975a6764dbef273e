// What fails for one target is noted and leaves the other targets alone: nothing leaves the capture queue.
#pragma once

#include <cstdint>

#include "ScreenCapture/capture/capture_statistics.h"
#include "ScreenCapture/platform/contained.h"

// Result: whether the work ran to its end.
template <typename Work>
bool guardTarget(CaptureStatistics& statistics, uint32_t windowID, Work&& work) {
    return orvo::platform::contained(
        work, [&](const char* /*name*/, const char* reason) { statistics.note(reason, windowID); });
}
