// What became of the ticks of a capture.
#include "ScreenCapture/capture/capture_statistics.h"

#include <algorithm>

namespace {

constexpr double kMillisecondsPerSecond = 1000.0;

}  // namespace

void CaptureStatistics::setFps(int fps) {
    std::lock_guard lock(mutex_);
    interval_ = fps > 0 ? kMillisecondsPerSecond / fps : 0;
}

void CaptureStatistics::begin() {
    std::lock_guard lock(mutex_);
    lastTime_.clear();
}

void CaptureStatistics::delivered(uint32_t target, uint64_t time) {
    std::lock_guard lock(mutex_);
    ++figures_.framesDelivered;
    const auto [last, isFirst] = lastTime_.try_emplace(target, time);
    const uint64_t gap = !isFirst && time > last->second ? time - last->second : 0;
    last->second = time;
    figures_.longestGap = std::max(figures_.longestGap, gap);
    // A gap of one and a half intervals or more has swallowed a tick.
    if (interval_ > 0 && static_cast<double>(gap) >= interval_ * 1.5)
        figures_.ticksMerged += static_cast<uint64_t>(static_cast<double>(gap) / interval_ + 0.5) - 1;
}

void CaptureStatistics::dropped(const char* reason) {
    std::lock_guard lock(mutex_);
    ++figures_.framesDropped;
    if (figures_.lastErrorReason != reason) figures_.lastErrorReason = reason;
}

void CaptureStatistics::failed(int code, const std::string& reason) {
    std::lock_guard lock(mutex_);
    figures_.lastErrorCode = code;
    figures_.lastErrorReason = reason;
}

void CaptureStatistics::failed(int code) {
    std::lock_guard lock(mutex_);
    figures_.lastErrorCode = code;
}

CaptureStatistics::Figures CaptureStatistics::figures() const {
    std::lock_guard lock(mutex_);
    return figures_;
}
