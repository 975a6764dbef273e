// Queues and timers: Grand Central Dispatch.
#include <dispatch/dispatch.h>

#include "ScreenCapture/platform/macos/exceptions.h"
#include "ScreenCapture/platform/macos/services.h"

namespace orvo::platform::macos {
namespace {

// A job inside a guard of its own: nothing that it raises reaches the system's thread, and what it autoreleases goes
// when it ends, not when the system finds the time.
dispatch_block_t pooled(Job job) {
    return ^{
        runJob([&] { translated(job); });
    };
}

class MacSerialQueue final : public SerialQueue {
  public:
    explicit MacSerialQueue(const char* label) : queue_(dispatch_queue_create(label, DISPATCH_QUEUE_SERIAL)) {}

    void async(Job job) override { dispatch_async(queue_, pooled(std::move(job))); }
    dispatch_queue_t queue() const { return queue_; }

  private:
    dispatch_queue_t queue_;
};

// The source holds its queue.
class MacTimer final : public Timer {
  public:
    MacTimer(dispatch_queue_t queue, uint64_t intervalNanoseconds, Job tick)
        : source_(dispatch_source_create(DISPATCH_SOURCE_TYPE_TIMER, 0, 0, queue)) {
        dispatch_source_set_timer(source_, DISPATCH_TIME_NOW, intervalNanoseconds, 0);
        dispatch_source_set_event_handler(source_, pooled(std::move(tick)));
        dispatch_resume(source_);
    }
    ~MacTimer() override { dispatch_source_cancel(source_); }

    void cancel() override { dispatch_source_cancel(source_); }

  private:
    dispatch_source_t source_;
};

class MacDispatch final : public Dispatch {
  public:
    void mainAsync(Job job) override { dispatch_async(dispatch_get_main_queue(), pooled(std::move(job))); }

    std::shared_ptr<SerialQueue> makeSerialQueue(const char* label) override {
        return std::make_shared<MacSerialQueue>(label);
    }

    std::shared_ptr<Timer> makeTimer(const std::shared_ptr<SerialQueue>& queue, uint64_t intervalNanoseconds,
                                     Job tick) override {
        const auto& macQueue = static_cast<const MacSerialQueue&>(*queue);
        return std::make_shared<MacTimer>(macQueue.queue(), intervalNanoseconds, std::move(tick));
    }
};

}  // namespace

std::unique_ptr<Dispatch> makeDispatch() {
    return std::make_unique<MacDispatch>();
}

}  // namespace orvo::platform::macos
