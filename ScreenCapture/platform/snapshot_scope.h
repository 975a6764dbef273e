// A read transaction: questions of one thread that are answered from one snapshot of the desktop.
#pragma once

#include <memory>

namespace orvo::platform {

// While one lives, this thread's questions about displays, windows, applications and the cursor's picture may be
// answered from one snapshot, taken at the first of them. For the questions of a tick: orders have no place inside, and
// no callback of the host may run there. An adapter that cannot use it leaves it alone.
class SnapshotScope {
  public:
    SnapshotScope() { current_ = this; }
    ~SnapshotScope() { current_ = outer_; }
    SnapshotScope(const SnapshotScope&) = delete;
    SnapshotScope& operator=(const SnapshotScope&) = delete;

    // The innermost of this thread, null when there is none.
    static SnapshotScope* current() { return current_; }
    std::shared_ptr<const void> snapshot;  // the adapter's

  private:
    SnapshotScope* const outer_ = current_;
    static inline constinit thread_local SnapshotScope* current_ = nullptr;
};

}  // namespace orvo::platform
