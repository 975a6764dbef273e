// Serial queues and grid timers on plain threads.
#pragma once

#include <cstdint>
#include <memory>

#include "ScreenCapture/platform/dispatch.h"

namespace orvo::platform::software {

// A queue with a thread of its own, named after the last characters of the label. The thread ends when the queue is
// released and its jobs have run.
std::shared_ptr<SerialQueue> makeSerialQueue(const char* label);

// A timer on a queue of makeSerialQueue(); the queue's thread itself waits for the grid points, nothing is allocated
// per tick. Null for any other queue. The tick may release the timer and the queue.
std::shared_ptr<Timer> makeTimer(const std::shared_ptr<SerialQueue>& queue, uint64_t intervalNanoseconds, Job tick);

}  // namespace orvo::platform::software
