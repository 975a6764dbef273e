// Has a window paint itself again, and finds out what of it the server itself paints.
#pragma once

#include <xcb/damage.h>
#include <xcb/xcb.h>
#include <xcb/xfixes.h>

#include "ScreenCapture/platform/x11/connection.h"

namespace orvo::platform::x11 {

// The window, redirected, and all windows inside it get an Expose event. What the server paints of them as
// their background at any exposure is taken away from unknown; what they show stays as it is. The damage is empty
// afterwards. Other captures, which see this as damage, are sent a message about it and its frame,
// if that is not 0. scratch: a region to write over. Waits for each level of windows. Answers the request that ended
// it: what happened before has no part in the damage from then on.
unsigned requestRepaint(Connection& x, xcb_window_t window, xcb_window_t frame, xcb_damage_damage_t damage,
                        xcb_xfixes_region_t unknown, xcb_xfixes_region_t scratch);

// The window that another connection's message of that kind is about; 0 for any other event.
xcb_window_t repaintRequestedByOther(const Connection& x, const xcb_generic_event_t& event);

}  // namespace orvo::platform::x11
