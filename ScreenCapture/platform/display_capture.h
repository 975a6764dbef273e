// The device path: frames of a whole display, or of a rectangle of it, at a steady rate.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "ScreenCapture/platform/changes.h"
#include "ScreenCapture/platform/image.h"
#include "ScreenCapture/platform/values.h"

namespace orvo::platform {

// A time as a number of 1/timescale seconds.
struct MediaTime {
    int64_t value = 0;
    int32_t timescale = 0;
};

// What the system says of a failure; either text may be absent (empty).
struct CaptureFailure {
    std::string recoverySuggestion;
    std::string failureReason;
};

// Receives what the device path has to say, on the main queue (drops: on any thread). At most one sample waits
// undelivered: a busy main queue finds the newest.
class DisplayCaptureDelegate {
  public:
    virtual ~DisplayCaptureDelegate() = default;
    // buffer: during the call only. changes: since the last sample of this run for which the answer was true, that it
    // was delivered.
    virtual bool onSample(PixelBuffer& buffer, const MediaTime& presentationTime, const Changes& changes) = 0;
    virtual void onDropped(NoImage why) = 0;  // a tick without a sample
    virtual void onRuntimeError(const CaptureFailure& failure) = 0;
    virtual void onInterruption(const CaptureFailure& failure) = 0;
};

// One display as a source. Settings take effect at once, also while running. A new input has the platform's defaults:
// cursor on, clicks off, no crop.
class DisplayInput {
  public:
    virtual ~DisplayInput() = default;
    virtual void setMinFrameDuration(const MediaTime& duration) = 0;
    virtual void setCapturesCursor(bool captures) = 0;
    virtual void setCapturesMouseClicks(bool captures) = 0;
    virtual void setCropRect(const Rect& crop) = 0;  // points, origin at the display's bottom-left corner; empty: none
};

// A capture session of the system with one input and one output of 32-bit BGRA. All calls come from one queue except
// isRunning and release, which may come from any thread. Calls may throw PlatformException.
class DisplayCapture {
  public:
    virtual ~DisplayCapture() = default;

    // Null for a number that is no display.
    virtual std::shared_ptr<DisplayInput> makeInput(uint32_t display) = 0;
    virtual bool canAddInput(const std::shared_ptr<DisplayInput>& input) = 0;
    virtual void addInput(const std::shared_ptr<DisplayInput>& input) = 0;
    virtual void removeInput(const std::shared_ptr<DisplayInput>& input) = 0;

    // Adds the video output, if the session accepts one: samples go to the delegate, which is held weakly.
    virtual void addOutput(const std::weak_ptr<DisplayCaptureDelegate>& delegate) = 0;
    // From now on failures go to the delegate, which is held weakly.
    virtual void observeFailures(const std::weak_ptr<DisplayCaptureDelegate>& delegate) = 0;

    // Changes between the two take effect together at the commit.
    virtual void beginConfiguration() = 0;
    virtual void commitConfiguration() = 0;

    virtual void startRunning() = 0;
    virtual void stopRunning() = 0;  // no sample is produced after it returns
    virtual bool isRunning() = 0;
};

}  // namespace orvo::platform
