// The registry of the host's callbacks: one per kind, each with the host's own pointer.
#pragma once

#include <atomic>
#include <condition_variable>
#include <map>
#include <mutex>
#include <utility>

#include "ScreenCapture/capture/capture_statistics.h"

class OrvoCaptureSettings {
  public:
    using Callback = std::pair<void*, void*>;  // function, user data

    // Replaces the kind's callback; a null one silences the kind. Any kind is stored, also one that nothing fires.
    void registerCallback(int kind, void* callback, void* userData);
    // Two nulls for a kind that was never registered.
    Callback getCallback(int kind) const;

    // Every call out to the host runs between these two. beginCall answers false once the registry is shut.
    bool beginCall();
    void endCall();

    // From now on nothing is called any more. Waits, for a second at most, for a call that is under way on another
    // thread; from inside a callback it does not wait.
    void shut();
    bool isShut() const;

    // Shared by everybody who shares the registry: what became of the capture since it was made.
    CaptureStatistics& statistics() { return m_statistics; }

    // True the first time: what a throwing callback did is logged once.
    bool firstException() { return !m_exceptionSeen.exchange(true); }

  private:
    std::map<int, Callback> m_callbackList;
    mutable std::mutex m_mtxCallback;

    mutable std::mutex m_mtxCalls;
    std::condition_variable m_callEnded;
    int m_callsUnderWay = 0;
    bool m_isShut = false;
    std::atomic<bool> m_exceptionSeen{false};
    CaptureStatistics m_statistics;
};
