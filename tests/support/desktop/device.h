// The device path of the scripted desktop: what was set is recorded, and it says what a test makes it say.
#pragma once

#include <functional>
#include <memory>

#include "ScreenCapture/platform/display_capture.h"
#include "support/desktop/pictures.h"

namespace orvo::test {

class Desktop;

// One capture session of the system.
class Device : public std::enable_shared_from_this<Device> {
  public:
    explicit Device(Desktop& desktop) : desktop_(desktop) {}

    bool running = false;
    bool acceptsInput = true;
    std::weak_ptr<platform::DisplayCaptureDelegate> output;
    std::weak_ptr<platform::DisplayCaptureDelegate> observer;

    // A frame as the device would make it while it runs. It waits on the main queue; a newer one takes its place.
    void produce(platform::Ref<FrameBuffer> frame, const platform::MediaTime& time);
    // What the system reports; it arrives on the main queue.
    void report(std::function<void(platform::DisplayCaptureDelegate&)> what);
    // What still waits is not delivered.
    void stop();

  private:
    void deliver();

    Desktop& desktop_;
    platform::Ref<FrameBuffer> waiting_;
    platform::MediaTime waitingTime_;
    bool posted_ = false;
};

// Records, numbers being displays: "input 1", "add 1", "output", "observe", "duration 1/15", "cursor 1", "clicks 0",
// "crop 0,480 100x500", "begin", "commit", "remove 1", "start", "stop".
std::shared_ptr<platform::DisplayCapture> makeScriptedCapture(Desktop& desktop);

}  // namespace orvo::test
