// The one way to the X server: a connection behind a lock, and one reader of its events.
#include "ScreenCapture/platform/x11/server.h"

#include <poll.h>

#include <algorithm>

#include "ScreenCapture/platform/version.h"

namespace orvo::platform::x11 {
namespace {

using Clock = std::chrono::steady_clock;

// An exchange with a server that stops answering ends within kServerLimit. The other half is for one that is slow.
// After a fork nobody gives the lock up.
constexpr std::chrono::milliseconds kLockLimit = 2 * kServerLimit;
// Another thread may read the event that is waited for.
constexpr std::chrono::milliseconds kReadInterval{4};

}  // namespace

Server::Use::Use(Server& server) : server_(server), lock_(server.mutex_, kLockLimit) {
    if (!lock_ || !server_.connect()) return;
    connection_ = server_.connection_;
}

void Server::Use::readEvents() {
    while (const Event event = connection_->nextEvent()) server_.dispatch(*connection_, *event);
}

bool Server::Use::waitForEvent(std::chrono::milliseconds limit) {
    if (!*this) return false;
    connection_->flush();
    const auto until = Clock::now() + limit;
    const uint64_t before = connection_->eventCount();
    bool wasRead = false;
    while (!wasRead && Clock::now() < until) {
        const int descriptor = connection_->descriptor();
        lock_.unlock();
        pollfd socket{descriptor, POLLIN, 0};
        poll(&socket, 1, static_cast<int>(std::min(limit, kReadInterval).count()));
        if (!lock_.try_lock_for(kLockLimit)) {
            connection_ = nullptr;
            return false;
        }
        readEvents();
        wasRead = connection_->eventCount() != before;
    }
    return static_cast<bool>(*this);
}

// Whether there is a connection that answers, with all its events handed out.
bool Server::connect() {
    if (serverHangs()) return false;
    if (connection_ && connection_->silent() && !connection_->answersAgain()) return false;
    while (const Event event = connection_ ? connection_->nextEvent() : nullptr) dispatch(*connection_, *event);
    if (connection_ && !connection_->lost()) return true;
    connection_ = Connection::open();
    if (!connection_) return false;
    atoms_ = Atoms::of(*connection_);
    epoch_ = nextVersion();
    return !connection_->lost();
}

void Server::dispatch(const Connection& x, const xcb_generic_event_t& event) {
    std::lock_guard lock(handlersMutex_);
    for (EventHandler* const handler : handlers_) handler->onEvent(x, event);
}

void Server::add(EventHandler& handler) {
    std::lock_guard lock(handlersMutex_);
    handlers_.push_back(&handler);
}

void Server::remove(EventHandler& handler) {
    std::lock_guard lock(handlersMutex_);
    std::erase(handlers_, &handler);
}

void Server::close() {
    const PipeGuard guard;
    const std::unique_lock lock(mutex_, kLockLimit);
    if (lock) connection_ = nullptr;
}

Server& desktopServer() {
    static Server& server = *new Server;
    return server;
}

Server& pictureServer() {
    static Server& server = *new Server;
    return server;
}

}  // namespace orvo::platform::x11
