// The way of samples to their delegate.
#include "ScreenCapture/platform/x11/sample_output.h"

#include <utility>

#include "ScreenCapture/platform/x11/dispatch.h"

namespace orvo::platform::x11 {

void SampleOutput::setDelegate(const std::weak_ptr<DisplayCaptureDelegate>& delegate) {
    std::lock_guard lock(mutex_);
    if (!std::exchange(hasDelegate_, true)) delegate_ = delegate;
}

void SampleOutput::setRun(uint64_t run) {
    Ref<software::Frame> dropped;
    std::lock_guard lock(mutex_);
    run_ = run;
    dropped = std::exchange(waiting_, nullptr);
}

void SampleOutput::offer(uint64_t run, const Ref<software::Frame>& frame, const MediaTime& time) {
    Ref<software::Frame> replaced = frame;
    bool mustPost = false;
    {
        std::lock_guard lock(mutex_);
        if (run != run_ || !hasDelegate_) return;
        std::swap(waiting_, replaced);
        time_ = time;
        mustPost = !std::exchange(posted_, true);
    }
    if (replaced) noteDrop(NoImage::hostBusy);
    if (!mustPost) return;
    // A plain pointer fits into the job itself, so that posting allocates nothing.
    auto* self = Ref<SampleOutput>::retain(this).leak();
    try {
        postToMainQueue([self] { Ref<SampleOutput>::adopt(self)->deliver(); });
    } catch (...) {
        const auto returned = Ref<SampleOutput>::adopt(self);
        std::lock_guard lock(mutex_);
        posted_ = false;
        throw;
    }
}

void SampleOutput::noteDrop(NoImage why) {
    std::shared_ptr<DisplayCaptureDelegate> delegate;
    {
        std::lock_guard lock(mutex_);
        delegate = delegate_.lock();
    }
    if (delegate) delegate->onDropped(why);
}

void SampleOutput::deliver() {
    Ref<software::Frame> frame;
    std::shared_ptr<DisplayCaptureDelegate> delegate;
    MediaTime time;
    {
        std::lock_guard lock(mutex_);
        posted_ = false;
        frame = std::exchange(waiting_, nullptr);
        if (!frame) return;
        delegate = delegate_.lock();
        time = time_;
    }
    if (delegate) delegate->onSample(*frame, time);
}

}  // namespace orvo::platform::x11
