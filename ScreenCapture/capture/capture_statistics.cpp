// What became of the ticks of a capture.
#include "ScreenCapture/capture/capture_statistics.h"

#include <algorithm>
#include <new>

#include "xplatform/common/orvosyslog.h"

namespace {

constexpr double kMillisecondsPerSecond = 1000.0;

}  // namespace

void CaptureStatistics::setFps(int fps) {
    std::lock_guard lock(mutex_);
    interval_ = fps > 0 ? kMillisecondsPerSecond / fps : 0;
}

void CaptureStatistics::begin() {
    std::lock_guard lock(mutex_);
    lastFrames_.clear();
    loggedReasons_.clear();
}

void CaptureStatistics::delivered(uint32_t target, uint64_t time) {
    std::lock_guard lock(mutex_);
    ++figures_.framesDelivered;
    const auto [found, isFirst] = lastFrames_.try_emplace(target, LastFrame{time});
    const LastFrame last = std::exchange(found->second, {time});
    const uint64_t gap = !isFirst && time > last.time ? time - last.time : 0;
    figures_.longestGap = std::max(figures_.longestGap, gap);
    // A gap of one and a half intervals or more has swallowed ticks, unless they came and gave no frame.
    if (interval_ <= 0 || static_cast<double>(gap) < interval_ * 1.5) return;
    const auto ticks = static_cast<uint64_t>(static_cast<double>(gap) / interval_ + 0.5) - 1;
    figures_.ticksMerged += ticks - std::min(ticks, last.dropsSince);
}

void CaptureStatistics::dropped(uint32_t target) {
    std::lock_guard lock(mutex_);
    ++figures_.framesDropped;
    if (const auto last = lastFrames_.find(target); last != lastFrames_.end()) ++last->second.dropsSince;
}

void CaptureStatistics::dropped(uint32_t target, std::string_view reason) {
    dropped(target);
    note(reason, target);
}

void CaptureStatistics::note(std::string_view reason, uint32_t target) noexcept {
    try {
        std::lock_guard lock(mutex_);
        if (figures_.lastErrorReason != reason) figures_.lastErrorReason = reason;
        auto& logged = loggedReasons_[target];
        if (logged.find(reason) != logged.end()) return;
        logged.emplace(reason);
    } catch (const std::bad_alloc&) {
        // The line below says it.
    }
    // Outside the lock: the log's hook may ask for the figures.
    const auto length = static_cast<int>(reason.size());
    if (target == 0)
        syslog_ex(1, ESYSLOG_WARN, "CS", __LINE__, "%.*s", length, reason.data());
    else
        syslog_ex(1, ESYSLOG_WARN, "CS", __LINE__, "target %u: %.*s", target, length, reason.data());
}

void CaptureStatistics::failed(int code, std::string_view reason) {
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
