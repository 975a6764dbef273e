// What one tick of the window capture session reads, as one value: a tick sees no half change.
#pragma once

#include <cstdint>
#include <vector>

#include "ScreenCapture/platform/values.h"

// Frames a second; a value outside the limits means the default.
constexpr int kMinFps = 5;
constexpr int kMaxFps = 30;
constexpr int kDefaultFps = 15;

struct CaptureOptions {
    uint64_t sequence = 0;                 // of nextVersion(): equal ones are equal options
    std::vector<uint32_t> targetWindows;   // windows and displays, captured in this order on each tick
    std::vector<uint32_t> excludeWindows;  // left out of composed pictures; a number may stand there more than once
    uint32_t mode = 1;
    uint32_t resolutionMode = 0;
    orvo::platform::Size resolutionSize;  // pixels; a zero in either keeps the source's size
    orvo::platform::Rect cropRect;        // pixels, origin top-left; all zero means no cropping
    bool bVisible = false;                // paint the cursor
};
