// orvocap record: frames of a screen or of a part of it, into PNG files or a Y4M file.
#include <atomic>
#include <chrono>
#include <cstdio>
#include <exception>
#include <memory>

#include "capture.h"
#include "command.h"
#include "frame_writer.h"
#include "main_queue.h"
#include "png_sink.h"
#include "progress.h"
#include "recording.h"
#include "stop_request.h"
#include "target_options.h"
#include "y4m_sink.h"

namespace orvocap {

namespace {

constexpr size_t framesThatMayWait = 12;
constexpr auto firstFrameWithin = std::chrono::seconds(5);
constexpr int sliceMilliseconds = 20;

struct RecordOptions {
    TargetOptions target;
    int framesPerSecond = 15;
    double seconds = 0;
    std::string pngFolder;
    std::string y4mFile;

    [[nodiscard]] std::unique_ptr<FrameSink> makeSink() const {
        if (!pngFolder.empty()) return std::make_unique<PngSink>(pngFolder);
        return std::make_unique<Y4mSink>(y4mFile, framesPerSecond);
    }
};

// Captures until the recording is complete or somebody stops it; throws when it cannot go on.
void capture(const RecordOptions& options, Recording& recording, FrameWriter& writer, Progress& progress) {
    std::atomic<bool> mismatched = false;
    int width = 0;  // of a frame that is not of the target; read once mismatched is set
    int height = 0;
    Capture capture([&](const FrameView& frame) {
        if (mismatched) return;
        if (options.target.matches(frame.format.width, frame.format.height)) return recording.take(frame);
        width = frame.format.width;
        height = frame.format.height;
        mismatched = true;
    });
    options.target.choose();
    orvo_screencapture_set_fps(options.framesPerSecond);
    capture.start();
    const auto deadline = std::chrono::steady_clock::now() + firstFrameWithin;
    while (!recording.complete() && !stopRequested()) {
        runMainQueue(sliceMilliseconds);
        capture.check();
        writer.check();
        if (mismatched) throw Failure(exitUsage, options.target.mismatch(width, height));
        const RecordingFigures figures = recording.figures();
        if (figures.frames > 0) {
            progress.update("recording: " + figures.text());
        } else if (std::chrono::steady_clock::now() > deadline) {
            throw Failure(exitFailure, "no frame came within 5 seconds");
        }
    }
}

ExitCode record(RecordOptions& options) {
    options.target.resolve();
    const auto sink = options.makeSink();
    // Data on standard output leaves the error stream for what the user reads.
    Progress progress(options.y4mFile == "-" ? stderr : stdout);
    FrameWriter writer(*sink, framesThatMayWait);
    Recording recording(writer, options.seconds, options.framesPerSecond);
    listenForStop();

    // What was recorded before a failure is still written, and said.
    std::exception_ptr failure;
    try {
        capture(options, recording, writer, progress);
    } catch (...) {
        failure = std::current_exception();
    }
    writer.finish();
    const RecordingFigures figures = recording.figures();
    if (figures.frames > 0) {
        progress.finish("recorded " + figures.text());
        progress.finish("wrote " + sink->summary());
    }
    if (failure) std::rethrow_exception(failure);
    if (figures.frames == 0) throw Failure(exitFailure, "stopped before the first frame came");
    return exitSuccess;
}

}  // namespace

void addRecordCommand(CLI::App& app, Action& action) {
    auto* command = app.add_subcommand("record", "Record a screen or a part of it.");
    auto options = std::make_shared<RecordOptions>();
    options->target.addTo(*command);
    command->add_option("--fps", options->framesPerSecond, "frames a second")
        ->check(CLI::Range(5, 30))
        ->capture_default_str();
    command->add_option("--seconds", options->seconds, "how long; without it until Ctrl-C")->check(CLI::PositiveNumber);
    auto* output = command->add_option_group("output", "where the frames go");
    output->add_option("--png", options->pngFolder, "a folder for PNG files, one a frame")->type_name("DIR");
    output->add_option("--y4m", options->y4mFile, "a Y4M file; - is standard output")->type_name("FILE");
    output->require_option(1);
    command->callback([options, &action] { action = [options] { return record(*options); }; });
}

}  // namespace orvocap
