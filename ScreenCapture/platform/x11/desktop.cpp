// What the desktop is like: an immutable snapshot, asked for again when it is stale.
#include "ScreenCapture/platform/x11/desktop.h"

#include <algorithm>
#include <array>
#include <mutex>
#include <utility>
#include <vector>

#include "ScreenCapture/platform/snapshot_scope.h"
#include "ScreenCapture/platform/version.h"
#include "ScreenCapture/platform/x11/pointer.h"

namespace orvo::platform::x11 {
namespace {

constexpr std::chrono::milliseconds kIdleLimit{500};     // the server keeps events that nobody needs until then
constexpr std::chrono::milliseconds kObservedLimit{10};  // while somebody observes

using Parts = std::array<std::unique_ptr<DesktopPart>, 3>;
Parts makeParts() {
    return {makeMonitorPart(), makeWindowListPart(), makeCursorPart()};
}

class Facts final : public EventHandler {
  public:
    static Facts& instance() {
        static Facts& facts = *new Facts;
        return facts;
    }

    std::shared_ptr<const Desktop> current(Server::Use& x) {
        if (x && refresh(x)) return last();
        // A server that hangs is not gone: what was there is the best answer.
        return x.state() == Server::State::hung ? last() : nullptr;
    }

    void onEvent(const Connection& x, const xcb_generic_event_t& event) override {
        if (epoch_ != desktopServer().epoch()) return;
        bool isNew = false;
        for (size_t i = 0; i < parts_.size(); i++)
            if (parts_[i]->handle(x, event)) isNew |= !std::exchange(stale_[i], true);
        if (!isNew) return;
        std::lock_guard lock(mutex_);
        for (DesktopObserver* const observer : observers_) observer->onStale();
    }

    void add(DesktopObserver& observer) {
        std::lock_guard lock(mutex_);
        observers_.push_back(&observer);
        desktopServer().readWithin(kObservedLimit);
    }
    void remove(DesktopObserver& observer) {
        std::lock_guard lock(mutex_);
        std::erase(observers_, &observer);
        if (observers_.empty()) desktopServer().readWithin(kIdleLimit);
    }

  private:
    Facts() { desktopServer().add(*this); }

    // False when the server has not answered everything.
    bool refresh(Server::Use& x) {
        if (std::exchange(epoch_, desktopServer().epoch()) != desktopServer().epoch()) attach(*x);
        for (size_t i = 0; i < parts_.size(); i++) stale_[i] |= parts_[i]->isOutdated();
        if (std::find(stale_.begin(), stale_.end(), true) == stale_.end()) return true;
        const auto before = last();
        Desktop next = before ? *before : Desktop();
        for (size_t i = 0; i < parts_.size(); i++)
            if (std::exchange(stale_[i], false)) parts_[i]->refresh(*x, next);
        // What has changed in between is known, and goes into the next snapshot.
        x.readEvents();
        if (!x) {
            stale_.fill(true);
            for (const auto& part : parts_) part->invalidate();
            return false;
        }
        const auto members = [](const Desktop& each) { return std::tie(each.monitors, each.windows, each.cursor); };
        if (before && members(*before) == members(next)) return true;
        next.version = nextVersion();
        replace(std::make_shared<const Desktop>(std::move(next)));
        return true;
    }

    void attach(Connection& x) {
        for (const auto& part : parts_) part->attach(x);
        stale_.fill(true);
    }

    // The snapshot of this connection; null when there is none yet.
    std::shared_ptr<const Desktop> last() {
        std::lock_guard lock(mutex_);
        return snapshotEpoch_ == desktopServer().epoch() ? desktop_ : nullptr;
    }
    void replace(std::shared_ptr<const Desktop> desktop) {
        std::lock_guard lock(mutex_);
        std::swap(desktop_, desktop);
        snapshotEpoch_ = epoch_;
    }

    // Used under the server's lock.
    Parts parts_ = makeParts();
    std::array<bool, std::tuple_size_v<Parts>> stale_{};
    uint64_t epoch_ = 0;

    std::mutex mutex_;
    std::shared_ptr<const Desktop> desktop_;
    uint64_t snapshotEpoch_ = 0;
    std::vector<DesktopObserver*> observers_;
};

template <typename Latest>
std::shared_ptr<const Desktop> ofScope(Latest latest) {
    SnapshotScope* const scope = SnapshotScope::current();
    if (!scope) return latest();
    if (!scope->snapshot) scope->snapshot = latest();
    return std::static_pointer_cast<const Desktop>(scope->snapshot);
}

}  // namespace

std::shared_ptr<const Desktop> latestDesktop(Server::Use& x) {
    return Facts::instance().current(x);
}

std::shared_ptr<const Desktop> latestDesktop() {
    Server::Use x = desktopServer().use();
    return latestDesktop(x);
}

std::shared_ptr<const Desktop> currentDesktop(Server::Use& x) {
    return ofScope([&] { return latestDesktop(x); });
}

std::shared_ptr<const Desktop> currentDesktop() {
    return ofScope([] { return latestDesktop(); });
}

void addObserver(DesktopObserver& observer) {
    Facts::instance().add(observer);
}

void removeObserver(DesktopObserver& observer) {
    Facts::instance().remove(observer);
}

}  // namespace orvo::platform::x11
