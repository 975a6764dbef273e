// Queues and timers.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>

namespace orvo::platform {

using Job = std::function<void()>;

// Runs its jobs one at a time, in the order queued; one that throws ends in the log. Releasing a queue never waits:
// jobs already queued still run.
class SerialQueue {
  public:
    virtual ~SerialQueue() = default;
    virtual void async(Job job) = 0;  // from any thread, also from a job of this queue
};

// Ticks on its queue until it is cancelled or released; neither waits for a tick that is running.
class Timer {
  public:
    virtual ~Timer() = default;
    virtual void cancel() = 0;
};

class Dispatch {
  public:
    virtual ~Dispatch() = default;

    // Posts to the main queue; returns at once.
    virtual void mainAsync(Job job) = 0;
    // Why nothing that is posted there will ever run, in words; null when it may.
    virtual const char* whyNoMainQueue() { return nullptr; }

    virtual std::shared_ptr<SerialQueue> makeSerialQueue(const char* label) = 0;

    // First tick now, then every interval on an absolute grid without leeway. Firings that are missed while a tick
    // runs merge into one. The timer keeps its queue alive. A tick that throws ends in the log.
    virtual std::shared_ptr<Timer> makeTimer(const std::shared_ptr<SerialQueue>& queue, uint64_t intervalNanoseconds,
                                             Job tick) = 0;
    // The same on the main queue, with its first tick after one interval. Null where there is no such timer.
    virtual std::shared_ptr<Timer> makeMainTimer(uint64_t /*intervalNanoseconds*/, Job /*tick*/) { return nullptr; }
};

}  // namespace orvo::platform
