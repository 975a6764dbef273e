// One recording: which frames belong to it, its figures, and what becomes of them.
#pragma once

#include <chrono>
#include <memory>
#include <mutex>
#include <string>

#include "frame_writer.h"

namespace orvocap {

struct RecordingFigures {
    unsigned int frames = 0;   // handed to the writer
    unsigned int dropped = 0;  // found no room: encoding was too slow
    int width = 0;             // of the first frame, pixels
    int height = 0;
    unsigned long long firstTime = 0;   // milliseconds, without pauses
    unsigned long long lastTime = 0;    // milliseconds, without pauses
    unsigned long long longestGap = 0;  // milliseconds between two frames that follow each other

    [[nodiscard]] double rate() const {  // frames a second; 0 before the second frame
        return frames > 1 && lastTime > firstTime ? 1000.0 * (frames - 1) / static_cast<double>(lastTime - firstTime)
                                                  : 0;
    }
    // The last frame's share included.
    [[nodiscard]] double seconds() const { return rate() > 0 ? frames / rate() : 0; }
    [[nodiscard]] std::string text() const;  // all of them
    // The same in short, for one line of a terminal. wanted: how many seconds there will be; 0: unknown.
    [[nodiscard]] std::string progressText(double wanted, uint64_t bytes) const;
};

class Recording {
  public:
    // seconds: of frame time from the first frame on, without pauses; 0 records until it is stopped.
    Recording(FrameWriter& writer, double seconds, int framesPerSecond);

    bool take(const FrameView& frame);  // from the library's threads; does not wait. Whether it is recorded

    // While its target gives no frames because it is minimised: what was recorded last is shown until now.
    void hold();

    // Frames are left out, and their time with them.
    void setPaused(bool paused);

    // Whether all frames are there, or their time is over.
    [[nodiscard]] bool complete() const;

    [[nodiscard]] RecordingFigures figures() const;

  private:
    using Clock = std::chrono::steady_clock;

    FrameWriter& writer_;
    const double seconds_;
    const double tick_;  // milliseconds between two frames
    mutable std::mutex mutex_;
    RecordingFigures figures_;
    bool begun_ = false;
    bool complete_ = false;
    bool paused_ = false;
    bool resumed_ = false;         // the next frame is the first one after a pause
    unsigned long long skip_ = 0;  // milliseconds that all pauses took, less than a frame's time excepted
    Clock::time_point begin_;      // moved on by every pause
    Clock::time_point latest_;     // when the last frame came, or was held
    Clock::time_point pausedAt_;
};

// Where a recording goes. Of several targets each has a folder or a file of its own, named after its window.
struct OutputOptions {
    std::string file;  // its extension says the format
    std::string pngFolder;
    std::string y4mFile;
    std::string rawFile;
    int framesPerSecond = 15;
    double seconds = 0;  // 0 records until it is stopped
    bool force = false;  // writes over what is there

    [[nodiscard]] bool onStandardOutput() const { return file == "-" || y4mFile == "-" || rawFile == "-"; }

    // Names a file when none is given. Throws a Failure when its extension names no format.
    void resolve();

    // window: 0 for a target that has the whole output to itself. Throws a Failure rather than to write over anything.
    [[nodiscard]] std::unique_ptr<FrameSink> makeSink(unsigned int window) const;
};

// "videos/a.y4m" for a window becomes "videos/a-window-12.y4m".
std::string withWindow(const std::string& file, unsigned int window);

struct Output {
    Output(const OutputOptions& options, unsigned int target, bool isOnly);

    // "window 12: " before the figures of one among several targets.
    [[nodiscard]] std::string name() const;

    const unsigned int target;  // the number that its frames carry
    const bool isOnly;
    const std::unique_ptr<FrameSink> sink;
    FrameWriter writer;
    Recording recording;
};

}  // namespace orvocap
