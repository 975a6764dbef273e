// What waits for the log thread.
#include "ScreenCapture/log/log_queue.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <utility>

namespace ORVO::ScreenCapture {

namespace {

constexpr size_t kPieceSize = 64 * 1024;  // bytes after which the next lines begin another piece
// Lines that may wait, bytes: for a log thread that was not started yet, and for one that does not keep up.
constexpr size_t kMaxBeforeStart = 1024 * 1024;
constexpr size_t kMaxBacklog = 16 * kMaxBeforeStart;

}  // namespace

void LogQueue::run_on(BASE::COrvoQueueRunner* runner, CORVOTaskBase* task) {
    {
        const std::lock_guard pushing(push_lock_);
        const std::lock_guard guard(lock_);
        runner_ = runner;
        task_ = runner ? task : nullptr;
        pushed_ = task_ && !entries_.empty();
        if (!pushed_) return;
    }
    push();
}

void LogQueue::post(std::function<void()>&& job) {
    {
        const std::lock_guard guard(lock_);
        if (!task_) return;
        entries_.push_back({std::move(job), {}, 0});
        if (std::exchange(pushed_, true)) return;
    }
    push();
}

void LogQueue::add(const char* text, size_t length) {
    std::string freed;  // outside the lock
    {
        const std::lock_guard guard(lock_);
        if (!task_) return;
        if (entries_.empty() || entries_.back().job || entries_.back().lines.size() >= kPieceSize)
            entries_.emplace_back();
        entries_.back().lines.append(text, length + 1);
        ++entries_.back().count;
        size_ += length + 1;
        if (size_ > (task_->IsStarted() ? kMaxBacklog : kMaxBeforeStart)) freed = drop_oldest();
        if (std::exchange(pushed_, true)) return;
    }
    push();
}

CORVOTaskBase* LogQueue::running_task() {
    const std::lock_guard guard(lock_);
    return task_ && task_->IsStarted() ? task_ : nullptr;
}

// Jobs stay: the first line after the one that opens the files says how many lines are missing.
std::string LogQueue::drop_oldest() {
    const auto oldest =
        std::find_if(entries_.begin(), entries_.end(), [](const Entry& entry) { return entry.count > 0; });
    std::string lines = std::move(oldest->lines);
    size_ -= lines.size();
    dropped_ += oldest->count;
    entries_.erase(oldest);
    return lines;
}

// A push that fails logs a line, which comes back to add(): that one finds the mark set and pushes nothing.
void LogQueue::push() {
    const std::lock_guard pushing(push_lock_);
    bool succeeded = false;
    try {
        succeeded = runner_ && runner_->AsyncRun([this] { drain(); }, task_) != 0;
    } catch (const std::bad_alloc&) {
        // The next line tries again.
    }
    if (succeeded) return;
    const std::lock_guard guard(lock_);
    pushed_ = false;
}

void LogQueue::drain() {
    unsigned int dropped = 0;
    {
        const std::lock_guard guard(lock_);
        std::swap(entries_, drained_);
        size_ = 0;
        dropped = std::exchange(dropped_, 0);
        pushed_ = false;
    }
    for (Entry& entry : drained_) {
        if (entry.job) entry.job();
        if (entry.count > 0 && dropped > 0) writer_.dropped(std::exchange(dropped, 0));
        char* const end = entry.lines.data() + entry.lines.size();
        for (char* line = entry.lines.data(); line < end;) {
            const size_t length = strlen(line);
            writer_.line(line, length);
            line += length + 1;
        }
    }
    drained_.clear();
}

}  // namespace ORVO::ScreenCapture
