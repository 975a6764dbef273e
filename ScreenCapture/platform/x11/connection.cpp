// A connection to the X server on which no wait is without a limit.
#include "ScreenCapture/platform/x11/connection.h"

#include <poll.h>
#include <pthread.h>
#include <xcb/xcbext.h>

#include <atomic>
#include <cerrno>
#include <mutex>
#include <string>
#include <string_view>
#include <utility>

#include "ScreenCapture/platform/contained.h"
#include "ScreenCapture/platform/software/threads.h"

namespace orvo::platform::x11 {
namespace {

using SteadyClock = std::chrono::steady_clock;

// A server that has not been heard of for this long is asked whether it is there. A little longer than a resting
// pointer is trusted, whose question does as well.
constexpr std::chrono::milliseconds kQuietLimit{1100};

std::atomic<bool> hangs{false};
// When any connection had an answer last. There is one server, and it serves all of them or none.
std::atomic<SteadyClock::rep> lastAnswer{0};

void noteAnswer() {
    lastAnswer = SteadyClock::now().time_since_epoch().count();
    hangs = false;
}

bool isSet(const char* variable, std::string_view value = {}) {
    const char* const text = getenv(variable);
    return text && *text && (value.empty() || value == text);
}

xcb_screen_t* screenOf(xcb_connection_t* connection, int number) {
    auto screens = xcb_setup_roots_iterator(xcb_get_setup(connection));
    while (number-- > 0 && screens.rem > 1) xcb_screen_next(&screens);
    return screens.rem > 0 ? screens.data : nullptr;
}

std::string displayName() {
    const char* const name = getenv("DISPLAY");
    return name ? name : "";
}

}  // namespace

bool serverHangs() {
    return hangs;
}

// Of a server that can be asked its own word counts, not the environment's: a private one may run in any session.
NoImage whyUnreachable() {
    if (serverHangs()) return NoImage::xServerHangs;
    const bool wayland = isSet("WAYLAND_DISPLAY") || isSet("XDG_SESSION_TYPE", "wayland");
    return wayland && !isSet("DISPLAY") ? NoImage::wayland : NoImage::noXServer;
}

SignalGuard::SignalGuard() {
    if (software::isOwnThread()) return;
    blocks_ = true;
    sigemptyset(&blocked_);
    for (const int number : {SIGPIPE, SIGXFSZ}) sigaddset(&blocked_, number);
    pthread_sigmask(SIG_BLOCK, &blocked_, &before_);
    for (const int number : {SIGPIPE, SIGXFSZ})
        if (sigismember(&before_, number)) sigdelset(&blocked_, number);
}

SignalGuard::~SignalGuard() {
    if (!blocks_) return;
    const timespec now{};
    while (sigtimedwait(&blocked_, nullptr, &now) > 0) {
    }
    pthread_sigmask(SIG_SETMASK, &before_, nullptr);
}

Connecting::Made Connecting::connect(const std::string& display) {
    // What xcb uses to find the server's password is not safe for more than one thread.
    static std::mutex& one = *new std::mutex;
    std::lock_guard lock(one);
    Made made;
    made.first.reset(xcb_connect(display.c_str(), &made.second));
    return made;
}

Connecting::Connecting() : display_(displayName()) {
    const auto result = std::make_shared<std::promise<Made>>();
    made_ = result->get_future();
    const bool runs = !display_.empty() && runJob([&] {
        software::startThread("orvo x11 connect",
                              [result, display = display_] { result->set_value(connect(display)); });
    });
    if (!runs) result->set_value({});
}

bool Connecting::isCurrent() const {
    return display_ == displayName();
}

bool Connecting::waitUntil(SteadyClock::time_point until) {
    const bool isDone = made_.wait_until(until) == std::future_status::ready;
    hangs = !isDone;
    return isDone;
}

std::unique_ptr<Connection> Connecting::take() {
    auto [made, screen] = made_.get();
    if (!made) return nullptr;
    auto connection = std::make_unique<Connection>(made.release(), screen);
    return connection->lost() ? nullptr : std::move(connection);
}

Connection::Connection(xcb_connection_t* raw, int screenNumber) : raw_(raw) {
    lost_ = xcb_connection_has_error(raw_) != 0;
    if (lost_) return;
    screen_ = screenOf(raw_, screenNumber);
    lost_ = !screen_ || !queryExtensions(*this, extensions_, formats_);
    if (!lost_) atoms_ = Atoms::of(*this);
}

Connection::~Connection() {
    const SignalGuard guard;
    events_.clear();
    xcb_disconnect(raw_);
}

int Connection::descriptor() const {
    return xcb_get_file_descriptor(raw_);
}

bool Connection::waitReadable(SteadyClock::time_point until) {
    while (true) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(until - SteadyClock::now()).count();
        if (left <= 0) return false;
        pollfd wait{descriptor(), POLLIN, 0};
        const int ready = poll(&wait, 1, static_cast<int>(left));
        if (ready > 0) return true;
        if (ready < 0 && errno != EINTR) return false;
    }
}

// True when the server has answered, with an error if the reply is null.
bool Connection::pollForReply(unsigned sequence, void*& reply) {
    xcb_generic_error_t* error = nullptr;
    if (!xcb_poll_for_reply(raw_, sequence, &reply, &error)) return false;
    std::free(error);
    lost_ = xcb_connection_has_error(raw_) != 0;
    if (!lost_) noteAnswer();
    return true;
}

// Asking for an event is what reads the socket.
void Connection::pollForEvent() {
    if (xcb_generic_event_t* event = xcb_poll_for_event(raw_)) events_.emplace_back(event);
}

void* Connection::awaitReply(unsigned sequence) {
    void* reply = nullptr;
    if (lost_ || pollForReply(sequence, reply)) return reply;  // what is asked by now may travel later, with more
    flush();
    const auto until = SteadyClock::now() + kServerLimit;
    while (!pollForReply(sequence, reply)) {
        if (!waitReadable(until)) {
            lost_ = true;
            lateAnswer_ = sequence;
            hangs = true;
            return nullptr;
        }
        pollForEvent();
    }
    return reply;
}

bool Connection::answers() {
    if (lost_ || serverHangs()) return false;
    return hasAnsweredLately() || sync();
}

bool Connection::hasAnsweredLately() const {
    const auto quiet = SteadyClock::now().time_since_epoch().count() - lastAnswer;
    return !lost_ && quiet < SteadyClock::duration(kQuietLimit).count();
}

void Connection::probe() {
    if (lost_) return;
    lateAnswer_ = xcb_get_input_focus(raw_).sequence;
    flush();
    lost_ = true;
}

bool Connection::recovers() {
    if (lateAnswer_ == 0) return !lost_;
    pollForEvent();
    void* reply = nullptr;
    if (!pollForReply(lateAnswer_, reply)) return false;
    std::free(reply);
    const unsigned late = std::exchange(lateAnswer_, 0);
    if (lost_) return false;
    // Answers to what was asked afterwards would lie here for ever.
    const unsigned last = xcb_get_input_focus(raw_).sequence;
    for (unsigned each = late + 1; each != last + 1; ++each) xcb_discard_reply(raw_, each);
    return true;
}

bool Connection::succeeded(xcb_void_cookie_t cookie) {
    // When a later reply has arrived, so has the error of the request, if there is one.
    if (!sync()) return false;
    const Reply<xcb_generic_error_t> error(xcb_request_check(raw_, cookie));
    return !error;
}

bool Connection::sync() {
    // Without a reply there is an error only when the connection is lost: the request has no other.
    return await<xcb_get_input_focus_reply_t>(xcb_get_input_focus(raw_).sequence) != nullptr;
}

void Connection::flush() {
    if (!lost_ && xcb_flush(raw_) <= 0) lost_ = true;
}

// A connection has one mask for each window. A window that has gone takes its mask with it, and another may get its
// number.
void Connection::select(xcb_window_t window, uint32_t events) {
    uint32_t& mask = selected_[window];
    if ((mask & events) == events) return;
    mask |= events;
    xcb_change_window_attributes(raw_, window, XCB_CW_EVENT_MASK, &mask);
}

Event Connection::nextEvent() {
    while (!lost_) {
        Event event;
        if (!events_.empty()) {
            event = std::move(events_.front());
            events_.pop_front();
        } else {
            event.reset(xcb_poll_for_event(raw_));
            if (!event) {
                lost_ = xcb_connection_has_error(raw_) != 0;
                return nullptr;
            }
        }
        if (event->response_type == 0) continue;  // an error of a request that nobody awaits
        if ((event->response_type & 0x7F) == XCB_DESTROY_NOTIFY)
            selected_.erase(reinterpret_cast<const xcb_destroy_notify_event_t&>(*event).window);
        ++eventCount_;
        return event;
    }
    return nullptr;
}

std::vector<xcb_window_t> childrenIn(const xcb_query_tree_reply_t* tree) {
    if (!tree) return {};
    const xcb_window_t* const children = xcb_query_tree_children(tree);
    return {children, children + xcb_query_tree_children_length(tree)};
}

}  // namespace orvo::platform::x11
