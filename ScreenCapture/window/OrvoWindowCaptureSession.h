// The window path: takes a picture of every target on each tick of a timer, paints the cursor, crops, scales, and hands
// the frame to its delegate.
#pragma once

#include <atomic>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <vector>

#include "ScreenCapture/capture/OrvoCaptureSettings.h"
#include "ScreenCapture/platform/contained.h"
#include "ScreenCapture/platform/platform.h"
#include "ScreenCapture/thumbnail/OrvoWindowManager.h"
#include "ScreenCapture/window/OrvoWindowCursor.h"
#include "ScreenCapture/window/capture_options.h"
#include "ScreenCapture/window/target_frame.h"
#include "common/utils/orvo_snapshot.h"

// Receives the frames of the session and its failures.
class OrvoWindowCaptureSessionDelegate {
  public:
    virtual ~OrvoWindowCaptureSessionDelegate() = default;
    // One frame, on the capture queue; the buffer is valid during the call only. recordTime: milliseconds since 1970
    // plus the timestamp offset. changes: since the last frame of this window for which the answer was true, that the
    // host got it.
    virtual bool onCapturedWindowImage(orvo::platform::PixelBuffer& buffer, uint32_t windowID, uint64_t recordTime,
                                       const orvo::platform::Changes& changes) = 0;
    // No usable picture for more than three seconds; on the capture queue.
    virtual void captureSessionRuntimeErrorOccur() = 0;
};

// Every method may be called from any thread. Ticks and the delegate's calls run on the capture queue.
class OrvoWindowCaptureSession : public std::enable_shared_from_this<OrvoWindowCaptureSession> {
  public:
    static std::shared_ptr<OrvoWindowCaptureSession> initWithSettings(std::shared_ptr<OrvoCaptureSettings> settings);
    explicit OrvoWindowCaptureSession(const std::shared_ptr<OrvoCaptureSettings>& settings);
    ~OrvoWindowCaptureSession();

    void setDelegate(std::weak_ptr<OrvoWindowCaptureSessionDelegate> delegate);

    // Starts, or starts again, from the main queue; returns at once. A stop that comes before then makes it void.
    void startCapture();
    void stopCapture();    // a tick that is running finishes
    void withdrawStart();  // makes a start that still waits for the main queue void
    bool isRunning() const;

    void setFps(int fps) { m_fps = fps; }  // takes effect at the next start
    void setTimeStampOffset(uint64_t offset) { uOffset = offset; }
    void setBVisible(bool visible);
    void setCursorVisible(bool visible);  // the same, from the capture queue
    bool setTargetWindow(uint32_t windowID);
    bool setExtraWindows(const uint32_t* windows, int count, bool add);
    bool setExcludeWindows(const uint32_t* windows, int count, bool add);
    void setTargetWindowMode(uint32_t mode);
    void setTargetWindowResolutionMode(uint32_t mode);
    void setResolutionWidth(int width, int height);
    void setTargetWindowRectLeft(int left, int top, int width, int height);

    std::vector<uint32_t> excludeWindows() const;
    std::vector<uint32_t> targetWindows() const;
    CaptureOptions options() const { return *m_options.load(); }
    const std::shared_ptr<OrvoWindowManager>& windowManager() const { return m_windowManager; }

    // Conversions that a host of the class may use; the capture does not.
    static orvo::platform::Ref<orvo::platform::PixelBuffer> pixelBufferFromCGImage(
        const orvo::platform::Ref<orvo::platform::Image>& image);
    static orvo::platform::Picture ImageFromPixelBuffer(orvo::platform::PixelBuffer& buffer);

  private:
    friend struct CaptureSessionPeer;  // tests run single ticks
    using Numbers = std::vector<uint32_t>;
    using ImageRef = orvo::platform::Ref<orvo::platform::Image>;
    template <typename Change>
    void changeOptions(Change change);
    // Runs work of one target. What it throws is noted and leaves the other targets alone: nothing leaves the capture
    // queue. Result: whether the work ran to its end.
    template <typename Work>
    bool guardTarget(uint32_t windowID, Work&& work) {
        return orvo::platform::contained(
            work, [&](const char* /*name*/, const char* reason) { m_settings->statistics().note(reason, windowID); });
    }
    void startOnMainQueue(uint64_t stopsSeen);
    void stopTimer();
    void retarget(Numbers added);
    void logUnknownOf(Numbers numbers);

    // _tick
    struct TargetTick;
    void tick();
    void createShotImageWithWindowID(uint32_t windowID, const CaptureOptions& options);
    bool checkScreenIsValidWithOrvowindow(const OrvoWindow* item);
    bool checkImageIsValidWithCGImage(const orvo::platform::Shot& shot, uint32_t windowID);
    bool notifySuccessWithCGImage(const orvo::platform::Shot& shot, uint32_t windowID,
                                  const orvo::platform::Changes& changes);
    TargetFrame& frameOf(uint32_t windowID, const OrvoWindow& item);

    const std::shared_ptr<orvo::platform::SerialQueue> captureQueue;
    const std::shared_ptr<OrvoCaptureSettings> m_settings;
    const std::shared_ptr<OrvoWindowManager> m_windowManager;
    const OrvoWindowCursor windowCursor{};
    ORVO::BASE::Snapshot<CaptureOptions> m_options;
    ORVO::BASE::Snapshot<std::weak_ptr<OrvoWindowCaptureSessionDelegate>> m_delegate;
    std::atomic<int> m_fps{0};
    std::atomic<uint64_t> uOffset{0};
    std::atomic<uint64_t> m_stops{0};  // a start is void once this has moved on

    mutable std::mutex m_timerMutex;
    std::shared_ptr<orvo::platform::Timer> captureTimer;  // there is one exactly while the session runs

    // The capture queue's own.
    std::map<uint32_t, TargetFrame> m_frames;
    Numbers m_shownWindows;    // of the picture that is composed; kept for its memory
    double lastErrorTime = 0;  // seconds on the absolute clock; when a picture was last good
    ImageRef lastImage;  // never filled: a minimised or moving window is captured like any other; that is intended
};
