// What the desktop looks like now: a snapshot that a thread with a connection of its own refreshes by events.
#include "ScreenCapture/platform/x11/desktop_model.h"

#include <poll.h>

#include <array>
#include <condition_variable>
#include <mutex>
#include <utility>

#include "ScreenCapture/platform/software/threads.h"

namespace orvo::platform::x11 {
namespace {

constexpr size_t kPartCount = 1;
using Parts = std::array<std::unique_ptr<ModelPart>, kPartCount>;

Parts makeParts() {
    return {makeMonitorPart()};
}

// The thread lives as long as its connection; a question that finds none starts the next.
class DesktopModel {
  public:
    static DesktopModel& instance() {
        static DesktopModel& model = *new DesktopModel;
        return model;
    }

    std::shared_ptr<const Desktop> current() {
        const auto until = std::chrono::steady_clock::now() + kServerLimit;
        std::unique_lock lock(mutex_);
        bool mayConnect = true;
        const uint64_t seen = published_;
        while (true) {
            if (state_ == State::idle) {
                if (!std::exchange(mayConnect, false)) return nullptr;
                state_ = State::busy;
                software::startThread("orvo desktop", [this] { run(); });
            }
            // A snapshot begun after this call holds all that was there at its time, however fast news come in.
            if (published_ > seen + 1 || (state_ == State::waiting && !newsWaiting())) return desktop_;
            if (changed_.wait_until(lock, until) == std::cv_status::timeout) return nullptr;
        }
    }

  private:
    enum class State {
        idle,     // no thread, no connection
        busy,     // the thread connects, reads events or asks
        waiting,  // the snapshot holds everything that was read; the thread waits for the socket
    };

    // The thread says that it is busy before it reads the socket, so what has arrived is seen either here or there.
    bool newsWaiting() const {
        pollfd socket{descriptor_, POLLIN, 0};
        return poll(&socket, 1, 0) > 0;
    }

    void setState(State state) {
        std::lock_guard lock(mutex_);
        state_ = state;
        changed_.notify_all();
    }

    void run() {
        const auto connection = Connection::open();
        if (connection) {
            attach(*connection);
            serve(*connection);
        }
        setState(State::idle);  // before the connection closes: readers look at its descriptor
    }

    void attach(Connection& x) {
        uint32_t events = 0;
        for (const auto& part : parts_) events |= part->rootEvents();
        xcb_change_window_attributes(x.raw(), x.root(), XCB_CW_EVENT_MASK, &events);
        for (const auto& part : parts_) part->attach(x);
        stale_.fill(true);
    }

    void serve(Connection& x) {
        Desktop next;
        while (true) {
            for (size_t i = 0; i < kPartCount && !x.lost(); i++)
                if (std::exchange(stale_[i], false)) parts_[i]->refresh(x, next);
            // News that came in between are known and go into the next snapshot.
            const bool more = readEvents(x);
            if (x.lost()) return;
            publish(next, x.descriptor(), more ? State::busy : State::waiting);
            if (more) continue;
            pollfd socket{x.descriptor(), POLLIN, 0};
            poll(&socket, 1, -1);
            setState(State::busy);
            readEvents(x);
        }
    }

    // True when something has become stale.
    bool readEvents(Connection& x) {
        bool any = false;
        while (const Event event = x.nextEvent())
            for (size_t i = 0; i < kPartCount; i++)
                if (parts_[i]->handle(x, *event)) any = stale_[i] = true;
        return any;
    }

    void publish(const Desktop& desktop, int descriptor, State state) {
        auto copy = std::make_shared<const Desktop>(desktop);
        std::lock_guard lock(mutex_);
        std::swap(desktop_, copy);
        descriptor_ = descriptor;
        published_++;
        state_ = state;
        changed_.notify_all();
    }

    std::mutex mutex_;
    std::condition_variable changed_;
    State state_ = State::idle;
    std::shared_ptr<const Desktop> desktop_;
    int descriptor_ = -1;     // valid while the state is not idle
    uint64_t published_ = 0;  // snapshots so far

    // The thread's own.
    Parts parts_ = makeParts();
    std::array<bool, kPartCount> stale_{};
};

}  // namespace

std::shared_ptr<const Desktop> currentDesktop() {
    return DesktopModel::instance().current();
}

}  // namespace orvo::platform::x11
