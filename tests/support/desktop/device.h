// The device path of the scripted desktop: it records what was set and in which order, and says what a test makes it
// say.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "ScreenCapture/platform/display_capture.h"
#include "support/desktop/pictures.h"

namespace orvo::test {

class Desktop;

// One capture session of the system. Guarded by the desktop's gate.
class Device : public std::enable_shared_from_this<Device> {
  public:
    explicit Device(Desktop& desktop) : desktop_(desktop) {}

    // What was done, in order: "input 1", "add 1", "output", "observe", "duration 1/15", "cursor 1", "clicks 0",
    // "crop 0,480 100x500", "begin", "commit", "remove 1", "start", "stop". Numbers are displays.
    std::vector<std::string> journal;
    // Empties the journal and answers what was in it.
    std::vector<std::string> takeJournal();

    bool running = false;
    bool acceptsInput = true;
    std::weak_ptr<platform::DisplayCaptureDelegate> output;
    std::weak_ptr<platform::DisplayCaptureDelegate> observer;

    // A frame as the device would make it while it runs. It waits on the main queue; a newer one takes its place.
    void produce(platform::Ref<FrameBuffer> frame, const platform::MediaTime& time);
    // What the system says of a failure; it arrives on the main queue.
    void fail(const platform::CaptureFailure& failure);
    void interrupt(const platform::CaptureFailure& failure);

    // A stop, or the end of the session: what still waits is not delivered.
    void dropSample();

  private:
    void deliver();
    void report(std::function<void(platform::DisplayCaptureDelegate&)> what);

    Desktop& desktop_;
    platform::Ref<FrameBuffer> waiting_;
    platform::MediaTime waitingTime_;
    bool posted_ = false;
};

std::shared_ptr<platform::DisplayCapture> makeScriptedCapture(Desktop& desktop);

}  // namespace orvo::test
