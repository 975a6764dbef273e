// Queues and timers; the main queue is GLib's default main context.
#pragma once

#include "ScreenCapture/platform/dispatch.h"

namespace orvo::platform::x11 {

class X11Dispatch final : public Dispatch {
  public:
    void mainAsync(Job job) override;
    const char* whyNoMainQueue() override;
    std::shared_ptr<SerialQueue> makeSerialQueue(const char* label) override;
    std::shared_ptr<Timer> makeTimer(const std::shared_ptr<SerialQueue>& queue, uint64_t intervalNanoseconds,
                                     Job tick) override;
};

// Posts to the main queue; allocates nothing in steady state for a job that std::function keeps in itself.
void postToMainQueue(Job job);

}  // namespace orvo::platform::x11
