// What became of the ticks of a capture, and why frames do not come. Whatever keeps frames from the host is noted here:
// the last reason stands in the figures, and each reason is a warning in the log once in a run.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <set>
#include <string>
#include <string_view>
#include <utility>

// Callable from any thread. Targets are numbers of windows and of displays on the window path; 0: the device path.
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
    // A run begins: the time since the last frame of the run before is no gap, and reasons are logged again.
    void begin();
    // A frame of a target has reached the host; time in milliseconds on the path's own clock.
    void delivered(uint32_t target, uint64_t time);
    // A tick of a target gave the host no frame; with a reason, that is noted.
    void dropped(uint32_t target);
    void dropped(uint32_t target, std::string_view reason);
    // Notes why frames do not come. Without memory the reason is only logged.
    void note(std::string_view reason, uint32_t target = 0) noexcept;
    // The host is notified of an error. Without a reason of its own it gets the one that was noted last.
    void failed(int code);
    void failed(int code, std::string_view reason);

    Figures figures() const;

  private:
    struct LastFrame {
        uint64_t time = 0;
        uint64_t dropsSince = 0;
    };

    mutable std::mutex mutex_;
    Figures figures_;
    double interval_ = 0;                                                   // milliseconds; 0: unknown
    std::map<uint32_t, LastFrame> lastFrames_;                              // of each target in this run
    std::map<uint32_t, std::set<std::string, std::less<>>> loggedReasons_;  // of each target in this run
};
