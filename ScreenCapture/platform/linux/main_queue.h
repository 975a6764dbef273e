// The main queue is GLib's default main context, which the loops of GTK and Qt run. It works without any window system.
#pragma once

#include "ScreenCapture/platform/dispatch.h"

namespace orvo::platform::linux {

class LinuxDispatch final : public Dispatch {
  public:
    // Allocates nothing in steady state for a job that std::function keeps in itself.
    void mainAsync(Job job) override;
    const char* whyNoMainQueue() override;
    std::shared_ptr<SerialQueue> makeSerialQueue(const char* label) override;
    std::shared_ptr<Timer> makeTimer(const std::shared_ptr<SerialQueue>& queue, uint64_t intervalNanoseconds,
                                     Job tick) override;
    // Ticks come up to a millisecond late, as all of GLib's timeouts.
    std::shared_ptr<Timer> makeMainTimer(uint64_t intervalNanoseconds, Job tick) override;
};

// For hosts without a GLib loop: runs the main queue on the calling thread for so many milliseconds: 0 runs what is
// ready, below 0 never returns. Result: how many jobs and ticks ran; 0 at once while another thread runs GLib's default
// main context. Inside a job of the main queue no other job of it runs.
int runMainQueue(int milliseconds);

}  // namespace orvo::platform::linux
