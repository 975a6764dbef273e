// The window manager: what it holds, and its registry of targets.
#include "ScreenCapture/thumbnail/OrvoWindowManager.h"

#include <utility>

using orvo::platform::platform;

OrvoWindowManager::OrvoWindowManager(std::shared_ptr<OrvoCaptureSettings> settings)
    : m_settings(std::move(settings)), imageQueue(platform().dispatch().makeSerialQueue("com.orvo.window.manager")) {}

void OrvoWindowManager::setExcludeWindows(Numbers excludeWindows) {
    std::lock_guard lock(m_mutex);
    m_excludeWindows = std::move(excludeWindows);
}

OrvoWindowManager::Numbers OrvoWindowManager::excludeWindows() const {
    std::lock_guard lock(m_mutex);
    return m_excludeWindows;
}

void OrvoWindowManager::setTargetWindow(uint32_t windowId) {
    OrvoWindowRef record = getOrvoWindowWithWindowId(windowId);
    std::lock_guard lock(m_mutex);
    if (record || !targetWindowsDictionary.contains(windowId))
        targetWindowsDictionary[windowId] = {std::move(record), 0};
}

void OrvoWindowManager::removeTargerWindow(uint32_t windowId) {
    std::lock_guard lock(m_mutex);
    targetWindowsDictionary.erase(windowId);
}

OrvoWindowRef OrvoWindowManager::getItemWithTargetWindow(uint32_t windowId) {
    const uint64_t version = platform().windowServer().desktopVersion();
    {
        std::lock_guard lock(m_mutex);
        const auto target = targetWindowsDictionary.find(windowId);
        if (target != targetWindowsDictionary.end()) {
            if (target->second.record) return target->second.record;
            if (version != 0 && target->second.missingAt == version) return nullptr;
        }
    }
    OrvoWindowRef record = getOrvoWindowWithWindowId(windowId);
    std::lock_guard lock(m_mutex);
    const auto target = targetWindowsDictionary.find(windowId);
    if (target == targetWindowsDictionary.end()) return record;
    // A target that was not there when it was set is registered now. Another thread may have been faster.
    if (!target->second.record) target->second = {std::move(record), version};
    return target->second.record;
}

bool OrvoWindowManager::registTargetWindow(uint32_t windowId) {
    const OrvoWindowRef record = getOrvoWindowWithWindowId(windowId);
    if (!record) return false;
    imageQueue->async([self = shared_from_this(), record] { self->setThumbnailImage(*record, true); });
    return true;
}

// Nothing was registered that would need to be undone.
bool OrvoWindowManager::unRegistTargetWindowId(uint32_t /*windowId*/) {
    return true;
}
