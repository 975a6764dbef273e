// The way of samples to their delegate: through the main queue, at most one at a time, the newest.
#pragma once

#include <cstdint>
#include <memory>
#include <mutex>

#include "ScreenCapture/platform/display_capture.h"
#include "ScreenCapture/platform/software/frame.h"

namespace orvo::platform::x11 {

// Shared by the capture and by its jobs on the main queue. Callable from any thread.
class SampleOutput final : public Counted {
  public:
    // The first delegate stays.
    void setDelegate(const std::weak_ptr<DisplayCaptureDelegate>& delegate);

    // From here on the samples of this run are accepted; 0: of none. A sample that waits is dropped.
    void setRun(uint64_t run);
    // Has a sample delivered on the main queue, in place of one that still waits there.
    void offer(uint64_t run, const Ref<software::Frame>& frame, const MediaTime& time);

    // Tells the delegate of a tick without a sample.
    void noteDrop(NoImage why);

  private:
    void deliver();

    std::mutex mutex_;
    std::weak_ptr<DisplayCaptureDelegate> delegate_;
    bool hasDelegate_ = false;
    uint64_t run_ = 0;
    Ref<software::Frame> waiting_;
    MediaTime time_;
    bool posted_ = false;
};

}  // namespace orvo::platform::x11
