// Queues on real threads, for tests that look for races. Time is the steady clock's.
#pragma once

#include <chrono>
#include <future>
#include <memory>
#include <mutex>
#include <vector>

#include "ScreenCapture/platform/software/queues.h"
#include "ScreenCapture/platform/system.h"
#include "support/desktop/stepper.h"

namespace orvo::test {

class ThreadedQueues final : public platform::Dispatch, public platform::Clock {
  public:
    void mainAsync(platform::Job job) override { main_->async(std::move(job)); }
    std::shared_ptr<platform::SerialQueue> makeSerialQueue(const char* label) override {
        auto queue = platform::software::makeSerialQueue(label);
        std::lock_guard lock(mutex_);
        queues_.push_back(queue);
        return queue;
    }
    std::shared_ptr<platform::Timer> makeTimer(const std::shared_ptr<platform::SerialQueue>& queue,
                                               uint64_t intervalNanoseconds, platform::Job tick) override {
        return platform::software::makeTimer(queue, intervalNanoseconds, std::move(tick));
    }
    double absoluteSeconds() override {
        const auto now = std::chrono::steady_clock::now().time_since_epoch();
        return Stepper::absoluteStart + std::chrono::duration<double>(now).count();
    }
    double secondsSince1970() override { return absoluteSeconds() + Stepper::from1970To2001; }

    // Waits until what is queued now has run, on every queue, the main queue last.
    void flush() {
        std::vector<std::weak_ptr<platform::SerialQueue>> queues;
        {
            std::lock_guard lock(mutex_);
            queues = queues_;
        }
        queues.push_back(main_);
        for (const auto& weak : queues) {
            std::promise<void> ran;
            const auto queue = weak.lock();
            if (!queue) continue;
            queue->async([&ran] { ran.set_value(); });
            ran.get_future().wait();
        }
    }

  private:
    const std::shared_ptr<platform::SerialQueue> main_ = platform::software::makeSerialQueue(mainQueue);
    std::mutex mutex_;
    std::vector<std::weak_ptr<platform::SerialQueue>> queues_;
};

}  // namespace orvo::test
