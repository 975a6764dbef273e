// What the server offers: extensions, their versions, Render's formats.
#pragma once

#include <xcb/render.h>

#include <array>
#include <cstdint>

namespace orvo::platform::x11 {

class Connection;

struct Extension {
    uint8_t opcode = 0;  // 0: the server does not have it
    uint8_t firstEvent = 0;
    explicit operator bool() const { return opcode != 0; }
    // Whether the event is its own, by the server itself; number: XCB_..._NOTIFY.
    bool sent(const xcb_generic_event_t& event, uint8_t number) const {
        return opcode != 0 && event.response_type == firstEvent + number;
    }
};

// What the server offers beside the core protocol.
struct Extensions {
    Extension shm, xfixes, damage, render, composite, randr, shape, input, res, sync;
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
