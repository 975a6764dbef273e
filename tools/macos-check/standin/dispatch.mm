// Grand Central Dispatch: a thread for each serial queue; the main queue runs when the program says so.
#include <Block.h>
#include <Foundation/Foundation.h>
#include <dispatch/dispatch.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <memory>
#include <mutex>
#include <thread>

#include "tools/macos-check/standin/desk.h"
#include "tools/macos-check/standin/runtime.h"

using namespace std::chrono_literals;

namespace {

std::atomic<int> unfinished{0};  // jobs of all queues but the main one

// The jobs of a queue. Its thread holds them too and ends when the queue is gone and they are done.
class Jobs {
  public:
    void add(dispatch_block_t job) {
        std::lock_guard guard(lock_);
        jobs_.push_back(job);
        wake_.notify_one();
    }
    bool runOne() {
        dispatch_block_t job = nil;
        {
            std::lock_guard guard(lock_);
            if (jobs_.empty()) return false;
            job = jobs_.front();
            jobs_.pop_front();
        }
        void* const pool = objc_autoreleasePoolPush();
        job();
        objc_autoreleasePoolPop(pool);
        return true;
    }
    void end() {
        std::lock_guard guard(lock_);
        hasEnded_ = true;
        wake_.notify_one();
    }
    static void run(const std::shared_ptr<Jobs>& jobs) {
        for (;;) {
            {
                std::unique_lock guard(jobs->lock_);
                jobs->wake_.wait(guard, [&] { return jobs->hasEnded_ || !jobs->jobs_.empty(); });
                if (jobs->jobs_.empty()) return;
            }
            jobs->runOne();
            --unfinished;
        }
    }

  private:
    std::mutex lock_;
    std::condition_variable wake_;
    std::deque<dispatch_block_t> jobs_;
    bool hasEnded_ = false;
};

}  // namespace

@interface StandInQueue : NSObject <OS_dispatch_queue> {
  @public
    std::shared_ptr<Jobs> jobs;
    bool isMain;
}
@end
@implementation StandInQueue
- (void)dealloc {
    jobs->end();
}
@end
@interface StandInTimer : NSObject <OS_dispatch_source> {
  @public
    StandInQueue* queue;
    dispatch_block_t handler;
    uint64_t interval;
    std::shared_ptr<std::atomic<bool>> isCancelled;
}
@end
@implementation StandInTimer
- (void)dealloc {
    *isCancelled = true;
}
@end
@interface StandInSemaphore : NSObject <OS_dispatch_semaphore> {
  @public
    std::mutex lock;
    std::condition_variable wake;
    intptr_t value;
}
@end
@implementation StandInSemaphore
@end

struct dispatch_source_type_s {
    int kind;
};

extern "C" {
extern const struct dispatch_source_type_s _dispatch_source_type_timer = {0};

dispatch_queue_t dispatch_queue_create(const char*, dispatch_queue_attr_t) {
    StandInQueue* queue = [[StandInQueue alloc] init];
    queue->jobs = std::make_shared<Jobs>();
    std::thread(Jobs::run, queue->jobs).detach();
    return queue;
}
dispatch_queue_t dispatch_get_main_queue() {
    static StandInQueue* const queue = [] {
        StandInQueue* made = [[StandInQueue alloc] init];
        made->jobs = std::make_shared<Jobs>();
        made->isMain = true;
        return made;
    }();
    return queue;
}
dispatch_queue_t dispatch_get_global_queue(intptr_t, uintptr_t) {
    static const dispatch_queue_t queue = dispatch_queue_create("global", nullptr);
    return queue;
}
void dispatch_async(dispatch_queue_t target, dispatch_block_t job) {
    StandInQueue* queue = (StandInQueue*)target;
    if (!queue->isMain) ++unfinished;
    queue->jobs->add(job);
}
dispatch_source_t dispatch_source_create(dispatch_source_type_t, uintptr_t, uintptr_t, dispatch_queue_t queue) {
    StandInTimer* timer = [[StandInTimer alloc] init];
    timer->queue = (StandInQueue*)queue;
    timer->isCancelled = std::make_shared<std::atomic<bool>>(false);
    return timer;
}
void dispatch_source_set_timer(dispatch_source_t source, dispatch_time_t, uint64_t interval, uint64_t) {
    ((StandInTimer*)source)->interval = interval;
}
void dispatch_source_set_event_handler(dispatch_source_t source, dispatch_block_t handler) {
    ((StandInTimer*)source)->handler = handler;
}
void dispatch_source_cancel(dispatch_source_t source) {
    *((StandInTimer*)source)->isCancelled = true;
}
// Firings that are missed are merged: the next is due only when the last has run.
void dispatch_resume(dispatch_object_t object) {
    StandInTimer* timer = (StandInTimer*)object;
    const auto isCancelled = timer->isCancelled;
    const auto jobs = timer->queue->jobs;
    const std::chrono::nanoseconds interval(timer->interval);
    dispatch_block_t handler = timer->handler;
    const auto isRunning = std::make_shared<std::atomic<bool>>(false);
    std::thread([=] {
        while (!*isCancelled) {
            if (!isRunning->exchange(true)) {
                ++unfinished;
                jobs->add(^{
                    if (!*isCancelled) handler();
                    *isRunning = false;
                });
            }
            std::this_thread::sleep_for(interval);
        }
    }).detach();
}
dispatch_time_t dispatch_time(dispatch_time_t, int64_t nanoseconds) {
    return static_cast<dispatch_time_t>(nanoseconds);
}
void dispatch_after(dispatch_time_t when, dispatch_queue_t queue, dispatch_block_t job) {
    std::thread([=] {
        std::this_thread::sleep_for(std::chrono::nanoseconds(when));
        dispatch_async(queue, job);
    }).detach();
}
dispatch_semaphore_t dispatch_semaphore_create(intptr_t value) {
    StandInSemaphore* semaphore = [[StandInSemaphore alloc] init];
    semaphore->value = value;
    return semaphore;
}
intptr_t dispatch_semaphore_wait(dispatch_semaphore_t object, dispatch_time_t timeout) {
    StandInSemaphore* semaphore = (StandInSemaphore*)object;
    std::unique_lock guard(semaphore->lock);
    const std::chrono::nanoseconds limit(timeout);
    if (!semaphore->wake.wait_for(guard, limit, [&] { return semaphore->value > 0; })) return 1;
    --semaphore->value;
    return 0;
}
intptr_t dispatch_semaphore_signal(dispatch_semaphore_t object) {
    StandInSemaphore* semaphore = (StandInSemaphore*)object;
    std::lock_guard guard(semaphore->lock);
    ++semaphore->value;
    semaphore->wake.notify_one();
    return 0;
}
}

namespace standin {

int runMainQueue() {
    int count = 0;
    while (((StandInQueue*)dispatch_get_main_queue())->jobs->runOne()) ++count;
    return count;
}
void runMainQueueFor(int milliseconds) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(milliseconds);
    while (std::chrono::steady_clock::now() < end) {
        runMainQueue();
        std::this_thread::sleep_for(2ms);
    }
}
void settle() {
    const auto end = std::chrono::steady_clock::now() + 5s;
    while ((runMainQueue() > 0 || unfinished > 0) && std::chrono::steady_clock::now() < end)
        std::this_thread::sleep_for(1ms);
}

}  // namespace standin
