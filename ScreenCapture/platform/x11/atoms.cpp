// The names that window managers and clients agree on, as numbers of one server.
#include "ScreenCapture/platform/x11/atoms.h"

#include <array>
#include <cstring>

#include "ScreenCapture/platform/x11/connection.h"

namespace orvo::platform::x11 {
namespace {

struct Name {
    const char* name;
    xcb_atom_t Atoms::*member;
};
#define ORVO_X11_NAME(member, name) Name{name, &Atoms::member},
constexpr Name kNames[] = {ORVO_X11_ATOMS(ORVO_X11_NAME)};
#undef ORVO_X11_NAME

}  // namespace

Atoms Atoms::of(Connection& x) {
    std::array<xcb_intern_atom_cookie_t, std::size(kNames)> cookies;
    for (size_t i = 0; i < cookies.size(); ++i)
        cookies[i] = xcb_intern_atom(x.raw(), 0, static_cast<uint16_t>(std::strlen(kNames[i].name)), kNames[i].name);
    Atoms atoms;
    for (size_t i = 0; i < cookies.size(); ++i)
        if (const auto reply = x.await<xcb_intern_atom_reply_t>(cookies[i].sequence))
            atoms.*kNames[i].member = reply->atom;
    return atoms;
}

Property Atoms::property(const xcb_get_property_reply_t* reply) const {
    if (!reply || reply->type == XCB_ATOM_NONE) return {};
    Property property;
    property.format = reply->format;
    property.bytes = static_cast<const uint8_t*>(xcb_get_property_value(reply));
    property.size = static_cast<size_t>(reply->value_len) * (reply->format / 8);
    if (reply->type == UTF8_STRING) property.encoding = TextEncoding::utf8;
    if (reply->type == XCB_ATOM_STRING) property.encoding = TextEncoding::latin1;
    if (reply->type == COMPOUND_TEXT) property.encoding = TextEncoding::compound;
    return property;
}

}  // namespace orvo::platform::x11
