// Client windows as programs make them.
#include "support/x11/x_windows.h"

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <thread>

namespace orvo::testing {
namespace {

template <typename T>
std::unique_ptr<T, decltype(&std::free)> owned(T* reply) {
    return {reply, &std::free};
}

}  // namespace

bool comesAbout(const std::function<bool()>& condition) {
    constexpr std::chrono::seconds kLimit{30};
    const auto until = std::chrono::steady_clock::now() + kLimit;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > until) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return true;
}

xcb_window_t Windows::make(const WindowWish& wish) {
    xcb_create_window_value_list_t values{};
    values.background_pixel = wish.background;
    values.override_redirect = wish.overrideRedirect;
    const uint32_t mask = XCB_CW_OVERRIDE_REDIRECT | (wish.hasBackground ? uint32_t{XCB_CW_BACK_PIXEL} : 0);
    const xcb_window_t number = wish.number ? wish.number : xcb_generate_id(painter_.raw());
    const xcb_window_t window = painter_.create(number, wish.area, wish.border, mask, values, wish.hasAlpha);
    if (!wish.title.empty()) setText(window, "_NET_WM_NAME", "UTF8_STRING", wish.title);
    if (!wish.className.empty()) {
        const std::string pair = wish.className + std::string(1, '\0') + wish.className + std::string(1, '\0');
        setText(window, "WM_CLASS", "STRING", pair);
    }
    if (!wish.type.empty()) setNumber(window, "_NET_WM_WINDOW_TYPE", XCB_ATOM_ATOM, atom(wish.type.c_str()));
    if (wish.owner) setNumber(window, "WM_TRANSIENT_FOR", XCB_ATOM_WINDOW, wish.owner);
    if (wish.modal) setNumber(window, "_NET_WM_STATE", XCB_ATOM_ATOM, atom("_NET_WM_STATE_MODAL"));
    return painter_.map(window);
}

// In cells of 4 by 4 pixels, but for the blue of the diagonals.
void Windows::paintPattern(xcb_window_t window, int width, int height) {
    std::vector<uint32_t> pixels(static_cast<size_t>(width) * static_cast<size_t>(height));
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            pixels[static_cast<size_t>(y) * static_cast<size_t>(width) + static_cast<size_t>(x)] = patternAt(x, y);
    xcb_connection_t* x = painter_.raw();
    const xcb_gcontext_t context = xcb_generate_id(x);
    xcb_create_gc(x, context, window, 0, nullptr);
    const int rows = 200000 / (width * 4);
    for (int y = 0; y < height; y += rows) {
        const int count = std::min(rows, height - y);
        xcb_put_image(x, XCB_IMAGE_FORMAT_Z_PIXMAP, window, context, static_cast<uint16_t>(width),
                      static_cast<uint16_t>(count), 0, static_cast<int16_t>(y), 0, 24,
                      static_cast<uint32_t>(count * width * 4),
                      reinterpret_cast<const uint8_t*>(&pixels[static_cast<size_t>(y) * static_cast<size_t>(width)]));
    }
    xcb_free_gc(x, context);
    painter_.sync();
}

void Windows::map(xcb_window_t window) {
    painter_.map(window);
}

void Windows::unmap(xcb_window_t window) {
    xcb_unmap_window(painter_.raw(), window);
    painter_.sync();
}

void Windows::resize(xcb_window_t window, int width, int height) {
    const int32_t values[] = {width, height};
    xcb_configure_window(painter_.raw(), window, XCB_CONFIG_WINDOW_WIDTH | XCB_CONFIG_WINDOW_HEIGHT, values);
    painter_.sync();
}

void Windows::lower(xcb_window_t window) {
    const uint32_t below = XCB_STACK_MODE_BELOW;
    xcb_configure_window(painter_.raw(), window, XCB_CONFIG_WINDOW_STACK_MODE, &below);
    painter_.sync();
}

void Windows::iconify(xcb_window_t window) {
    tellManager(window, "WM_CHANGE_STATE", {3});
}

void Windows::tellManager(xcb_window_t window, const char* type, const std::vector<uint32_t>& data) {
    xcb_client_message_event_t message{};
    message.response_type = XCB_CLIENT_MESSAGE;
    message.format = 32;
    message.window = window;
    message.type = atom(type);
    std::copy(data.begin(), data.end(), message.data.data32);
    xcb_send_event(painter_.raw(), 0, painter_.root(),
                   XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY,
                   reinterpret_cast<const char*>(&message));
    painter_.sync();
}

void Windows::setNumber(xcb_window_t window, const char* property, xcb_atom_t type, uint32_t value) {
    xcb_change_property(painter_.raw(), XCB_PROP_MODE_REPLACE, window, atom(property), type, 32, 1, &value);
    painter_.sync();
}

void Windows::setNumbers(xcb_window_t window, const char* property, const std::vector<uint32_t>& values) {
    xcb_change_property(painter_.raw(), XCB_PROP_MODE_REPLACE, window, atom(property), XCB_ATOM_CARDINAL, 32,
                        static_cast<uint32_t>(values.size()), values.data());
    painter_.sync();
}

void Windows::setText(xcb_window_t window, const char* property, const char* type, const std::string& text) {
    xcb_change_property(painter_.raw(), XCB_PROP_MODE_REPLACE, window, atom(property), atom(type), 8,
                        static_cast<uint32_t>(text.size()), text.data());
    painter_.sync();
}

xcb_pixmap_t Windows::setBackground(uint32_t colour) {
    const xcb_pixmap_t pixmap = xcb_generate_id(painter_.raw());
    xcb_create_pixmap(painter_.raw(), 24, pixmap, painter_.root(), 64, 64);
    painter_.fill(pixmap, {0, 0, 64, 64}, colour);
    setNumber(painter_.root(), "_XROOTPMAP_ID", XCB_ATOM_PIXMAP, pixmap);
    return pixmap;
}

xcb_atom_t Windows::atom(const char* name) {
    const auto cookie = xcb_intern_atom(painter_.raw(), 0, static_cast<uint16_t>(std::strlen(name)), name);
    return owned(xcb_intern_atom_reply(painter_.raw(), cookie, nullptr))->atom;
}

std::vector<uint32_t> Windows::numbers(xcb_window_t window, const char* property) {
    const auto cookie = xcb_get_property(painter_.raw(), 0, window, atom(property), XCB_ATOM_ANY, 0, 1024);
    const auto reply = owned(xcb_get_property_reply(painter_.raw(), cookie, nullptr));
    if (!reply || reply->format != 32) return {};
    const auto* const values = static_cast<const uint32_t*>(xcb_get_property_value(reply.get()));
    return {values, values + reply->value_len};
}

uint32_t Windows::number(xcb_window_t window, const char* property) {
    const auto all = numbers(window, property);
    return all.empty() ? 0 : all.front();
}

platform::Rect Windows::rootBounds(xcb_window_t window) {
    const auto size = owned(xcb_get_geometry_reply(painter_.raw(), xcb_get_geometry(painter_.raw(), window), nullptr));
    const auto cookie = xcb_translate_coordinates(painter_.raw(), window, painter_.root(), 0, 0);
    const auto origin = owned(xcb_translate_coordinates_reply(painter_.raw(), cookie, nullptr));
    if (!size || !origin) return {};
    return {static_cast<double>(origin->dst_x), static_cast<double>(origin->dst_y), static_cast<double>(size->width),
            static_cast<double>(size->height)};
}

bool Windows::isViewable(xcb_window_t window) {
    const auto cookie = xcb_get_window_attributes(painter_.raw(), window);
    const auto reply = owned(xcb_get_window_attributes_reply(painter_.raw(), cookie, nullptr));
    return reply && reply->map_state == XCB_MAP_STATE_VIEWABLE;
}

// It announces itself before it takes windows on, and may overlook those that come in between.
bool Windows::awaitManager() {
    const xcb_window_t probe = make({.area = {0, 0, 10, 10}});
    const bool takesWindows = comesAbout([&] {
        if (number(probe, "WM_STATE") == 1) return true;
        unmap(probe);
        map(probe);
        return false;
    });
    painter_.destroy(probe);
    return takesWindows && comesAbout([&] { return number(painter_.root(), "_NET_CLIENT_LIST") == 0; });
}

// The manager has also told where it stands.
bool Windows::awaitMapped(xcb_window_t window) {
    return comesAbout([&] { return isViewable(window) && number(window, "WM_STATE") == 1; });
}

bool Windows::awaitUnmapped(xcb_window_t window) {
    return comesAbout([&] { return !isViewable(window) && number(window, "WM_STATE") == 3; });
}

void Windows::awaitRepaint() {
    for (int i = 0; i < 5; ++i) {
        painter_.sync();
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
}

}  // namespace orvo::testing
