// What the server offers: extensions, their versions, Render's formats.
#pragma once

#include <xcb/render.h>

#include <array>
#include <cstdint>

namespace orvo::platform::x11 {

class Connection;

// Opcodes of what the server offers beside the core protocol, each 0 when it does not.
struct Extensions {
    uint8_t shm = 0, xfixes = 0, damage = 0, render = 0, composite = 0, randr = 0, shape = 0, input = 0, res = 0,
            sync = 0;
    uint8_t xfixesEvent = 0, damageEvent = 0, randrEvent = 0, shapeEvent = 0, syncEvent = 0;  // first event of each
    bool sharedPixmaps = false;  // memory given by descriptor can back pixmaps
    bool sharedMemory = false;   // memory can be given by descriptor
};

// The Render formats that captures need, each 0 when the server does not have it, or has it with its bytes the other
// way round.
struct PictureFormats {
    xcb_render_pictformat_t root = 0;    // of the root window's visual
    xcb_render_pictformat_t argb32 = 0;  // 32 bits a pixel, blue first in memory, alpha last
    // Of drawables by their depth, with what stands in the place of alpha ignored. The server converts between them.
    std::array<xcb_render_pictformat_t, 33> opaque{};
};

// Whether pixels of a drawable of that depth can be had: Render converts them, or they are what frames hold.
bool canRead(const Connection& x, uint8_t depth);

// Asks for all of it, on a new connection. False when that is lost.
bool queryExtensions(Connection& x, Extensions& extensions, PictureFormats& formats);

}  // namespace orvo::platform::x11
