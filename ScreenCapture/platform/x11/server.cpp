// The one way to the X server: a connection behind a lock, and one reader of its events.
#include "ScreenCapture/platform/x11/server.h"

#include <poll.h>

#include <algorithm>
#include <thread>

#include "ScreenCapture/platform/contained.h"
#include "ScreenCapture/platform/software/threads.h"
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

Server::Use::Use(Server& server, std::chrono::milliseconds patience)
    : server_(server), guard_(std::in_place), lock_(server.mutex_, kLockLimit) {
    const auto until = Clock::now() + patience;
    while (lock_ && !connection_) {
        if (server_.readEvents() || server_.connect()) connection_ = server_.connection_;
        const bool mayAnswer = !connection_ && server_.connection_ && server_.connection_->isHung();
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(until - Clock::now()).count();
        if (!mayAnswer || left <= 0) break;
        pollfd socket{server_.connection_->descriptor(), POLLIN, 0};
        poll(&socket, 1, static_cast<int>(left));
    }
}

Server::Use::Use(Server& server, std::try_to_lock_t now) : server_(server), lock_(server.mutex_, now) {
    if (!lock_ || !server_.connection_ || server_.connection_->isHung() || serverHangs()) return;
    connection_ = server_.connection_;
    readEvents();
}

Server::State Server::Use::state() const {
    if (*this) return State::up;
    return !lock_ || serverHangs() ? State::hung : State::lost;
}

void Server::Use::readEvents() {
    server_.readEvents(*connection_);
}

bool Server::Use::waitForEvent(std::chrono::milliseconds limit) {
    if (!*this) return false;
    connection_->flush();
    const auto until = Clock::now() + limit;
    const uint64_t before = connection_->eventCount();
    while (*this && connection_->eventCount() == before && Clock::now() < until) {
        lock_.unlock();
        pollfd socket{connection_->descriptor(), POLLIN, 0};
        poll(&socket, 1, static_cast<int>(std::min(limit, kReadInterval).count()));
        if (!lock_.try_lock_for(kLockLimit)) connection_ = nullptr;
        if (connection_) readEvents();
    }
    return static_cast<bool>(*this);
}

// The lock is held in what follows.

void Server::readEvents(Connection& x) {
    lastRead_ = Clock::now();
    while (const Event event = x.nextEvent()) {
        std::lock_guard lock(handlersMutex_);
        for (EventHandler* const handler : handlers_) handler->onEvent(x, *event);
    }
}

// Whether there is a connection that answers, with all its events handed out.
bool Server::readEvents() {
    if (!connection_ || (connection_->isHung() && !connection_->recovers())) return false;
    readEvents(*connection_);
    if (serverHangs()) connection_->probe();
    return !connection_->lost();
}

bool Server::connect() {
    if (connection_ && connection_->isHung()) return false;
    connection_ = nullptr;
    epoch_ = 0;
    if (!connecting_ || !connecting_->isCurrent()) connecting_.emplace();
    const auto now = Clock::now();
    if (!connecting_->waitUntil(serverHangs() ? now : now + kServerLimit)) return false;
    connection_ = connecting_->take();
    connecting_.reset();
    if (!connection_) return false;
    epoch_ = nextVersion();
    lastRead_ = Clock::now();
    startReader();
    return true;
}

void Server::startReader() {
    if (!readsWhileIdle_ || hasReader_) return;
    hasReader_ = runJob([this] { software::startThread("orvo x11 events", [this] { readWhileIdle(); }); });
}

// While captures read the events this thread only looks after the time; while nothing happens it waits for the socket.
void Server::readWhileIdle() {
    std::unique_lock lock(mutex_);
    const auto isDue = [this] { return connection_->isHung() || Clock::now() >= lastRead_ + idleLimit_.load(); };
    while (connection_ && (connection_->isHung() || !connection_->lost())) {
        const auto connection = connection_;
        const bool waits = isDue();
        const auto due = lastRead_ + idleLimit_.load();
        lock.unlock();
        pollfd socket{connection->descriptor(), POLLIN, 0};
        if (waits)
            poll(&socket, 1, -1);
        else
            std::this_thread::sleep_until(due);
        lock.lock();
        if (waits && connection_ && isDue()) readEvents();
    }
    hasReader_ = false;
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
    const SignalGuard guard;
    const std::unique_lock lock(mutex_, kLockLimit);
    if (lock) connection_ = nullptr;
}

Server& desktopServer() {
    static Server& server = *new Server(true);
    return server;
}

Server& pictureServer() {
    static Server& server = *new Server(false);
    return server;
}

}  // namespace orvo::platform::x11
