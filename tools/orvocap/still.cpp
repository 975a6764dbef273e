// One frame of a target: frames are copied as they come, and looked at on the caller's thread.
#include "still.h"

#include <chrono>
#include <mutex>

#include "frame_writer.h"
#include "main_queue.h"
#include "stop_request.h"

namespace orvocap {

namespace {

constexpr auto longestWait = std::chrono::seconds(5);
constexpr int sliceMilliseconds = 10;
constexpr int frameRate = 15;

// The newest frame that nobody has looked at yet.
class Latest {
  public:
    void put(const FrameView& view) {
        const std::lock_guard lock(mutex_);
        try {
            copyFrame(view, frame_);
            isNew_ = true;
        } catch (const std::bad_alloc&) {
            isNew_ = false;  // nothing may leave a callback; the caller misses the frame and says so
        }
    }

    bool take(std::optional<Frame>& frame) {
        const std::lock_guard lock(mutex_);
        if (!isNew_) return false;
        isNew_ = false;
        frame = std::move(frame_);
        return true;
    }

  private:
    std::mutex mutex_;
    Frame frame_;
    bool isNew_ = false;
};

}  // namespace

std::optional<Frame> takeStill(Capture::Path path, const std::function<void()>& choose,
                               const std::function<bool(const Frame&)>& isWanted) {
    Latest latest;
    std::optional<Frame> frame;
    Capture capture(path, [&](const FrameView& view) { latest.put(view); });
    choose();
    orvo_screencapture_set_fps(frameRate);
    capture.start();
    const auto deadline = std::chrono::steady_clock::now() + longestWait;
    while (std::chrono::steady_clock::now() < deadline && !stopRequested()) {
        runMainQueue(sliceMilliseconds);
        if (latest.take(frame) && isWanted(*frame)) break;
        if (!frame) capture.check();
    }
    return frame;
}

}  // namespace orvocap
