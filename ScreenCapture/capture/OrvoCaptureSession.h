// The capture engine behind the facade: owns the device path and the window path, switches between them, serialises
// every change on its queue and hands the frames of both to the host.
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>

#include "ScreenCapture/capture/OrvoCaptureSettings.h"
#include "ScreenCapture/platform/platform.h"
#include "ScreenCapture/window/OrvoWindowCaptureSession.h"
#include "common/utils/orvo_snapshot.h"

class OrvoCaptureSession : public orvo::platform::DisplayCaptureDelegate,
                           public OrvoWindowCaptureSessionDelegate,
                           public std::enable_shared_from_this<OrvoCaptureSession> {
  public:
    enum CaptureSource : int64_t { kWholeDisplay = 0, kDisplayRect = 1, kWindow = 2, kNoSource = 3 };

    static std::shared_ptr<OrvoCaptureSession> initWithSettings(std::shared_ptr<OrvoCaptureSettings> settings);
    explicit OrvoCaptureSession(std::shared_ptr<OrvoCaptureSettings> settings);

    // False when its parts could not be made: it is of no use then, and the statistics say why.
    bool initCaptureSession();
    void unInitCaptureSession();

    void startCapture();
    void stopCapture();
    bool isCapture();

    void setFPS(int fps);
    void setCursorVisible(bool visible);
    void enableMouseClickAnimation(bool enable);
    void setExcludeWindows(const unsigned int* ids, int count, bool add);
    bool setExtraWindows(const unsigned int* ids, int count, bool add);
    bool setTargetWindow(uint32_t windowID);
    bool setTargetWindowMode(int mode);
    bool setTargetWindowResolutionMode(int mode);
    bool setTargetWindowRectLeft(int left, int top, int width, int height);
    bool setTargetScreen(uint32_t screenID);
    bool setTargetRect(uint32_t screenID, int left, int top, int width, int height);
    void setTimeStampOffset(uint64_t offset);
    void setResolutionWidth(int width, int height);
    void setFormat(int format) { m_format = format; }

    // Null before initCaptureSession and after unInitCaptureSession.
    std::shared_ptr<OrvoWindowCaptureSession> m_windowCaptureSession() const;

    // Window path, on the capture queue.
    bool onCapturedWindowImage(orvo::platform::PixelBuffer& buffer, uint32_t windowID, uint64_t recordTime,
                               const orvo::platform::Changes& changes) override;
    void captureSessionRuntimeErrorOccur() override;

    // Device path, on the main queue.
    bool onSample(orvo::platform::PixelBuffer& buffer, const orvo::platform::MediaTime& presentationTime,
                  const orvo::platform::Changes& changes) override;
    void onDropped(orvo::platform::NoImage why) override;
    void onRuntimeError(const orvo::platform::CaptureFailure& failure) override;
    void onInterruption(const orvo::platform::CaptureFailure& failure) override;

    // Conversions that a host of the classes may use; neither path does.
    static orvo::platform::Rect getCropRect(const orvo::platform::PixelBuffer& buffer);
    static orvo::platform::Picture ImageFromPixelBuffer(orvo::platform::PixelBuffer& buffer);
    static orvo::platform::Ref<orvo::platform::PixelBuffer> cropAndResize(orvo::platform::PixelBuffer& buffer,
                                                                          orvo::platform::Size toSize);

  private:
    // The objects of one initialisation. A queued step carries the set that it was queued for, so that a stop queued
    // before unInitCaptureSession still finds what it has to stop.
    struct Parts {
        std::shared_ptr<orvo::platform::SerialQueue> mainTaskQueue;
        std::shared_ptr<orvo::platform::DisplayCapture> screenCaptureSession;
        std::shared_ptr<OrvoWindowCaptureSession> windowCaptureSession;
        // The rest belongs to the queue's steps.
        mutable std::shared_ptr<orvo::platform::DisplayInput> captureScreenInput;
        mutable uint32_t displayID = 0;
        mutable int fps = 0;
        mutable const char* refusal = nullptr;  // of the rectangle that was chosen last; null: it was taken
        mutable std::shared_ptr<orvo::platform::Timer> mainQueueWatch;
    };
    using PartsRef = std::shared_ptr<const Parts>;
    using Step = std::function<void(OrvoCaptureSession&, const PartsRef&)>;

    template <typename Work>
    bool guarded(Work&& work);
    bool inited() const;
    PartsRef makeParts(const Parts& before);
    void enqueue(const PartsRef& parts, Step step);
    void enqueue(Step step) { enqueue(m_parts.load(), std::move(step)); }
    void startStep(const PartsRef& parts);
    void stopCaptureByself(const Parts& parts);
    bool isCapture(const PartsRef& parts);
    bool refuseWithoutSource();
    void startDevice(const Parts& parts);
    void startWindows(const Parts& parts);
    void watchMainQueue(const PartsRef& parts);
    bool isOnDevicePath() const { return captureSource <= kDisplayRect; }
    void restart(const PartsRef& parts, uint64_t stopsSeen);
    void captureSessionRuntimeErrorDidOccur(const orvo::platform::CaptureFailure& failure);

    // _targets
    using Setting = std::function<bool(OrvoCaptureSession&, const PartsRef&, const std::function<void()>& stop)>;
    bool enqueueRetarget(CaptureSource source, Setting setting);
    bool enqueueWindowSetting(std::function<void(OrvoWindowCaptureSession&)> setting);
    void replaceInput(const Parts& parts, uint32_t screenID);
    void noteExclusions(const Parts& parts);
    bool refuseRect(const Parts& parts, const char* reason);

    // _delivery
    bool dropOfOtherPath(uint32_t target);
    void noteOtherPath(const Parts& parts);
    void dropWithoutCallback(uint32_t target);
    bool notifyImageRef(orvo::platform::PixelBuffer& buffer, uint32_t windowID, uint64_t recordTime);
    OrvoScreenCaptureFrameFormat describeFrame(int32_t width, int32_t height, size_t bytesPerRow) const;
    const char* frameData(const orvo::platform::PixelBuffer& buffer, const void* pixels) const;

    const std::shared_ptr<OrvoCaptureSettings> m_settings;
    ORVO::BASE::Snapshot<Parts> m_parts;
    std::atomic<bool> isInited{false};
    std::atomic<int> m_format{4};
    std::atomic<uint64_t> uOffset{0};
    std::atomic<int64_t> captureSource{kNoSource};
    // Counts the host's stops: a restart that a change of target queues is void when a stop came after the change.
    std::atomic<uint64_t> m_stops{0};
    std::atomic<bool> m_isMainQueueSilent{false};  // since the last start
    std::atomic<double> m_otherPathReportedAt{0};  // seconds on the absolute clock; 0: not since the last start
};
