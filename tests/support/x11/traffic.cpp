// Stands before xcb's entry functions and counts who passes.
#include "support/x11/traffic.h"

#include <dlfcn.h>
#include <sys/uio.h>
#include <xcb/xcb.h>
#include <xcb/xcbext.h>

#include <atomic>

#include "support/allocations.h"

namespace {

std::atomic<int> requests{0};
std::atomic<int> roundTrips{0};
std::atomic<int> connections{0};
thread_local bool asked = false;  // something was sent since the last wait

template <typename Function>
Function* next(const char* name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

void count() {
    ++requests;
    asked = true;
}

void countAnswer() {
    if (!asked) return;
    asked = false;
    ++roundTrips;
}

}  // namespace

extern "C" {
#pragma GCC visibility push(default)

unsigned int xcb_send_request(xcb_connection_t* connection, int flags, struct iovec* parts,
                              const xcb_protocol_request_t* request) {
    static auto* const real = next<decltype(xcb_send_request)>("xcb_send_request");
    count();
    return real(connection, flags, parts, request);
}

unsigned int xcb_send_request_with_fds(xcb_connection_t* connection, int flags, struct iovec* parts,
                                       const xcb_protocol_request_t* request, unsigned int fdCount, int* fds) {
    static auto* const real = next<decltype(xcb_send_request_with_fds)>("xcb_send_request_with_fds");
    count();
    return real(connection, flags, parts, request, fdCount, fds);
}

xcb_connection_t* xcb_connect(const char* display, int* screen) {
    static auto* const real = next<decltype(xcb_connect)>("xcb_connect");
    ++connections;
    return real(display, screen);
}

void xcb_disconnect(xcb_connection_t* connection) {
    static auto* const real = next<decltype(xcb_disconnect)>("xcb_disconnect");
    --connections;
    real(connection);
}

int xcb_poll_for_reply(xcb_connection_t* connection, unsigned int sequence, void** reply, xcb_generic_error_t** error) {
    static auto* const real = next<decltype(xcb_poll_for_reply)>("xcb_poll_for_reply");
    countAnswer();
    return real(connection, sequence, reply, error);
}

#pragma GCC visibility pop
}  // extern "C"

namespace orvo::testing {

Traffic trafficSoFar() {
    return {requests, roundTrips, test::allocationsOfThread()};
}

int connectionsOpen() {
    return connections;
}

}  // namespace orvo::testing
