// What becomes of one target's frames.
#pragma once

#include <memory>
#include <string>

#include "frame_writer.h"
#include "recording.h"

namespace orvocap {

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
