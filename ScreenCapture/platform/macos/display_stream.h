// The device path by a stream of ScreenCaptureKit, 14.0 and later: for a display that AVFoundation makes no input for,
// or whose input delivers nothing.
#pragma once

#include <memory>
#include <mutex>

#include "ScreenCapture/platform/display_capture.h"

namespace orvo::platform::macos {

class RunningDisplayStream;

// One display with the settings of its input. Callable from any thread.
class DisplayStream {
  public:
    explicit DisplayStream(uint32_t display);
    ~DisplayStream();

    static bool isAvailable();

    // As those of DisplayInput; in force at once while the stream runs.
    void setMinFrameDuration(const MediaTime& duration);
    void setCapturesCursor(bool captures);
    void setCapturesMouseClicks(bool captures);
    void setCropRect(const Rect& crop);

    // Waits for the list of displays. Throws PlatformException when the display cannot be recorded. Samples and the
    // end go to the delegate, which is held weakly, on the main queue.
    void start(const std::weak_ptr<DisplayCaptureDelegate>& delegate);
    void stop();
    bool isRunning() const;

  private:
    template <typename Change>
    void change(Change change);

    struct Settings {
        MediaTime duration{1, 15};
        bool showsCursor = true;
        bool showsClicks = false;
        Rect crop;  // points, origin bottom-left; empty: none
    };
    friend class RunningDisplayStream;

    const uint32_t display_;
    mutable std::mutex lock_;
    Settings settings_;
    std::shared_ptr<RunningDisplayStream> running_;
};

}  // namespace orvo::platform::macos
