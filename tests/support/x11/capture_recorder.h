// Keeps what the device path delivers, and runs the main queue until something has come.
#pragma once

#include <time.h>

#include <atomic>

#include <chrono>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "ScreenCapture/platform/display_capture.h"
#include "ScreenCapture/platform/linux/main_queue.h"

namespace orvo::testing {

// Drains the main queue until the condition holds; false after ten seconds.
inline bool runUntil(const std::function<bool()>& condition) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end) return false;
        platform::linux::runMainQueue(5);
    }
    return true;
}

class CaptureRecorder final : public platform::DisplayCaptureDelegate {
  public:
    bool onSample(platform::PixelBuffer& buffer, const platform::MediaTime& time, const platform::Changes&) override {
        samples++;
        times.push_back(time.value * 1000000 / time.timescale);
        width = buffer.width();
        height = buffer.height();
        bytesPerRow = buffer.bytesPerRow();
        const auto* bytes = static_cast<const uint8_t*>(buffer.baseAddress());
        pixels.assign(bytes, bytes + bytesPerRow * static_cast<size_t>(height));
        if (keep) kept.push_back(platform::Ref<platform::PixelBuffer>::retain(&buffer));
        return true;
    }
    void onDropped(platform::NoImage) override { drops++; }
    void onRuntimeError(const platform::CaptureFailure& failure) override {
        runtimeErrors++;
        reason = failure.failureReason;
    }
    void onInterruption(const platform::CaptureFailure& failure) override {
        interruptions++;
        reason = failure.failureReason;
    }

    // Waits for a sample that was taken after this call.
    bool nextSample() {
        timespec now{};
        clock_gettime(CLOCK_MONOTONIC, &now);
        const int64_t start = static_cast<int64_t>(now.tv_sec) * 1'000'000 + now.tv_nsec / 1000 + 1;
        return runUntil([&] { return !times.empty() && times.back() >= start; });
    }
    // 0xAARRGGBB
    uint32_t pixel(int x, int y) const {
        const uint8_t* p = pixels.data() + static_cast<size_t>(y) * bytesPerRow + static_cast<size_t>(x) * 4;
        return static_cast<uint32_t>(p[3]) << 24 | static_cast<uint32_t>(p[2]) << 16 |
               static_cast<uint32_t>(p[1]) << 8 | p[0];
    }

    std::atomic<int> drops = 0;
    int samples = 0;
    int runtimeErrors = 0;
    int interruptions = 0;
    std::string reason;
    std::vector<int64_t> times;  // microseconds
    int width = 0;
    int height = 0;
    size_t bytesPerRow = 0;
    std::vector<uint8_t> pixels;
    bool keep = false;
    std::vector<platform::Ref<platform::PixelBuffer>> kept;
};

}  // namespace orvo::testing
