// One recording: frames in, figures out; a sink, a writer and a recording for each target.
#include "recording.h"

#include <algorithm>
#include <cstdio>

#include "application.h"
#include "png_files.h"
#include "video.h"

namespace orvocap {

namespace {

// How long a recording waits, beyond its time, for frames that do not come.
constexpr double patienceSeconds = 1;

}  // namespace

std::string RecordingFigures::text() const {
    char line[160];
    std::snprintf(line, sizeof line, "%u frames of %dx%d in %.1f s, %.1f a second, %u dropped, longest gap %llu ms",
                  frames, width, height, seconds(), rate(), dropped, longestGap);
    return line;
}

std::string RecordingFigures::progressText(uint64_t bytes) const {
    char line[160];
    std::snprintf(line, sizeof line, "%u frames, %.1f/s, %.1f MB, %u dropped, gap %llu ms", frames, rate(),
                  static_cast<double>(bytes) / 1e6, dropped, longestGap);
    return line;
}

Recording::Recording(FrameWriter& writer, double seconds, int framesPerSecond)
    : writer_(writer), seconds_(seconds), halfTick_(500.0 / framesPerSecond) {}

void Recording::take(const FrameView& frame) {
    const std::lock_guard lock(mutex_);
    if (complete_) return;
    if (!begun_) {
        begun_ = true;
        begin_ = Clock::now();
        figures_.firstTime = figures_.lastTime = frame.time;
        figures_.width = frame.format.width;
        figures_.height = frame.format.height;
    }
    // A frame on the closing edge belongs to the next second, however its time was rounded.
    const unsigned long long elapsed = frame.time > figures_.firstTime ? frame.time - figures_.firstTime : 0;
    if (seconds_ > 0 && static_cast<double>(elapsed) > seconds_ * 1000 - halfTick_ && figures_.frames > 0) {
        complete_ = true;
        return;
    }
    if (!writer_.offer(frame)) {
        ++figures_.dropped;
        return;
    }
    if (figures_.frames++ > 0 && frame.time > figures_.lastTime) {
        figures_.longestGap = std::max(figures_.longestGap, frame.time - figures_.lastTime);
    }
    figures_.lastTime = std::max(figures_.lastTime, frame.time);
}

bool Recording::complete() const {
    const std::lock_guard lock(mutex_);
    if (complete_ || !begun_ || seconds_ <= 0) return complete_;
    return std::chrono::duration<double>(Clock::now() - begin_).count() > seconds_ + patienceSeconds;
}

RecordingFigures Recording::figures() const {
    const std::lock_guard lock(mutex_);
    return figures_;
}

namespace {

constexpr size_t framesThatMayWait = 12;

}  // namespace

std::string withWindow(const std::string& file, unsigned int window) {
    const size_t slash = file.rfind('/');
    const size_t name = slash == std::string::npos ? 0 : slash + 1;
    size_t dot = file.rfind('.');
    if (dot == std::string::npos || dot <= name) dot = file.size();
    return file.substr(0, dot) + "-window-" + std::to_string(window) + file.substr(dot);
}

std::unique_ptr<FrameSink> OutputOptions::makeSink(unsigned int window) const {
    if (!pngFolder.empty()) {
        return std::make_unique<PngSink>(window ? pngFolder + "/window-" + std::to_string(window) : pngFolder);
    }
    if (window && onStandardOutput())
        throw Failure(exitUsage, "standard output takes one target; give a file, and each window has its own");
    const bool isRaw = !rawFile.empty();
    const std::string& file = isRaw ? rawFile : y4mFile;
    return std::make_unique<VideoSink>(window ? withWindow(file, window) : file, isRaw ? rawFormat : y4mFormat,
                                       framesPerSecond);
}

Output::Output(const OutputOptions& options, unsigned int frameTarget, bool only)
    : target(frameTarget),
      isOnly(only),
      sink(options.makeSink(only ? 0 : frameTarget)),
      writer(*sink, framesThatMayWait),
      recording(writer, options.seconds, options.framesPerSecond) {}

std::string Output::name() const {
    return isOnly ? "" : "window " + std::to_string(target) + ": ";
}

}  // namespace orvocap
