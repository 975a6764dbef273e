// The pointer as the device path shows it: blended at its place, with a ring around it while a button is down.
#pragma once

#include <cstdint>
#include <vector>

#include "ScreenCapture/platform/software/frame.h"

namespace orvo::platform::software {

// A small picture that belongs to a point.
struct Sprite {
    int width = 0;
    int height = 0;
    int hotX = 0;  // the pixel of the picture that lies on the point
    int hotY = 0;
    std::vector<uint32_t> pixels;  // ARGB, colours multiplied by alpha
};

// A ring in black and white, so that it shows on every ground.
Sprite makeClickRing();

// Blends a sprite over an opaque frame with its hot spot at a pixel of it, through Frame::paint(). What lies outside
// the frame is left out; the frame stays opaque.
void blendSprite(Frame& frame, const Sprite& sprite, int x, int y);

}  // namespace orvo::platform::software
