// Queues, timers and a clock without threads: a test says which queue runs and when time passes.
#pragma once

#include <deque>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "ScreenCapture/platform/dispatch.h"
#include "ScreenCapture/platform/system.h"

namespace orvo::test {

constexpr const char* mainQueue = "main";
constexpr const char* sessionQueue = "com.orvo.screencapture.main.queue";
constexpr const char* windowQueue = "com.orvo.window.manager";

class Stepper final : public platform::Dispatch, public platform::Clock {
  public:
    static constexpr double absoluteStart = 700'000'000;   // seconds since 2001
    static constexpr double from1970To2001 = 978'307'200;  // seconds

    void mainAsync(platform::Job job) override;
    std::shared_ptr<platform::SerialQueue> makeSerialQueue(const char* label) override;
    std::shared_ptr<platform::Timer> makeTimer(const std::shared_ptr<platform::SerialQueue>& queue,
                                               uint64_t intervalNanoseconds, platform::Job tick) override;
    double absoluteSeconds() override;
    double secondsSince1970() override;

    // Run the jobs of the queues with a label, those that jobs add too, queue by queue in the order made. Result: how
    // many ran.
    size_t run(std::string_view label);
    // Every queue until none has a job; the main queue last, for a stop that was lost shows then only.
    void settle();
    size_t pending(std::string_view label);

    // Time passes while the queues of timers run: each firing on its own grid point.
    void advance(double seconds);
    // The intervals of the timers that run, in the order made.
    std::vector<uint64_t> timers();

    // Forgets jobs and timers; the clock starts again.
    void reset();

    struct Lane {
        std::string label;
        std::deque<platform::Job> jobs;
    };
    struct Beat {
        std::shared_ptr<Lane> lane;
        uint64_t interval = 0;  // nanoseconds
        uint64_t due = 0;       // nanoseconds since the start
        platform::Job tick;
        bool cancelled = false;
        bool pending = false;
    };

  private:
    friend class SteppedQueue;
    friend class SteppedTimer;

    void queueDueTicks();
    void cancel(const std::shared_ptr<Beat>& beat);
    void push(const std::shared_ptr<Lane>& lane, platform::Job job);
    bool runOneOf(const std::shared_ptr<Lane>& lane);
    size_t runAll(const std::shared_ptr<Lane>& lane);
    std::vector<std::shared_ptr<Lane>> lanes(std::string_view label);

    std::recursive_mutex mutex_;
    uint64_t now_ = 0;  // nanoseconds since the start
    std::vector<std::shared_ptr<Lane>> lanes_{std::make_shared<Lane>(Lane{mainQueue, {}})};
    std::vector<std::shared_ptr<Beat>> beats_;
};

}  // namespace orvo::test
