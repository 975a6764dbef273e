// Has a window paint itself again, and finds out what of it the server itself paints.
#include "ScreenCapture/platform/x11/repaint_request.h"

#include <xcb/sync.h>

#include <vector>

#include "ScreenCapture/platform/x11/redirected_window.h"

namespace orvo::platform::x11 {
namespace {

constexpr int kMaxDepth = 16;
constexpr size_t kMaxWindows = 4096;

struct Inside {
    xcb_window_t window = 0;
    PixelRect size;
    uint8_t depth = 0;
};

// The window and those inside it, as far as they can be painted.
std::vector<Inside> windowsInside(Connection& x, xcb_window_t window) {
    struct Request {
        xcb_window_t window;
        unsigned geometry, tree;
    };
    std::vector<Inside> found;
    std::vector<xcb_window_t> level = {window};
    for (int depth = 0; depth < kMaxDepth && !level.empty() && found.size() < kMaxWindows; ++depth) {
        std::vector<Request> requests;
        for (const xcb_window_t each : level)
            requests.push_back(
                {each, xcb_get_geometry(x.raw(), each).sequence, xcb_query_tree(x.raw(), each).sequence});
        level.clear();
        for (const Request& request : requests) {
            const auto geometry = x.await<xcb_get_geometry_reply_t>(request.geometry);
            const auto tree = x.await<xcb_query_tree_reply_t>(request.tree);
            if (!geometry || !tree) continue;
            const PixelRect size{0, 0, geometry->width, geometry->height};
            // An input-only window has no depth.
            if (geometry->depth != 0 && fitsPicture(size)) found.push_back({request.window, size, geometry->depth});
            const std::vector<xcb_window_t> children = childrenIn(tree.get());
            level.insert(level.end(), children.begin(), children.end());
        }
    }
    return found;
}

// Clearing a window paints its background, if it has one, and sends its owner an Expose event. The window's pixels
// are kept meanwhile and put back, all of it while nobody else is served and in the redirected picture: nobody sees it.
void expose(Connection& x, const Inside& each, xcb_damage_damage_t damage, xcb_xfixes_region_t unknown,
            xcb_xfixes_region_t scratch) {
    const auto width = static_cast<uint16_t>(each.size.width);
    const auto height = static_cast<uint16_t>(each.size.height);
    const ServerPixmap kept(x);
    xcb_create_pixmap(x.raw(), each.depth, kept.id(), each.window, width, height);
    const xcb_gcontext_t context = xcb_generate_id(x.raw());
    const uint32_t noExposures = 0;
    xcb_create_gc(x.raw(), context, each.window, XCB_GC_GRAPHICS_EXPOSURES, &noExposures);
    xcb_copy_area(x.raw(), each.window, kept.id(), context, 0, 0, 0, 0, width, height);
    xcb_damage_subtract(x.raw(), damage, XCB_NONE, XCB_NONE);
    xcb_clear_area(x.raw(), 1, each.window, 0, 0, 0, 0);
    xcb_damage_subtract(x.raw(), damage, XCB_NONE, scratch);
    xcb_xfixes_subtract_region(x.raw(), unknown, scratch, unknown);
    xcb_copy_area(x.raw(), kept.id(), each.window, context, 0, 0, 0, 0, width, height);
    xcb_free_gc(x.raw(), context);
}

// The server paints the border of a window that has been redirected when it goes to wait for requests, and reports all
// of the window as drawn. It need not go there between the requests of one client, but does when that client waits for
// a counter, also for one that has its value already.
void letServerPaintBorders(Connection& x) {
    const xcb_sync_counter_t counter = xcb_generate_id(x.raw());
    xcb_sync_waitcondition_t condition{};
    condition.trigger = {counter, XCB_SYNC_VALUETYPE_ABSOLUTE, {0, 0}, XCB_SYNC_TESTTYPE_POSITIVE_COMPARISON};
    condition.event_threshold = {0, 1};  // no event
    xcb_sync_create_counter(x.raw(), counter, {0, 0});
    xcb_sync_await(x.raw(), 1, &condition);
    xcb_sync_destroy_counter(x.raw(), counter);
}

// To whom watches the top-level windows, while nobody else is served: in order with the damage that it explains.
void notifyOthers(Connection& x, xcb_window_t window) {
    xcb_client_message_event_t message{};
    message.response_type = XCB_CLIENT_MESSAGE;
    message.format = 32;
    message.window = window;
    message.type = x.atoms().ORVO_REPAINT_REQUEST;
    message.data.data32[0] = xcb_get_setup(x.raw())->resource_id_base;
    xcb_send_event(x.raw(), 0, x.root(), XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY, reinterpret_cast<const char*>(&message));
}

}  // namespace

xcb_window_t repaintRequestedByOther(const Connection& x, const xcb_generic_event_t& event) {
    const auto& message = reinterpret_cast<const xcb_client_message_event_t&>(event);
    const bool isRequest = (event.response_type & 0x7F) == XCB_CLIENT_MESSAGE &&
                           message.type == x.atoms().ORVO_REPAINT_REQUEST &&
                           message.data.data32[0] != xcb_get_setup(x.raw())->resource_id_base;
    return isRequest ? message.window : 0;
}

unsigned requestRepaint(Connection& x, xcb_window_t window, xcb_window_t frame, xcb_damage_damage_t damage,
                        xcb_xfixes_region_t unknown, xcb_xfixes_region_t scratch) {
    const std::vector<Inside> windows = windowsInside(x, window);
    letServerPaintBorders(x);
    x.flush();
    xcb_grab_server(x.raw());
    for (const Inside& each : windows) expose(x, each, damage, unknown, scratch);
    notifyOthers(x, window);
    if (frame != 0) notifyOthers(x, frame);
    xcb_damage_subtract(x.raw(), damage, XCB_NONE, XCB_NONE);
    const unsigned done = xcb_ungrab_server(x.raw()).sequence;
    x.flush();
    return done;
}

}  // namespace orvo::platform::x11
