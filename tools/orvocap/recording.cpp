// One recording: frames in, figures out; a sink, a writer and a recording for each target.
#include "recording.h"

#include <algorithm>
#include <cstdio>
#include <utility>

#include "application.h"
#include "encoder.h"
#include "png_files.h"
#include "terminal.h"
#include "video.h"

namespace orvocap {

namespace {

// How long a recording waits, beyond its time, for frames that do not come.
constexpr double patienceSeconds = 1;
constexpr size_t framesThatMayWait = 12;

}  // namespace

std::string RecordingFigures::text() const {
    char line[160];
    std::snprintf(line, sizeof line, "%u frames of %dx%d in %.1f s, %.1f a second, %u dropped, longest gap %llu ms",
                  frames, width, height, seconds(), rate(), dropped, longestGap);
    return line;
}

std::string RecordingFigures::progressText(double wanted, uint64_t bytes) const {
    const double elapsed = static_cast<double>(lastTime - firstTime) / 1000;
    std::string line = clockText(elapsed);
    if (wanted > 0) line += ", " + clockText(std::max(0.0, wanted - elapsed)) + " left";
    char rest[96];
    std::snprintf(rest, sizeof rest, ", %u frames, %.1f/s, %.1f MB", frames, rate(), static_cast<double>(bytes) / 1e6);
    line += rest;
    if (dropped > 0) line += ", " + std::to_string(dropped) + " dropped";
    return line;
}

Recording::Recording(FrameWriter& writer, double seconds, int framesPerSecond)
    : writer_(writer), seconds_(seconds), tick_(1000.0 / framesPerSecond) {}

bool Recording::take(const FrameView& frame) {
    const std::lock_guard lock(mutex_);
    if (complete_ || paused_) return false;
    if (!begun_) {
        begun_ = true;
        begin_ = Clock::now();
        figures_.firstTime = figures_.lastTime = frame.time;
        figures_.width = frame.format.width;
        figures_.height = frame.format.height;
    }
    latest_ = Clock::now();
    if (std::exchange(resumed_, false)) {
        const auto next = figures_.lastTime + static_cast<unsigned long long>(tick_);
        if (frame.time - skip_ > next) skip_ = frame.time - next;
    }
    const unsigned long long time = frame.time - skip_;
    // A frame on the closing edge belongs to the next second, however its time was rounded.
    const unsigned long long elapsed = time > figures_.firstTime ? time - figures_.firstTime : 0;
    if (seconds_ > 0 && static_cast<double>(elapsed) > seconds_ * 1000 - tick_ / 2 && figures_.frames > 0) {
        complete_ = true;
        writer_.hold(figures_.firstTime +
                     static_cast<unsigned long long>(seconds_ * 1000));  // if the last were dropped
        return false;
    }
    if (!writer_.offer({frame.data, frame.format, time, frame.target})) {
        ++figures_.dropped;
        return false;
    }
    if (figures_.frames++ > 0 && time > figures_.lastTime)
        figures_.longestGap = std::max(figures_.longestGap, time - figures_.lastTime);
    figures_.lastTime = std::max(figures_.lastTime, time);
    return true;
}

void Recording::hold() {
    const std::lock_guard lock(mutex_);
    if (!begun_ || complete_ || paused_) return;
    const auto now = Clock::now();
    const auto passed = std::chrono::duration_cast<std::chrono::milliseconds>(now - latest_).count();
    latest_ = now;
    auto time = figures_.lastTime + static_cast<unsigned long long>(passed);
    if (const auto end = figures_.firstTime + static_cast<unsigned long long>(seconds_ * 1000);
        seconds_ > 0 && time >= end) {
        time = end;
        complete_ = true;
    }
    writer_.hold(time);
    figures_.lastTime = std::max(figures_.lastTime, time);
}

void Recording::setPaused(bool paused) {
    const std::lock_guard lock(mutex_);
    if (paused == paused_) return;
    paused_ = paused;
    const auto now = Clock::now();
    if (paused) {
        pausedAt_ = now;
    } else {
        begin_ += now - pausedAt_;
        latest_ = now;
        resumed_ = begun_;
    }
}

bool Recording::complete() const {
    const std::lock_guard lock(mutex_);
    if (complete_ || !begun_ || paused_ || seconds_ <= 0) return complete_;
    return std::chrono::duration<double>(Clock::now() - begin_).count() > seconds_ + patienceSeconds;
}

RecordingFigures Recording::figures() const {
    const std::lock_guard lock(mutex_);
    return figures_;
}

std::string withWindow(const std::string& file, unsigned int window) {
    const size_t slash = file.rfind('/');
    const size_t name = slash == std::string::npos ? 0 : slash + 1;
    size_t dot = file.rfind('.');
    if (dot == std::string::npos || dot <= name) dot = file.size();
    return file.substr(0, dot) + "-window-" + std::to_string(window) + file.substr(dot);
}

void OutputOptions::resolve() {
    if (file.empty() && pngFolder.empty() && y4mFile.empty() && rawFile.empty())
        file = defaultName("recording", ".mkv");
    if (file.empty()) return;
    const std::string extension = extensionOf(file);
    if (file == "-" || extension == ".y4m") {
        y4mFile = std::exchange(file, {});
    } else if (file.back() == '/') {
        pngFolder = std::exchange(file, {});
    } else if (extension != ".png" && !isEncoded(extension)) {
        throw Failure(exitUsage, "cannot record into " + file + ": the name has to end with " +
                                     ".mkv, .mp4, .webm, .y4m or .png, or with / for a folder of PNG files");
    }
}

std::unique_ptr<FrameSink> OutputOptions::makeSink(unsigned int window) const {
    if (window && onStandardOutput())
        throw Failure(exitUsage, "standard output takes one target; give a file, and each window has its own");
    const auto named = [window](const std::string& name) { return window ? withWindow(name, window) : name; };
    if (!pngFolder.empty()) {
        const std::string folder = window ? pngFolder + "/window-" + std::to_string(window) : pngFolder;
        return std::make_unique<PngSink>(folder + "/frame-", force);
    }
    if (extensionOf(file) == ".png") {
        const std::string name = named(file);
        return std::make_unique<PngSink>(name.substr(0, name.size() - 4) + "-", force);
    }
    const bool isRaw = !rawFile.empty();
    const std::string path = named(!file.empty() ? file : isRaw ? rawFile : y4mFile);
    allowOverwriting(path, force);
    if (file.empty()) return std::make_unique<VideoSink>(path, isRaw ? rawFormat : y4mFormat, framesPerSecond);
    return std::make_unique<VideoSink>(std::make_unique<Encoder>(path), framesPerSecond);
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
