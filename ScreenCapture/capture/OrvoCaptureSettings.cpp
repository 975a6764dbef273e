// The registry of the host's callbacks.
#include "ScreenCapture/capture/OrvoCaptureSettings.h"

#include <chrono>

namespace {

// How long the host waits for its own callback when it shuts the registry.
constexpr std::chrono::seconds kMaxWait{1};

// Calls, of any registry, that this thread is inside of.
constinit thread_local int tCallDepth = 0;

}  // namespace

void OrvoCaptureSettings::registerCallback(int kind, void* callback, void* userData) {
    std::lock_guard lock(m_mtxCallback);
    m_callbackList[kind] = {callback, userData};
}

OrvoCaptureSettings::Callback OrvoCaptureSettings::getCallback(int kind) const {
    std::lock_guard lock(m_mtxCallback);
    const auto found = m_callbackList.find(kind);
    return found == m_callbackList.end() ? Callback() : found->second;
}

bool OrvoCaptureSettings::beginCall() {
    std::lock_guard lock(m_mtxCalls);
    if (m_isShut) return false;
    ++m_callsUnderWay;
    ++tCallDepth;
    return true;
}

void OrvoCaptureSettings::endCall() {
    std::lock_guard lock(m_mtxCalls);
    --m_callsUnderWay;
    --tCallDepth;
    if (m_isShut) m_callEnded.notify_all();
}

bool OrvoCaptureSettings::isShut() const {
    std::lock_guard lock(m_mtxCalls);
    return m_isShut;
}

void OrvoCaptureSettings::shut() {
    std::unique_lock lock(m_mtxCalls);
    m_isShut = true;
    // The callback that this thread is inside of may be what the others wait for.
    if (tCallDepth > 0) return;
    m_callEnded.wait_for(lock, kMaxWait, [this] { return m_callsUnderWay == 0; });
}
