// Queues, timers and a clock without threads: a test says which queue runs and when time passes.
#pragma once

#include <deque>
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

    Stepper();
    void mainAsync(platform::Job job) override;
    std::shared_ptr<platform::SerialQueue> makeSerialQueue(const char* label) override;
    std::shared_ptr<platform::Timer> makeTimer(const std::shared_ptr<platform::SerialQueue>& queue,
                                               uint64_t intervalNanoseconds, platform::Job tick) override;
    std::shared_ptr<platform::Timer> makeMainTimer(uint64_t intervalNanoseconds, platform::Job tick) override;
    double absoluteSeconds() override;
    double secondsSince1970() override { return absoluteSeconds() + from1970To2001; }

    // Runs the jobs of the queues with a label, those that jobs add too, queue by queue in the order made.
    void run(std::string_view label);
    // Every queue until none has a job; the main queue last, for a stop that was lost shows then only.
    void settle();
    size_t pending(std::string_view label);

    // Time passes while the queues of timers run: each firing on its own grid point.
    void advance(double seconds);
    // The intervals of the timers that run, in the order made.
    std::vector<uint64_t> timers();

    // Forgets jobs and timers; the clock starts again.
    void reset();

  private:
    struct Lane;
    struct Beat;
    class Handle;

    std::shared_ptr<platform::Timer> addBeat(Beat beat);
    void queueDueTicks();
    bool runAll(const std::shared_ptr<Lane>& lane);
    std::vector<std::shared_ptr<Lane>> lanes(std::string_view label);

    uint64_t now_ = 0;                          // nanoseconds since the start
    std::vector<std::shared_ptr<Lane>> lanes_;  // the first is the main queue
    std::vector<std::shared_ptr<Beat>> beats_;
};

}  // namespace orvo::test
