// The one object behind the exported functions: owns the callback registry, the capture session and the log thread,
// checks the few parameters that are checked here, and passes each call on. Runs on whatever thread the host calls
// from.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>

#include "ScreenCapture/capture/OrvoCaptureSession.h"
#include "ScreenCapture/capture/OrvoCaptureSettings.h"
#include "common/utils/orvo_queue_runner.h"
#include "orvo/screencapture.h"
#include "xplatform/common/orvotask_io.h"

class OrvoScreenCaptureImpl {
  public:
    OrvoScreenCaptureImpl();
    ~OrvoScreenCaptureImpl();
    OrvoScreenCaptureImpl(const OrvoScreenCaptureImpl&) = delete;
    OrvoScreenCaptureImpl& operator=(const OrvoScreenCaptureImpl&) = delete;

    // Whether any export has reached the facade.
    void noteUse() { m_used.store(true, std::memory_order_relaxed); }
    bool isUsed() const { return m_used.load(std::memory_order_relaxed); }

    void Init();
    void UnInit();
    void StartCapture();
    void StopCapture();
    bool IsCapture() const;

    void SetFPS(int fps);
    void SetTimeStampOffset(unsigned long long offset);
    void SetResolution(int width, int height);
    void SetCursorVisible(bool visible);
    void EnableMouseClickAnimation(bool enable);
    void SetCatureVideoPixelFormat(OrvoScreenCaptureVideoPixelFormat format);

    bool SetTargetWindow(unsigned int windowID);
    bool SetExtraWindows(unsigned int* windows, int count, bool add);
    bool SetTargetWindowMode(OrvoScreenCaptureWindowMode mode);
    bool SetTargetWindowResolutionMode(OrvoScreenCaptureResolutionMode mode);
    bool SetTargetWindowRect(int left, int top, int width, int height);
    void SetExcludeWindows(unsigned int* windows, int count, bool add);
    bool SetTargetRect(unsigned int screenID, int left, int top, int width, int height);
    bool SetTargetScreen(unsigned int screenID);

    void registerCallback(int kind, void* callback, void* userData);

    // False before Init and after UnInit. After an Init that failed, why.
    bool GetStatistics(CaptureStatistics::Figures& figures) const;

    // _lists
    OrvoScreenCaptureScreenItem* EnumScreenList(unsigned int& count);
    void FreeScreenList(const OrvoScreenCaptureScreenItem* list);
    // The last argument is never read.
    OrvoThumbnailWindowInfo* EnumWindowList(int& count, bool skipImages, bool includeIconic, bool legacyFlag);
    void FreeWindowList(OrvoThumbnailWindowInfo* list, int count);
    int RegistTargetWindow(unsigned int windowID);
    int UnRegistTargetWindow(unsigned int windowID);
    int ShowTargetWindow(unsigned int windowID, OrvoThumbnailShowWindowCmd cmd);
    int CheckTargetWindow(unsigned int windowID);
    void GetWindowRect(unsigned int windowID, OrvoScreenCaptureRect* rect);

    // _log
    bool StartThreadIfNeeded();
    bool SetLogLevel(int level, const char* logFolder);
    CORVOTaskBase* LogTask() const { return m_logTask; }
    ORVO::BASE::COrvoQueueRunner* QueueRunner() const { return m_queueRunner.get(); }

  private:
    // Each answers an object to hold during a call, or null.
    std::shared_ptr<OrvoCaptureSession> session() const;
    std::shared_ptr<OrvoCaptureSettings> settings() const;
    std::shared_ptr<OrvoWindowManager> windowManager() const;

    // The session, or null and a log line.
    std::shared_ptr<OrvoCaptureSession> existingSession() const;
    size_t excludedWindows() const;

    std::atomic<bool> m_used{false};
    CORVOTaskIO* const m_logTask;  // one reference of it
    const std::unique_ptr<ORVO::BASE::COrvoQueueRunner> m_queueRunner;

    mutable std::mutex m_mutex;  // guards the two below
    std::shared_ptr<OrvoCaptureSession> m_captureSession;
    std::shared_ptr<OrvoCaptureSettings> m_settings;
};

// Made when the library is loaded; nobody deletes it. Null in a child that is forked after the first call. A host that
// is not compiled as position-independent code has this variable in itself, so the library reads it like a foreign one.
extern "C" ORVO_API OrvoScreenCaptureImpl* g_pScreenCaptureImpl;
