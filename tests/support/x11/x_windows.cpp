// Client windows as programs make them.
#include "support/x11/x_windows.h"

#include <xcb/composite.h>
#include <xcb/shape.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <stdexcept>
#include <thread>

namespace orvo::testing {
namespace {

template <typename T>
std::unique_ptr<T, decltype(&std::free)> owned(T* reply) {
    return {reply, &std::free};
}

xcb_rectangle_t rectangleOf(const Area& area) {
    return {static_cast<int16_t>(area.x), static_cast<int16_t>(area.y), static_cast<uint16_t>(area.width),
            static_cast<uint16_t>(area.height)};
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

Windows::Windows(const XServer& server) : connection_(xcb_connect(server.display().c_str(), nullptr)) {
    if (xcb_connection_has_error(connection_)) throw std::runtime_error("the client cannot connect");
    screen_ = xcb_setup_roots_iterator(xcb_get_setup(connection_)).data;
    root_ = screen_->root;
}

Windows::~Windows() {
    xcb_disconnect(connection_);
}

void Windows::sync() {
    std::free(xcb_get_input_focus_reply(connection_, xcb_get_input_focus(connection_), nullptr));
}

xcb_window_t Windows::make(const WindowWish& wish) {
    xcb_create_window_value_list_t values{};
    values.background_pixel = wish.background;
    values.override_redirect = wish.overrideRedirect;
    uint32_t mask = XCB_CW_OVERRIDE_REDIRECT | (wish.hasBackground ? uint32_t{XCB_CW_BACK_PIXEL} : 0);
    uint8_t depth = XCB_COPY_FROM_PARENT;
    xcb_visualid_t visual = XCB_COPY_FROM_PARENT;
    for (auto all = xcb_screen_allowed_depths_iterator(screen_); wish.hasAlpha && all.rem > 0; xcb_depth_next(&all)) {
        if (all.data->depth != 32 || all.data->visuals_len == 0) continue;
        depth = 32;
        visual = xcb_depth_visuals_iterator(all.data).data->visual_id;
        values.colormap = xcb_generate_id(connection_);
        xcb_create_colormap(connection_, XCB_COLORMAP_ALLOC_NONE, values.colormap, root_, visual);
        mask |= XCB_CW_BORDER_PIXEL | XCB_CW_COLORMAP;
    }
    const xcb_window_t window = wish.number ? wish.number : xcb_generate_id(connection_);
    const auto [x, y, width, height] = rectangleOf(wish.area);
    xcb_create_window_aux(connection_, depth, window, root_, x, y, width, height, static_cast<uint16_t>(wish.border),
                          XCB_WINDOW_CLASS_INPUT_OUTPUT, visual, mask, &values);
    if (!wish.title.empty()) setText(window, "_NET_WM_NAME", "UTF8_STRING", wish.title);
    if (!wish.className.empty()) {
        const std::string pair = wish.className + std::string(1, '\0') + wish.className + std::string(1, '\0');
        setText(window, "WM_CLASS", "STRING", pair);
    }
    if (!wish.type.empty()) setNumber(window, "_NET_WM_WINDOW_TYPE", XCB_ATOM_ATOM, atom(wish.type.c_str()));
    if (wish.owner) setNumber(window, "WM_TRANSIENT_FOR", XCB_ATOM_WINDOW, wish.owner);
    if (wish.modal) setNumber(window, "_NET_WM_STATE", XCB_ATOM_ATOM, atom("_NET_WM_STATE_MODAL"));
    map(window);
    return window;
}

xcb_window_t Windows::window(const Area& area, uint32_t colour, bool hasAlpha) {
    return make({.area = area, .overrideRedirect = true, .background = colour, .hasAlpha = hasAlpha});
}

void Windows::map(xcb_window_t window) {
    xcb_map_window(connection_, window);
    sync();
}

void Windows::unmap(xcb_window_t window) {
    xcb_unmap_window(connection_, window);
    sync();
}

void Windows::destroy(xcb_window_t window) {
    xcb_destroy_window(connection_, window);
    sync();
}

void Windows::configure(xcb_window_t window, uint16_t which, const std::vector<int>& values) {
    xcb_configure_window(connection_, window, which, values.data());
    sync();
}

void Windows::move(xcb_window_t window, int x, int y) {
    configure(window, XCB_CONFIG_WINDOW_X | XCB_CONFIG_WINDOW_Y, {x, y});
}
void Windows::resize(xcb_window_t window, int width, int height) {
    configure(window, XCB_CONFIG_WINDOW_WIDTH | XCB_CONFIG_WINDOW_HEIGHT, {width, height});
}
void Windows::raise(xcb_window_t window) {
    configure(window, XCB_CONFIG_WINDOW_STACK_MODE, {XCB_STACK_MODE_ABOVE});
}
void Windows::lower(xcb_window_t window) {
    configure(window, XCB_CONFIG_WINDOW_STACK_MODE, {XCB_STACK_MODE_BELOW});
}

void Windows::shape(xcb_window_t window, const Area& area) {
    const xcb_rectangle_t part = rectangleOf(area);
    xcb_shape_rectangles(connection_, XCB_SHAPE_SO_SET, XCB_SHAPE_SK_BOUNDING, 0, window, 0, 0, 1, &part);
    sync();
}

void Windows::redirect(xcb_window_t window) {
    xcb_composite_redirect_window(connection_, window, XCB_COMPOSITE_REDIRECT_AUTOMATIC);
    sync();
}

// Draws over child windows, and asks for no exposures.
xcb_gcontext_t Windows::context(xcb_drawable_t target, uint32_t colour) {
    const xcb_gcontext_t made = xcb_generate_id(connection_);  // of the target's depth
    const uint32_t values[] = {colour, XCB_SUBWINDOW_MODE_INCLUDE_INFERIORS, 0};
    xcb_create_gc(connection_, made, target, XCB_GC_FOREGROUND | XCB_GC_SUBWINDOW_MODE | XCB_GC_GRAPHICS_EXPOSURES,
                  values);
    return made;
}

void Windows::fill(xcb_drawable_t target, const Area& area, uint32_t colour) {
    const xcb_gcontext_t with = context(target, colour);
    const xcb_rectangle_t rectangle = rectangleOf(area);
    xcb_poly_fill_rectangle(connection_, target, with, 1, &rectangle);
    xcb_free_gc(connection_, with);
    sync();
}

void Windows::clear(xcb_window_t window, const Area& area) {
    const auto colour = ++colour_ * 0x10305U & 0xFFFFFF;
    const auto [x, y, width, height] = rectangleOf(area);
    xcb_change_window_attributes(connection_, window, XCB_CW_BACK_PIXEL, &colour);
    xcb_clear_area(connection_, 0, window, x, y, width, height);
    sync();
}

void Windows::copy(xcb_drawable_t from, const Area& area, xcb_drawable_t to, int x, int y) {
    const xcb_gcontext_t with = context(to, 0);
    const auto [left, top, width, height] = rectangleOf(area);
    xcb_copy_area(connection_, from, to, with, left, top, static_cast<int16_t>(x), static_cast<int16_t>(y), width,
                  height);
    xcb_free_gc(connection_, with);
    sync();
}

void Windows::setRootBackground(uint32_t colour) {
    xcb_change_window_attributes(connection_, root_, XCB_CW_BACK_PIXEL, &colour);
    xcb_clear_area(connection_, 0, root_, 0, 0, 0, 0);
    sync();
}

void Windows::warpPointer(int x, int y) {
    xcb_warp_pointer(connection_, XCB_NONE, root_, 0, 0, 0, 0, static_cast<int16_t>(x), static_cast<int16_t>(y));
    sync();
}

std::vector<uint8_t> Windows::read(const Area& area) {
    const auto [x, y, width, height] = rectangleOf(area);
    const auto cookie = xcb_get_image(connection_, XCB_IMAGE_FORMAT_Z_PIXMAP, root_, x, y, width, height, ~0U);
    const auto reply = owned(xcb_get_image_reply(connection_, cookie, nullptr));
    if (!reply) throw std::runtime_error("the root's pixels cannot be read");
    const uint8_t* data = xcb_get_image_data(reply.get());
    return {data, data + xcb_get_image_data_length(reply.get())};
}

// In cells of 4 by 4 pixels, but for the blue of the diagonals.
void Windows::paintPattern(xcb_window_t window, int width, int height) {
    std::vector<uint32_t> pixels(static_cast<size_t>(width) * static_cast<size_t>(height));
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            pixels[static_cast<size_t>(y) * static_cast<size_t>(width) + static_cast<size_t>(x)] = patternAt(x, y);
    const xcb_gcontext_t with = context(window, 0);
    const int rows = 200000 / (width * 4);
    for (int y = 0; y < height; y += rows) {
        const int count = std::min(rows, height - y);
        xcb_put_image(connection_, XCB_IMAGE_FORMAT_Z_PIXMAP, window, with, static_cast<uint16_t>(width),
                      static_cast<uint16_t>(count), 0, static_cast<int16_t>(y), 0, 24,
                      static_cast<uint32_t>(count * width * 4),
                      reinterpret_cast<const uint8_t*>(&pixels[static_cast<size_t>(y) * static_cast<size_t>(width)]));
    }
    xcb_free_gc(connection_, with);
    sync();
}

void Windows::iconify(xcb_window_t window) {
    tellManager(window, "WM_CHANGE_STATE", {3});
}

void Windows::tellManager(xcb_window_t window, const char* type, const std::vector<uint32_t>& data) {
    message(root_, window, type, data);
}

void Windows::message(xcb_window_t to, xcb_window_t window, const char* type, const std::vector<uint32_t>& data) {
    xcb_client_message_event_t message{};
    message.response_type = XCB_CLIENT_MESSAGE;
    message.format = 32;
    message.window = window;
    message.type = atom(type);
    std::copy(data.begin(), data.end(), message.data.data32);
    const uint32_t mask = XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY;
    xcb_send_event(connection_, 0, to, to == root_ ? mask : 0, reinterpret_cast<const char*>(&message));
    sync();
}

void Windows::setNumber(xcb_window_t window, const char* property, xcb_atom_t type, uint32_t value) {
    xcb_change_property(connection_, XCB_PROP_MODE_REPLACE, window, atom(property), type, 32, 1, &value);
    sync();
}

void Windows::setNumbers(xcb_window_t window, const char* property, const std::vector<uint32_t>& values) {
    xcb_change_property(connection_, XCB_PROP_MODE_REPLACE, window, atom(property), XCB_ATOM_CARDINAL, 32,
                        static_cast<uint32_t>(values.size()), values.data());
    sync();
}

void Windows::setText(xcb_window_t window, const char* property, const char* type, const std::string& text) {
    xcb_change_property(connection_, XCB_PROP_MODE_REPLACE, window, atom(property), atom(type), 8,
                        static_cast<uint32_t>(text.size()), text.data());
    sync();
}

xcb_pixmap_t Windows::setBackground(uint32_t colour) {
    const xcb_pixmap_t pixmap = xcb_generate_id(connection_);
    xcb_create_pixmap(connection_, 24, pixmap, root_, 64, 64);
    fill(pixmap, {0, 0, 64, 64}, colour);
    setNumber(root_, "_XROOTPMAP_ID", XCB_ATOM_PIXMAP, pixmap);
    return pixmap;
}

xcb_atom_t Windows::atom(const char* name) {
    const auto cookie = xcb_intern_atom(connection_, 0, static_cast<uint16_t>(std::strlen(name)), name);
    return owned(xcb_intern_atom_reply(connection_, cookie, nullptr))->atom;
}

std::vector<uint32_t> Windows::numbers(xcb_window_t window, const char* property) {
    const auto cookie = xcb_get_property(connection_, 0, window, atom(property), XCB_ATOM_ANY, 0, 1024);
    const auto reply = owned(xcb_get_property_reply(connection_, cookie, nullptr));
    if (!reply || reply->format != 32) return {};
    const auto* const values = static_cast<const uint32_t*>(xcb_get_property_value(reply.get()));
    return {values, values + reply->value_len};
}

uint32_t Windows::number(xcb_window_t window, const char* property) {
    const auto all = numbers(window, property);
    return all.empty() ? 0 : all.front();
}

platform::Rect Windows::rootBounds(xcb_window_t window) {
    const auto size = owned(xcb_get_geometry_reply(connection_, xcb_get_geometry(connection_, window), nullptr));
    const auto cookie = xcb_translate_coordinates(connection_, window, root_, 0, 0);
    const auto origin = owned(xcb_translate_coordinates_reply(connection_, cookie, nullptr));
    if (!size || !origin) return {};
    return {static_cast<double>(origin->dst_x), static_cast<double>(origin->dst_y), static_cast<double>(size->width),
            static_cast<double>(size->height)};
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
    destroy(probe);
    return takesWindows && comesAbout([&] { return number(root_, "_NET_CLIENT_LIST") == 0; });
}

// The manager has also told where it stands.
bool Windows::awaitMapped(xcb_window_t window) {
    return comesAbout([&] {
        const auto cookie = xcb_get_window_attributes(connection_, window);
        const auto reply = owned(xcb_get_window_attributes_reply(connection_, cookie, nullptr));
        return reply && reply->map_state == XCB_MAP_STATE_VIEWABLE && number(window, "WM_STATE") == 1;
    });
}

void Windows::awaitRepaint() {
    for (int i = 0; i < 5; ++i) {
        sync();
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
}

}  // namespace orvo::testing
