// What became of the ticks of a capture, for a host that wants to know why a picture stands still.
#pragma once

#include <cstdint>
#include <map>
#include <mutex>
#include <string>

// Both paths count here, each on its own thread.
class CaptureStatistics {
  public:
    struct Figures {
        uint64_t framesDelivered = 0;
        uint64_t ticksMerged = 0;
        uint64_t framesDropped = 0;
        uint64_t longestGap = 0;  // milliseconds, between two frames of one target in one run
        int lastErrorCode = 0;    // 0: none yet
        std::string lastErrorReason;
    };

    void setFps(int fps);
    // A run begins: the time since the last frame of the run before is no gap.
    void begin();
    // A frame of a target (0 on the device path) has reached the host; time in milliseconds on the path's own clock.
    void delivered(uint32_t target, uint64_t time);
    void dropped(const char* reason);
    void failed(int code, const std::string& reason);
    // The reason of the last drop becomes the reason of the error.
    void failed(int code);

    Figures figures() const;

  private:
    mutable std::mutex mutex_;
    Figures figures_;
    double interval_ = 0;                    // milliseconds; 0: unknown
    std::map<uint32_t, uint64_t> lastTime_;  // of each target in this run
};
