// The names that window managers and clients agree on, as numbers of one server; and that of the message by which a
// capture reports to others that it has asked a window to paint itself again.
#pragma once

#include <xcb/xcb.h>

#include "ScreenCapture/platform/x11/properties.h"

namespace orvo::platform::x11 {

class Connection;

// clang-format off
#define ORVO_X11_ATOMS(X) \
    X(UTF8_STRING, "UTF8_STRING") \
    X(COMPOUND_TEXT, "COMPOUND_TEXT") \
    X(WM_STATE, "WM_STATE") \
    X(WM_PROTOCOLS, "WM_PROTOCOLS") \
    X(WM_DELETE_WINDOW, "WM_DELETE_WINDOW") \
    X(WM_CHANGE_STATE, "WM_CHANGE_STATE") \
    X(WM_WINDOW_ROLE, "WM_WINDOW_ROLE") \
    X(NET_SUPPORTED, "_NET_SUPPORTED") \
    X(NET_WM_CM_S0, "_NET_WM_CM_S0") \
    X(NET_CLIENT_LIST_STACKING, "_NET_CLIENT_LIST_STACKING") \
    X(NET_CLIENT_LIST, "_NET_CLIENT_LIST") \
    X(NET_ACTIVE_WINDOW, "_NET_ACTIVE_WINDOW") \
    X(NET_SHOWING_DESKTOP, "_NET_SHOWING_DESKTOP") \
    X(NET_SUPPORTING_WM_CHECK, "_NET_SUPPORTING_WM_CHECK") \
    X(NET_WM_NAME, "_NET_WM_NAME") \
    X(NET_WM_PID, "_NET_WM_PID") \
    X(NET_WM_ICON, "_NET_WM_ICON") \
    X(NET_WM_WINDOW_OPACITY, "_NET_WM_WINDOW_OPACITY") \
    X(NET_WM_OPAQUE_REGION, "_NET_WM_OPAQUE_REGION") \
    X(GTK_FRAME_EXTENTS, "_GTK_FRAME_EXTENTS") \
    X(NET_WM_STATE, "_NET_WM_STATE") \
    X(NET_WM_STATE_HIDDEN, "_NET_WM_STATE_HIDDEN") \
    X(NET_WM_STATE_SHADED, "_NET_WM_STATE_SHADED") \
    X(NET_WM_STATE_MODAL, "_NET_WM_STATE_MODAL") \
    X(NET_WM_STATE_ABOVE, "_NET_WM_STATE_ABOVE") \
    X(NET_WM_STATE_BELOW, "_NET_WM_STATE_BELOW") \
    X(NET_WM_STATE_FULLSCREEN, "_NET_WM_STATE_FULLSCREEN") \
    X(NET_WM_WINDOW_TYPE, "_NET_WM_WINDOW_TYPE") \
    X(NET_WM_WINDOW_TYPE_DESKTOP, "_NET_WM_WINDOW_TYPE_DESKTOP") \
    X(NET_WM_WINDOW_TYPE_DOCK, "_NET_WM_WINDOW_TYPE_DOCK") \
    X(NET_WM_WINDOW_TYPE_MENU, "_NET_WM_WINDOW_TYPE_MENU") \
    X(NET_WM_WINDOW_TYPE_DROPDOWN_MENU, "_NET_WM_WINDOW_TYPE_DROPDOWN_MENU") \
    X(NET_WM_WINDOW_TYPE_POPUP_MENU, "_NET_WM_WINDOW_TYPE_POPUP_MENU") \
    X(NET_WM_WINDOW_TYPE_TOOLTIP, "_NET_WM_WINDOW_TYPE_TOOLTIP") \
    X(NET_WM_WINDOW_TYPE_NOTIFICATION, "_NET_WM_WINDOW_TYPE_NOTIFICATION") \
    X(NET_WM_WINDOW_TYPE_COMBO, "_NET_WM_WINDOW_TYPE_COMBO") \
    X(NET_WM_WINDOW_TYPE_DND, "_NET_WM_WINDOW_TYPE_DND") \
    X(NET_WM_WINDOW_TYPE_NORMAL, "_NET_WM_WINDOW_TYPE_NORMAL") \
    X(NET_WM_WINDOW_TYPE_DIALOG, "_NET_WM_WINDOW_TYPE_DIALOG") \
    X(XROOTPMAP_ID, "_XROOTPMAP_ID") \
    X(ORVO_REPAINT_REQUEST, "_ORVO_REPAINT_REQUEST")
// clang-format on

struct Atoms {
#define ORVO_X11_MEMBER(member, name) xcb_atom_t member = XCB_ATOM_NONE;
    ORVO_X11_ATOMS(ORVO_X11_MEMBER)
#undef ORVO_X11_MEMBER

    // Asks for all at once; all none when the connection is lost.
    static Atoms of(Connection& x);

    // A reply as a property whose text encoding is known; nothing for null. The reply has to outlive it.
    Property property(const xcb_get_property_reply_t* reply) const;
};

}  // namespace orvo::platform::x11
