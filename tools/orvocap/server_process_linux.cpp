// The X server's process is the other end of a connection's socket.
#include "server_process.h"

#include <sys/socket.h>
#include <xcb/xcb.h>

#include <ctime>
#include <memory>

namespace orvocap {

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

}  // namespace orvocap
