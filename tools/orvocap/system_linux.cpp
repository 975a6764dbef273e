// Linux: GLib's main context, the X server's process, and what the doctor asks of the server.
#include <poll.h>
#include <sys/socket.h>
#include <xcb/shm.h>
#include <xcb/xcb.h>
#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <memory>
#include <sstream>

#include "application.h"
#include "orvo/screencapture_additions.h"
#include "orvo/screencapture_linux.h"
#include "process.h"
#include "system.h"

namespace orvocap {

void runMainQueue(int milliseconds) {
    orvo_screencapture_run_main_queue(milliseconds);
}

namespace {

using Connection = std::unique_ptr<xcb_connection_t, decltype(&xcb_disconnect)>;

template <typename Reply>
std::unique_ptr<Reply, decltype(&std::free)> owned(Reply* reply) {
    return {reply, &std::free};
}

// A connection of its own, and the root window of its screen; without one when there is no server.
struct Server {
    Server() : x(xcb_connect(nullptr, &screen), &xcb_disconnect) {
        if (xcb_connection_has_error(x.get())) return;
        auto screens = xcb_setup_roots_iterator(xcb_get_setup(x.get()));
        for (; screen > 0 && screens.rem > 1; --screen) xcb_screen_next(&screens);
        root = screens.data->root;
    }
    explicit operator bool() const { return root != XCB_WINDOW_NONE; }

    int screen = 0;
    Connection x;
    xcb_window_t root = XCB_WINDOW_NONE;
};

bool hasExtension(xcb_connection_t* x, const char* name) {
    const auto cookie = xcb_query_extension(x, static_cast<uint16_t>(std::strlen(name)), name);
    const auto reply = owned(xcb_query_extension_reply(x, cookie, nullptr));
    return reply && reply->present;
}

std::vector<xcb_window_t> childrenOf(xcb_connection_t* x, xcb_window_t window) {
    const auto reply = owned(xcb_query_tree_reply(x, xcb_query_tree(x, window), nullptr));
    if (!reply) return {};
    const xcb_window_t* const first = xcb_query_tree_children(reply.get());
    return {first, first + xcb_query_tree_children_length(reply.get())};
}

// A window manager puts a window into a frame, perhaps into several: looks for one of the windows in there.
std::optional<uint32_t> windowWithin(xcb_connection_t* x, xcb_window_t frame, const std::vector<uint32_t>& windows) {
    std::vector<xcb_window_t> level{frame};
    for (int depth = 0; depth < 4 && !level.empty(); ++depth) {
        std::vector<xcb_window_t> next;
        for (const xcb_window_t window : level) {
            if (std::find(windows.begin(), windows.end(), window) != windows.end()) return window;
            const auto children = childrenOf(x, window);
            next.insert(next.end(), children.begin(), children.end());
        }
        level = std::move(next);
    }
    return std::nullopt;
}

// The pointer becomes a cross until a button or a key is pressed. Result: the window at the top of the click; none for
// another button or a key, and when the user ends the process.
std::optional<xcb_window_t> clickedFrame(const Server& server) {
    xcb_connection_t* const x = server.x.get();
    const xcb_font_t font = xcb_generate_id(x);
    const xcb_cursor_t cross = xcb_generate_id(x);
    constexpr uint16_t crosshair = 34;  // of the font named cursor; its mask follows it
    xcb_open_font(x, font, 6, "cursor");
    xcb_create_glyph_cursor(x, cross, font, font, crosshair, crosshair + 1, 0, 0, 0, 0xFFFF, 0xFFFF, 0xFFFF);
    const auto grab = owned(
        xcb_grab_pointer_reply(x,
                               xcb_grab_pointer(x, 0, server.root, XCB_EVENT_MASK_BUTTON_PRESS, XCB_GRAB_MODE_ASYNC,
                                                XCB_GRAB_MODE_ASYNC, XCB_WINDOW_NONE, cross, XCB_CURRENT_TIME),
                               nullptr));
    if (!grab || grab->status != XCB_GRAB_STATUS_SUCCESS)
        throw Failure(exitFailure, "the pointer cannot be taken: another program has it, perhaps with an open menu");
    xcb_grab_keyboard_unchecked(x, 0, server.root, XCB_CURRENT_TIME, XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC);
    xcb_flush(x);
    while (!stopRequested() && !xcb_connection_has_error(x)) {
        pollfd ready{xcb_get_file_descriptor(x), POLLIN, 0};
        poll(&ready, 1, mainQueueSlice);
        while (const auto event = owned(xcb_poll_for_event(x))) {
            const int type = event->response_type & 0x7F;
            if (type == XCB_KEY_PRESS) return std::nullopt;
            if (type != XCB_BUTTON_PRESS) continue;
            const auto& press = reinterpret_cast<const xcb_button_press_event_t&>(*event);
            if (press.detail != XCB_BUTTON_INDEX_1) return std::nullopt;
            return press.child;
        }
    }
    return std::nullopt;
}

}  // namespace

// A screen's number is the atom of its monitor's name. A server without RandR has one screen, without a name.
// Nothing else denies it here.
std::string whyNoScreens() {
    const bool isDenied = orvo_screencapture_get_permission(ORVO_PERMISSION_SCREEN_RECORDING) == ORVO_PERMISSION_DENIED;
    return isDenied ? "this is a Wayland session: only windows of X11 programs can be seen" : "";
}

std::string screenName(uint32_t screen) {
    const Server server;
    if (!server || !hasExtension(server.x.get(), "RANDR")) return {};
    const auto reply =
        owned(xcb_get_atom_name_reply(server.x.get(), xcb_get_atom_name(server.x.get(), screen), nullptr));
    if (!reply) return {};
    return {xcb_get_atom_name_name(reply.get()), static_cast<size_t>(xcb_get_atom_name_name_length(reply.get()))};
}

double screenScale(uint32_t) {
    return 1;  // points are pixels
}

std::vector<std::vector<std::string>> windowClasses(const std::vector<uint32_t>& windows) {
    const Server server;
    std::vector<std::vector<std::string>> classes(windows.size());
    if (!server) return classes;
    std::vector<xcb_get_property_cookie_t> asked;
    for (const uint32_t window : windows)
        asked.push_back(xcb_get_property(server.x.get(), 0, window, XCB_ATOM_WM_CLASS, XCB_ATOM_STRING, 0, 256));
    for (size_t i = 0; i < asked.size(); ++i) {
        const auto reply = owned(xcb_get_property_reply(server.x.get(), asked[i], nullptr));
        if (!reply) continue;
        // The instance, then the class, each followed by a zero.
        std::istringstream names(std::string(static_cast<const char*>(xcb_get_property_value(reply.get())),
                                             static_cast<size_t>(xcb_get_property_value_length(reply.get()))));
        for (std::string name; std::getline(names, name, '\0');) classes[i].push_back(name);
    }
    return classes;
}

std::optional<uint32_t> pickWindow(const std::vector<uint32_t>& windows) {
    const Server server;
    if (!server) throw Failure(exitNoTarget, "the X server refuses a second connection");
    listenForStop();
    const auto frame = clickedFrame(server);
    return frame ? windowWithin(server.x.get(), *frame, windows) : std::nullopt;
}

ServerProcess findServerProcess() {
    const std::unique_ptr<xcb_connection_t, decltype(&xcb_disconnect)> x(xcb_connect(nullptr, nullptr),
                                                                         &xcb_disconnect);
    if (xcb_connection_has_error(x.get())) return {0, "the X server refuses a second connection"};
    sockaddr_storage address{};
    socklen_t size = sizeof address;
    const int descriptor = xcb_get_file_descriptor(x.get());
    if (getpeername(descriptor, reinterpret_cast<sockaddr*>(&address), &size) != 0 || address.ss_family != AF_UNIX)
        return {0, "the X server is reached over the network"};
    ucred peer{};
    size = sizeof peer;
    if (getsockopt(descriptor, SOL_SOCKET, SO_PEERCRED, &peer, &size) != 0 || peer.pid <= 0)
        return {0, "the X server runs where its processes are not seen"};
    return {peer.pid, ""};
}

std::optional<double> cpuSecondsOf(int pid) {
    clockid_t clock{};
    timespec time{};
    if (pid <= 0 || clock_getcpuclockid(pid, &clock) != 0 || clock_gettime(clock, &time) != 0) return std::nullopt;
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / 1e9;
}

namespace {

using State = Finding::State;

constexpr struct {
    const char* name;
    const char* without;
} extensions[] = {
    {"MIT-SHM", "every picture goes through the connection, which is slow"},
    {"RANDR", "all monitors together are one screen"},
    {"XFIXES", "pictures have no cursor"},
    {"Composite", "windows cannot be captured alone; screens, and a window's area with --mode area, can"},
    {"DAMAGE", "what has not changed is copied again"},
    {"RENDER", "pictures take a slower way"},
    {"SHAPE", "windows that are not rectangles are shown as if they were"},
    {"XInputExtension", "clicks are not shown"},
    {"X-Resource", "a window's program is known only if the program tells it"},
};

void examineExtensions(xcb_connection_t* x, Findings& findings) {
    for (const auto& extension : extensions) {
        const std::string subject = std::string("extension ") + extension.name;
        if (hasExtension(x, extension.name))
            findings.push_back({subject, State::works, "there", ""});
        else
            findings.push_back(
                {subject, State::limited, std::string("missing: ") + extension.without,
                 "start the X server with it (Xvfb and Xorg: +extension " + std::string(extension.name) + ")"});
    }
}

void examineSharedPixmaps(xcb_connection_t* x, Findings& findings) {
    if (!hasExtension(x, "MIT-SHM")) return;
    const auto version = owned(xcb_shm_query_version_reply(x, xcb_shm_query_version(x), nullptr));
    if (version && version->shared_pixmaps)
        findings.push_back({"shared pixmaps", State::works, "there: the server draws into the frames", ""});
    else
        findings.push_back({"shared pixmaps", State::limited,
                            "missing: the server draws for itself, and what has changed is fetched from it",
                            "nothing: the server's driver has none"});
}

xcb_atom_t atom(xcb_connection_t* x, const char* name) {
    const auto cookie = xcb_intern_atom(x, 0, static_cast<uint16_t>(std::strlen(name)), name);
    const auto reply = owned(xcb_intern_atom_reply(x, cookie, nullptr));
    return reply ? reply->atom : static_cast<xcb_atom_t>(XCB_ATOM_NONE);
}

std::string property(xcb_connection_t* x, xcb_window_t window, const char* name) {
    const auto cookie = xcb_get_property(x, 0, window, atom(x, name), XCB_ATOM_ANY, 0, 64);
    const auto reply = owned(xcb_get_property_reply(x, cookie, nullptr));
    if (!reply) return {};
    return {static_cast<const char*>(xcb_get_property_value(reply.get())),
            static_cast<size_t>(xcb_get_property_value_length(reply.get()))};
}

// The property names a window of the manager, which names itself in the same way. None: 0.
xcb_window_t managersWindow(xcb_connection_t* x, xcb_window_t root) {
    constexpr char checkProperty[] = "_NET_SUPPORTING_WM_CHECK";
    const std::string named = property(x, root, checkProperty);
    xcb_window_t window = XCB_WINDOW_NONE;
    if (named.size() == sizeof window) std::memcpy(&window, named.data(), sizeof window);
    return property(x, window, checkProperty) == named ? window : xcb_window_t{XCB_WINDOW_NONE};
}

void examineManagers(xcb_connection_t* x, xcb_window_t root, Findings& findings) {
    const xcb_window_t window = managersWindow(x, root);
    const std::string name = property(x, window, "_NET_WM_NAME");
    if (window != XCB_WINDOW_NONE)
        findings.push_back({"window manager", State::works, name, ""});
    else
        findings.push_back({"window manager", State::limited, "none: minimised and active windows are not known",
                            "start a window manager, such as openbox"});

    const auto cookie = xcb_get_selection_owner(x, atom(x, "_NET_WM_CM_S0"));
    const auto selection = owned(xcb_get_selection_owner_reply(x, cookie, nullptr));
    const xcb_window_t owner = selection ? selection->owner : xcb_window_t{XCB_WINDOW_NONE};
    const uint32_t client = ~xcb_get_setup(x)->resource_id_mask;
    const bool isSame = window != XCB_WINDOW_NONE && (owner & client) == (window & client);
    std::string compositor = isSame ? name : property(x, owner, "_NET_WM_NAME");
    if (compositor.empty()) compositor = property(x, owner, "WM_NAME");
    if (compositor.empty()) compositor = "one without a name";
    if (owner == XCB_WINDOW_NONE)
        findings.push_back({"compositing manager", State::works, "none: pictures show what the screen shows", ""});
    else
        findings.push_back({"compositing manager", State::works,
                            compositor + ": pictures composed of windows lack the shadows that it adds, and wallpaper" +
                                (isSame ? ", panels or title bars" : "") + " that it paints onto the screen itself",
                            ""});
}

}  // namespace

void examineServer(Findings& findings) {
    const char* const session = std::getenv("XDG_SESSION_TYPE");
    if (whyNoScreens().empty())
        findings.push_back({"session", State::works, session && *session ? session : "x11", ""});
    const Server server;
    if (!server) {
        findings.push_back({"X server", State::broken, "refuses a second connection",
                            "close programs, or let the server accept more clients"});
        return;
    }
    const xcb_setup_t* const setup = xcb_get_setup(server.x.get());
    const std::string vendor(xcb_setup_vendor(setup), static_cast<size_t>(xcb_setup_vendor_length(setup)));
    findings.push_back({"X server", State::works, vendor + ", release " + std::to_string(setup->release_number), ""});
    examineExtensions(server.x.get(), findings);
    examineSharedPixmaps(server.x.get(), findings);
    examineManagers(server.x.get(), server.root, findings);
}

}  // namespace orvocap
