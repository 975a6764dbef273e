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
    unsigned long long firstTime = 0;   // milliseconds
    unsigned long long lastTime = 0;    // milliseconds
    unsigned long long longestGap = 0;  // milliseconds between two frames that follow each other

    [[nodiscard]] double rate() const {  // frames a second; 0 before the second frame
        return frames > 1 && lastTime > firstTime ? 1000.0 * (frames - 1) / static_cast<double>(lastTime - firstTime)
                                                  : 0;
    }
    [[nodiscard]] double seconds() const {
        return rate() > 0 ? frames / rate() : 0;
    }                                                              // the last frame's share included
    [[nodiscard]] std::string text() const;                        // all of them
    [[nodiscard]] std::string progressText(uint64_t bytes) const;  // the same in short, for one line of a terminal
};

class Recording {
  public:
    // seconds: of frame time from the first frame on; 0 records until somebody stops it.
    Recording(FrameWriter& writer, double seconds, int framesPerSecond);

    void take(const FrameView& frame);  // from the library's threads; does not wait

    // Whether all frames are there, or their time is over.
    [[nodiscard]] bool complete() const;

    [[nodiscard]] RecordingFigures figures() const;

  private:
    using Clock = std::chrono::steady_clock;

    FrameWriter& writer_;
    const double seconds_;
    const double halfTick_;  // milliseconds
    mutable std::mutex mutex_;
    RecordingFigures figures_;
    bool begun_ = false;
    bool complete_ = false;
    Clock::time_point begin_;
};

// Where a recording goes. Of several targets each has a folder or a file of its own, named after its window.
struct OutputOptions {
    std::string pngFolder;
    std::string y4mFile;
    std::string rawFile;
    int framesPerSecond = 15;
    double seconds = 0;  // 0 records until somebody stops it

    [[nodiscard]] bool onStandardOutput() const { return y4mFile == "-" || rawFile == "-"; }

    // window: 0 for a target that has the whole output to itself.
    [[nodiscard]] std::unique_ptr<FrameSink> makeSink(unsigned int window) const;
};

// "films/a.y4m" for a window becomes "films/a-window-12.y4m".
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
