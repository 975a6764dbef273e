// The one way to the X server: a connection behind a lock, and one reader of its events.
//
// The process has one server for facts, orders and captures, and a second connection while a list of windows is shown
// with pictures: pictures may wait for windows to repaint, and a tick must not queue behind them.
#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <utility>
#include <vector>

#include "ScreenCapture/platform/x11/connection.h"

namespace orvo::platform::x11 {

// Notes what events say, for whoever uses the server next.
class EventHandler {
  public:
    // Every event of the connection, in the server's order. Called while the server is locked, by whichever thread uses
    // it; neither asks the server nor adds or removes handlers.
    virtual void onEvent(const Connection& x, const xcb_generic_event_t& event) = 0;

  protected:
    ~EventHandler() = default;
};

// A mutex that is waited for with a limit, in place of std::timed_mutex, whose waits the thread sanitizer does not see.
class TimedMutex {
  public:
    void lock() {
        std::unique_lock lock(mutex_);
        released_.wait(lock, [this] { return !isHeld_; });
        isHeld_ = true;
    }
    bool try_lock_for(std::chrono::milliseconds limit) {
        std::unique_lock lock(mutex_);
        const bool isMine = released_.wait_for(lock, limit, [this] { return !isHeld_; });
        if (isMine) isHeld_ = true;
        return isMine;
    }
    bool try_lock() {
        std::lock_guard lock(mutex_);
        return !std::exchange(isHeld_, true);
    }
    void unlock() {
        std::lock_guard lock(mutex_);
        isHeld_ = false;
        released_.notify_one();
    }

  private:
    std::mutex mutex_;
    std::condition_variable released_;
    bool isHeld_ = false;
};

// Lives as long as the process; any thread. Connects at the first use, and again once the connection is lost.
//
//      lost ------ connected -----> up ------ an answer is late -----> hung
//        ^                          | ^                                 |
//        +---- connection closed ---+ +---- the late answer comes ------+
//
// A server that is hung is so for both connections, and nobody waits for it: each use looks whether it has answered.
class Server {
  public:
    enum class State { lost, up, hung };
    // readsWhileIdle: events are read also while nobody uses the server, by a thread that wakes up for nothing else.
    explicit Server(bool readsWhileIdle) : readsWhileIdle_(readsWhileIdle) {}

    // Holds the server while it lives: for one exchange. Waits for another thread's exchange, at most two seconds. On
    // entry it reads what events have arrived. One thread holds no two of them for one server.
    //     if (Server::Use x = desktopServer().use()) x->await<...>(...);
    class Use {
      public:
        explicit Use(Server& server, std::chrono::milliseconds patience);
        // Does not wait: there is nobody to ask also while another thread uses the server. For looking at what has
        // come; nothing may be asked.
        Use(Server& server, std::try_to_lock_t now);
        Use(const Use&) = delete;
        Use& operator=(const Use&) = delete;

        // False: nobody to ask, as there is no server or it does not answer. May become so at any wait.
        explicit operator bool() const { return connection_ && !connection_->lost(); }
        // Hung also while another thread's exchange takes too long.
        State state() const;
        Connection* operator->() const { return connection_.get(); }
        Connection& operator*() const { return *connection_; }
        // For objects on the server, which must not outlive their connection.
        const std::shared_ptr<Connection>& connection() const { return connection_; }

        // Hands out the events that have arrived, also those that came with answers.
        void readEvents();
        // Lets other threads use the server until an event may have come or the time is over, then reads events. False
        // when the connection is not of use any more.
        bool waitForEvent(std::chrono::milliseconds limit);

      private:
        Server& server_;
        std::optional<SignalGuard> guard_;  // reading needs none
        std::unique_lock<TimedMutex> lock_;
        std::shared_ptr<Connection> connection_;
    };

    // patience: how long a server that hangs is given to answer again; for what is not tried once more by itself.
    Use use(std::chrono::milliseconds patience = {}) { return Use(*this, patience); }

    // Another number for each connection, 0 without one: what was made on the server under an older number is gone.
    uint64_t epoch() const { return epoch_; }

    // A handler gets events from add() until remove() has returned. Both may be called while the server is in use.
    void add(EventHandler& handler);
    void remove(EventHandler& handler);

    // How long events may lie unread while nobody uses the server.
    void readWithin(std::chrono::milliseconds limit) { idleLimit_ = limit; }

    // Closes the connection until the next use, after what others are doing with it.
    void close();

  private:
    void readEvents(Connection& x);
    bool readEvents();
    bool connect();
    void startReader();
    void readWhileIdle();

    const bool readsWhileIdle_;
    TimedMutex mutex_;
    std::shared_ptr<Connection> connection_;
    std::optional<Connecting> connecting_;
    std::chrono::steady_clock::time_point lastRead_;
    bool hasReader_ = false;
    std::atomic<std::chrono::milliseconds> idleLimit_{std::chrono::milliseconds(500)};
    std::atomic<uint64_t> epoch_ = 0;
    std::mutex handlersMutex_;
    std::vector<EventHandler*> handlers_;
};

Server& desktopServer();
Server& pictureServer();

}  // namespace orvo::platform::x11
