// Linux: GLib's main context, the X server's process, and what the doctor asks of the server.
#include <sys/socket.h>
#include <xcb/xcb.h>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <memory>

#include "orvo/screencapture_linux.h"
#include "system.h"

namespace orvocap {

void runMainQueue(int milliseconds) {
    orvo_screencapture_run_main_queue(milliseconds);
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
using Connection = std::unique_ptr<xcb_connection_t, decltype(&xcb_disconnect)>;

template <typename Reply>
std::unique_ptr<Reply, decltype(&std::free)> owned(Reply* reply) {
    return {reply, &std::free};
}

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

bool hasExtension(xcb_connection_t* x, const char* name) {
    const auto cookie = xcb_query_extension(x, static_cast<uint16_t>(std::strlen(name)), name);
    const auto reply = owned(xcb_query_extension_reply(x, cookie, nullptr));
    return reply && reply->present;
}

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

// The property names a window of the manager, which names itself in the same way.
void examineManager(xcb_connection_t* x, xcb_window_t root, Findings& findings) {
    constexpr char checkProperty[] = "_NET_SUPPORTING_WM_CHECK";
    const std::string named = property(x, root, checkProperty);
    xcb_window_t window = XCB_WINDOW_NONE;
    if (named.size() == sizeof window) std::memcpy(&window, named.data(), sizeof window);
    if (window != XCB_WINDOW_NONE && property(x, window, checkProperty) == named) {
        findings.push_back({"window manager", State::works, property(x, window, "_NET_WM_NAME"), ""});
    } else {
        findings.push_back({"window manager", State::limited,
                            "none that tells of its windows: minimised and active windows are not known",
                            "start a window manager, such as openbox"});
    }
}

}  // namespace

void examineServer(Findings& findings) {
    int screen = 0;
    const Connection x(xcb_connect(nullptr, &screen), &xcb_disconnect);
    if (xcb_connection_has_error(x.get())) {
        findings.push_back({"X server", State::broken, "refuses a second connection",
                            "close programs, or let the server accept more clients"});
        return;
    }
    auto screens = xcb_setup_roots_iterator(xcb_get_setup(x.get()));
    for (; screen > 0 && screens.rem > 1; --screen) xcb_screen_next(&screens);
    examineExtensions(x.get(), findings);
    examineManager(x.get(), screens.data->root, findings);
    const char* wayland = std::getenv("WAYLAND_DISPLAY");
    if (wayland && *wayland)
        findings.push_back({"session", State::limited, "Wayland: only programs that use its X server are seen",
                            "log in to an X11 session to capture everything"});
}

}  // namespace orvocap
