// One sink, writer and recording for each target.
#include "output.h"

#include "failure.h"
#include "png_sink.h"
#include "video_sink.h"

namespace orvocap {

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
