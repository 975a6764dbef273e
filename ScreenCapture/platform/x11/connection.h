// A connection to the X server on which no wait is without a limit.
#pragma once

#include <signal.h>
#include <xcb/xcb.h>

#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <deque>
#include <functional>
#include <future>
#include <memory>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "ScreenCapture/platform/image.h"
#include "ScreenCapture/platform/x11/atoms.h"
#include "ScreenCapture/platform/x11/extensions.h"

namespace orvo::platform::x11 {

// Every wait for the server ends after this time; a server that has not answered then counts as lost.
constexpr std::chrono::milliseconds kServerLimit{1000};

struct FreeMemory {
    void operator()(void* memory) const { std::free(memory); }
};
// A reply, an event or an error, as xcb hands them out.
template <typename T>
using Reply = std::unique_ptr<T, FreeMemory>;
using Event = Reply<xcb_generic_event_t>;

// True from the moment when some answer of the server was not waited for any longer until one comes. Nobody else waits
// for it meanwhile: what would be a question gives its answer for a lost server at once. The server is the same for all
// connections, so one that gets an answer ends it for all.
bool serverHangs();

// Why there is no server to ask: no X server, one that hangs, or a Wayland session that has none.
NoImage whyUnreachable();

// Keeps signals from the calling thread that would end the process: that of a server that has gone, and that of memory
// beyond the process's limit. Does nothing on the library's own threads: they block both.
class SignalGuard {
  public:
    SignalGuard();
    ~SignalGuard();
    SignalGuard(const SignalGuard&) = delete;
    SignalGuard& operator=(const SignalGuard&) = delete;

  private:
    bool blocks_ = false;
    sigset_t before_{};
    sigset_t blocked_{};  // those that were not blocked before
};

// For one thread at a time. Requests go through raw(); what needs an answer is awaited by its sequence number:
//     const auto cookie = xcb_get_geometry(x.raw(), window);
//     const auto geometry = x.await<xcb_get_geometry_reply_t>(cookie.sequence);
// Errors of requests that nobody awaits are dropped with their events.
//
// xcb's own waits have no limit, so nothing here calls them: an answer is polled for, and between two polls poll()
// waits for the socket. An answer that has not come within kServerLimit makes the connection *hung*: of no use, as if
// it were lost, until recovers() finds that very answer. Then everything asked before it has been done, and it goes
// on with all its events; answers to what was asked after it are thrown away, for those who asked have given up.
class Connection {
  public:
    // What xcb_connect() has made, or has failed to make; greets the server.
    Connection(xcb_connection_t* raw, int screenNumber);
    ~Connection();
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    xcb_connection_t* raw() const { return raw_; }
    xcb_screen_t* screen() const { return screen_; }
    xcb_window_t root() const { return screen_->root; }
    const Extensions& extensions() const { return extensions_; }
    const PictureFormats& formats() const { return formats_; }
    const Atoms& atoms() const { return atoms_; }
    int descriptor() const;

    // Whether the server answers. While nothing is asked, a server that hangs looks like one where nothing happens; so
    // when nobody in this process has had an answer for about a second, this asks for one and waits for it.
    bool answers();
    // It need not be asked now.
    bool hasAnsweredLately() const;
    // The server is gone or did not answer in time: open another connection.
    bool lost() const { return lost_; }
    // It is lost because the server did not answer in time, and nothing else is known of it since.
    bool isHung() const { return lateAnswer_ != 0; }
    // Makes it hung without waiting: another connection's question was not answered in time.
    void probe();
    // Looks for the late answer of a hung server, without waiting. True when the connection can be used again:
    // its events have been kept, of what was asked nothing may have been done, and no other answer comes.
    bool recovers();

    // The reply of a request; null on its error, or when the connection is lost.
    template <typename T>
    Reply<T> await(unsigned sequence) {
        return Reply<T>(static_cast<T*>(awaitReply(sequence)));
    }
    // True when the checked request went well.
    bool succeeded(xcb_void_cookie_t cookie);
    // Waits until the server has done everything asked so far; false when it is lost.
    bool sync();
    void flush();

    // Selects events of a window beside those that were selected before: several users of one connection see each
    // other's.
    void select(xcb_window_t window, uint32_t events);

    // The next event that has arrived, null when there is none. Never waits.
    Event nextEvent();
    // How many were handed out.
    uint64_t eventCount() const { return eventCount_; }

  private:
    void* awaitReply(unsigned sequence);
    bool pollForReply(unsigned sequence, void*& reply);
    void pollForEvent();
    bool waitReadable(std::chrono::steady_clock::time_point until);

    xcb_connection_t* raw_;
    xcb_screen_t* screen_ = nullptr;
    Extensions extensions_;
    PictureFormats formats_;
    Atoms atoms_;
    std::deque<Event> events_;  // read while waiting for a reply
    std::unordered_map<xcb_window_t, uint32_t> selected_;
    uint64_t eventCount_ = 0;
    unsigned lateAnswer_ = 0;  // the request whose answer was not waited for any longer
    bool lost_ = false;
};

// Requests that travel together: all are sent before the first answer is awaited.
class RequestBatch {
  public:
    explicit RequestBatch(Connection& x) : x_(x) {}

    Connection& connection() const { return x_; }
    // Takes what awaits the answers of requests that have been sent.
    void add(std::function<void()> receive) { receivers_.push_back(std::move(receive)); }
    // In the order in which they were added.
    void receive() {
        for (const auto& receiver : std::exchange(receivers_, {})) receiver();
    }

  private:
    Connection& x_;
    std::vector<std::function<void()>> receivers_;
};

// The windows inside a window, back to front; none without a reply.
std::vector<xcb_window_t> childrenIn(const xcb_query_tree_reply_t* tree);

// Connects without waiting: xcb_connect() itself waits for the server without a limit, and stays on its own thread
// when it does not return.
class Connecting {
  public:
    // To the server that DISPLAY names now.
    Connecting();

    // Whether DISPLAY still names that server.
    bool isCurrent() const;
    // False when the server has not been reached nor refused by then: it hangs.
    bool waitUntil(std::chrono::steady_clock::time_point until);
    // Once, afterwards; null when there is no server.
    std::unique_ptr<Connection> take();

  private:
    struct Disconnect {
        void operator()(xcb_connection_t* connection) const { xcb_disconnect(connection); }
    };
    // What xcb_connect() made, and the number of its screen. Disconnected if nobody takes it.
    using Made = std::pair<std::unique_ptr<xcb_connection_t, Disconnect>, int>;
    static Made connect(const std::string& display);

    const std::string display_;
    std::future<Made> made_;
};

}  // namespace orvo::platform::x11
