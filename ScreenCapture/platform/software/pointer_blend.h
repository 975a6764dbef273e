// The pointer as the device path shows it: blended at its place, with a ring around it while a button is down.
#pragma once

#include "ScreenCapture/platform/software/bitmap.h"
#include "ScreenCapture/platform/software/frame.h"

namespace orvo::platform::software {

// A ring in black and white, so that it shows on every ground. Its middle pixel lies on the pointer.
Ref<MemoryBitmap> makeClickRing();

// Blends a picture (ARGB, colours multiplied by alpha) over an opaque frame, its top left corner at a pixel of it,
// through Frame::paint(). What lies outside the frame is left out; the frame stays opaque.
void blend(Frame& frame, const Image& picture, int left, int top);

}  // namespace orvo::platform::software
