// What the desktop looks like now: a snapshot that a thread with a connection of its own keeps.
#include "ScreenCapture/platform/x11/desktop_model.h"

#include <poll.h>
#include <sys/eventfd.h>

#include <algorithm>
#include <array>
#include <condition_variable>
#include <mutex>
#include <utility>

#include "ScreenCapture/platform/contained.h"
#include "ScreenCapture/platform/platform.h"
#include "ScreenCapture/platform/software/threads.h"
#include "ScreenCapture/platform/version.h"
#include "ScreenCapture/platform/x11/pointer.h"

namespace orvo::platform::x11 {
namespace {

constexpr size_t kPartCount = 3;
// How long news may lie unread while the snapshot is outdated anyway: the server keeps them until then.
constexpr int kUnreadLimit = 500;  // milliseconds
using Parts = std::array<std::unique_ptr<ModelPart>, kPartCount>;

Parts makeParts() {
    return {makeMonitorPart(), makeWindowPart(), makeCursorPart()};
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
        // A server that does not answer is not gone: what was there is the best answer.
        if (serverHangs()) return desktop_;
        bool mayConnect = true;
        const uint64_t enough = begun_ + 1;
        while (true) {
            if (state_ == State::idle) {
                if (!std::exchange(mayConnect, false)) return serverHangs() ? desktop_ : nullptr;
                software::startThread("orvo desktop", [this] { run(); });
                state_ = State::busy;
            }
            // A refresh begun after this call finds all that was there at its time, however fast news come in.
            const bool waits = state_ == State::waiting;
            if (finished_ >= enough || (waits && !outdated_ && !newsWaiting())) return desktop_;
            if (waits && outdated_ && !std::exchange(wanted_, true)) eventfd_write(wake_, 1);
            if (changed_.wait_until(lock, until) == std::cv_status::timeout) return desktop_;
        }
    }

    void outdate() {
        std::lock_guard lock(mutex_);
        outdated_ = true;
    }

  private:
    enum class State {
        idle,     // no thread, no connection
        busy,     // the thread connects, reads events or asks
        waiting,  // what was read is in the snapshot, or makes it outdated; the thread waits for news, or to be wanted
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
        std::unique_ptr<Connection> connection;
        runJob([&] {
            if (wake_ < 0) wake_ = eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC);
            if (wake_ >= 0) connection = Connection::open();
            if (!connection) return;
            attach(*connection);
            serve(*connection);
        });
        if (!connection || !connection->silent()) forget();
        setState(State::idle);  // before the connection closes: readers look at its descriptor
    }

    // Of a server that is silent the last snapshot is kept.
    void forget() {
        if (serverHangs()) return;
        std::lock_guard lock(mutex_);
        desktop_ = nullptr;
    }

    void attach(Connection& x) {
        uint32_t events = 0;
        for (const auto& part : parts_) events |= part->rootEvents();
        xcb_change_window_attributes(x.raw(), x.root(), XCB_CW_EVENT_MASK, &events);
        for (const auto& part : parts_) part->attach(x);
        stale_.fill(true);
        std::lock_guard lock(mutex_);
        begun_++;
    }

    void serve(Connection& x) {
        Desktop next;
        while (true) {
            for (size_t i = 0; i < kPartCount && !x.lost(); i++)
                if (std::exchange(stale_[i], false)) parts_[i]->refresh(x, next);
            // News that came in between are known and go into the next snapshot.
            readEvents(x);
            if (x.lost()) return;
            publish(next, x.descriptor());
            while (!isWanted()) {
                waitForWork(x.descriptor());
                setState(State::busy);
                eventfd_t count = 0;
                eventfd_read(wake_, &count);
                readEvents(x);
                if (x.lost()) return;
            }
        }
    }

    bool anythingStale() const { return std::find(stale_.begin(), stale_.end(), true) != stale_.end(); }

    // A window that is dragged makes news all the time: of an outdated snapshot nobody needs them one by one.
    void waitForWork(int descriptor) const {
        pollfd both[] = {{wake_, POLLIN, 0}, {descriptor, POLLIN, 0}};
        if (anythingStale())
            poll(both, 1, kUnreadLimit);
        else
            poll(both, 2, -1);
    }

    // Asking the server again is left until somebody wants to know.
    bool isWanted() {
        std::lock_guard lock(mutex_);
        for (size_t i = 0; i < kPartCount; i++) stale_[i] |= parts_[i]->takeStale();
        outdated_ = anythingStale();
        const bool wanted = std::exchange(wanted_, false) && outdated_;
        state_ = wanted ? State::busy : State::waiting;
        if (wanted) begun_++;
        changed_.notify_all();
        return wanted;
    }

    void readEvents(Connection& x) {
        while (const Event event = x.nextEvent())
            for (size_t i = 0; i < kPartCount; i++)
                if (parts_[i]->handle(x, *event)) stale_[i] = true;
    }

    void publish(Desktop& desktop, int descriptor) {
        desktop.version = nextVersion();
        auto copy = std::make_shared<const Desktop>(desktop);
        std::lock_guard lock(mutex_);
        std::swap(desktop_, copy);
        descriptor_ = descriptor;
        finished_ = begun_;
    }

    std::mutex mutex_;
    std::condition_variable changed_;
    State state_ = State::idle;
    std::shared_ptr<const Desktop> desktop_;
    int descriptor_ = -1;    // valid while the state is not idle
    bool outdated_ = false;  // events have made the snapshot stale
    bool wanted_ = false;    // somebody waits for the next
    int wake_ = -1;          // made with the first connection
    uint64_t begun_ = 0;     // refreshes so far
    uint64_t finished_ = 0;  // the last of them that is in the snapshot

    // The thread's own.
    Parts parts_ = makeParts();
    std::array<bool, kPartCount> stale_{};
};

}  // namespace

std::shared_ptr<const Desktop> latestDesktop() {
    return DesktopModel::instance().current();
}

void outdateDesktop() {
    DesktopModel::instance().outdate();
}

std::shared_ptr<const Desktop> currentDesktop() {
    OneLook* const look = OneLook::current();
    if (!look) return latestDesktop();
    if (!look->seen) look->seen = latestDesktop();
    return std::static_pointer_cast<const Desktop>(look->seen);
}

}  // namespace orvo::platform::x11
