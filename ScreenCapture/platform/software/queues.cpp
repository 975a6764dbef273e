// Serial queues and grid timers on plain threads: one thread runs a queue's jobs and the ticks of its timers in turn.
#include "ScreenCapture/platform/software/queues.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <utility>
#include <vector>

#include "ScreenCapture/platform/contained.h"
#include "ScreenCapture/platform/software/threads.h"

namespace orvo::platform::software {
namespace {

using SteadyClock = std::chrono::steady_clock;
using TimePoint = SteadyClock::time_point;

struct GridTimer {
    GridTimer(std::chrono::nanoseconds every, Job job) : interval(every), tick(std::move(job)) {}

    // The next grid point after now: points that were missed are skipped, their firings merge into the current one.
    void advance(TimePoint now) { next += interval * ((now - next) / interval + 1); }

    const std::chrono::nanoseconds interval;
    Job tick;  // touched by the queue's thread only
    TimePoint next = SteadyClock::now();
    std::atomic<bool> cancelled{false};
};

// What the thread and the handles share; the last owner frees it.
class QueueState {
  public:
    void post(Job job) {
        change([&] { waiting_.push_back(std::move(job)); });
    }
    void add(std::shared_ptr<GridTimer> timer) {
        change([&] { timers_.push_back(std::move(timer)); });
    }
    void cancel(GridTimer& timer) {
        change([&] { timer.cancelled = true; });
    }
    void close() {
        change([&] { closed_ = true; });
    }

    // The thread's loop. In each round it does the first of these that there is: forget a cancelled timer, run the jobs
    // that wait, run the tick that is due, end, wait. Jobs come before ticks, so that a timer whose tick takes longer
    // than its interval cannot keep them waiting; cancelled timers come first, so that none of them ticks. Jobs, ticks
    // and what they hold run and die without the lock: they may post, cancel or release this very queue.
    void run() {
        std::unique_lock lock(mutex_);
        while (true) {
            if (const auto dead = takeCancelled()) {
                lock.unlock();
                dead->tick = nullptr;  // what the tick holds may come back here
            } else if (!waiting_.empty()) {
                std::swap(waiting_, running_);
                lock.unlock();
                for (Job& job : running_) runJob(std::exchange(job, nullptr));
                running_.clear();
            } else if (const auto timer = due()) {
                lock.unlock();
                if (!timer->cancelled) runJob(timer->tick);
            } else if (closed_) {
                return;
            } else {
                wait(lock);
                continue;
            }
            lock.lock();
        }
    }

  private:
    template <typename Act>
    void change(Act act) {
        {
            std::lock_guard lock(mutex_);
            act();
        }
        wake_.notify_one();
    }

    std::shared_ptr<GridTimer> takeCancelled() {
        const auto found =
            std::find_if(timers_.begin(), timers_.end(), [](auto& timer) { return timer->cancelled.load(); });
        if (found == timers_.end()) return nullptr;
        auto timer = std::move(*found);
        timers_.erase(found);
        return timer;
    }

    static bool earlier(const std::shared_ptr<GridTimer>& a, const std::shared_ptr<GridTimer>& b) {
        return a->next < b->next;
    }

    std::shared_ptr<GridTimer> due() {
        const auto first = std::min_element(timers_.begin(), timers_.end(), earlier);
        const auto now = SteadyClock::now();
        if (first == timers_.end() || (*first)->next > now) return nullptr;
        (*first)->advance(now);
        return *first;
    }

    void wait(std::unique_lock<std::mutex>& lock) {
        const auto first = std::min_element(timers_.begin(), timers_.end(), earlier);
        if (first == timers_.end())
            wake_.wait(lock);
        else
            wake_.wait_until(lock, TimePoint((*first)->next));
    }

    std::mutex mutex_;
    std::condition_variable wake_;
    std::vector<Job> waiting_;
    std::vector<Job> running_;  // the thread's own; kept for its memory
    std::vector<std::shared_ptr<GridTimer>> timers_;
    bool closed_ = false;
};

class ThreadQueue final : public SerialQueue {
  public:
    explicit ThreadQueue(const char* label) : state_(std::make_shared<QueueState>()) {
        startThread(label, [state = state_] { state->run(); });
    }
    ~ThreadQueue() override { state_->close(); }
    ThreadQueue(const ThreadQueue&) = delete;
    ThreadQueue& operator=(const ThreadQueue&) = delete;

    void async(Job job) override { state_->post(std::move(job)); }
    const std::shared_ptr<QueueState>& state() const { return state_; }

  private:
    std::shared_ptr<QueueState> state_;
};

class ThreadTimer final : public Timer {
  public:
    ThreadTimer(std::shared_ptr<ThreadQueue> queue, std::chrono::nanoseconds interval, Job tick)
        : queue_(std::move(queue)), timer_(std::make_shared<GridTimer>(interval, std::move(tick))) {
        queue_->state()->add(timer_);
    }
    ~ThreadTimer() override { cancelTimer(); }
    ThreadTimer(const ThreadTimer&) = delete;
    ThreadTimer& operator=(const ThreadTimer&) = delete;

    void cancel() override { cancelTimer(); }

  private:
    void cancelTimer() {
        if (!timer_->cancelled) queue_->state()->cancel(*timer_);
    }

    std::shared_ptr<ThreadQueue> queue_;
    std::shared_ptr<GridTimer> timer_;
};

}  // namespace

std::shared_ptr<SerialQueue> makeSerialQueue(const char* label) {
    return std::make_shared<ThreadQueue>(label);
}

std::shared_ptr<Timer> makeTimer(const std::shared_ptr<SerialQueue>& queue, uint64_t intervalNanoseconds, Job tick) {
    auto threadQueue = std::dynamic_pointer_cast<ThreadQueue>(queue);
    if (!threadQueue) return nullptr;
    const auto interval = std::chrono::nanoseconds(std::max<uint64_t>(intervalNanoseconds, 1));
    return std::make_shared<ThreadTimer>(std::move(threadQueue), interval, std::move(tick));
}

}  // namespace orvo::platform::software
