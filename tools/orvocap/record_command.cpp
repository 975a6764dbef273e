// orvocap record: frames of a screen, a part of it or windows, into PNG files or Y4M files.
#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <exception>
#include <memory>
#include <vector>

#include "capture.h"
#include "command.h"
#include "main_queue.h"
#include "output.h"
#include "progress.h"
#include "quiet_console.h"
#include "stop_request.h"
#include "target_options.h"

namespace orvocap {

namespace {

constexpr auto firstFrameWithin = std::chrono::seconds(5);
constexpr int sliceMilliseconds = 20;

using Outputs = std::vector<std::unique_ptr<Output>>;

struct RecordOptions {
    TargetOptions target;
    OutputOptions output;

    [[nodiscard]] Outputs makeOutputs() const {
        const auto targets = target.targets();
        Outputs outputs;
        for (const unsigned int number : targets)
            outputs.push_back(std::make_unique<Output>(output, number, targets.size() == 1));
        return outputs;
    }
};

// Frames as they come, sorted by their target.
class Reception {
  public:
    Reception(const TargetOptions& target, const Outputs& outputs) : target_(target), outputs_(outputs) {}

    // On the library's threads, one at a time.
    void take(const FrameView& frame) {
        if (mismatched_) return;
        if (!target_.matches(frame.format.width, frame.format.height)) {
            width_ = frame.format.width;
            height_ = frame.format.height;
            mismatched_ = true;
            return;
        }
        for (const auto& output : outputs_) {
            if (output->target == frame.target) output->recording.take(frame);
        }
    }

    // Throws when a frame was not of the target.
    void check() const {
        if (mismatched_) throw Failure(exitUsage, target_.mismatch(width_, height_));
    }

  private:
    const TargetOptions& target_;
    const Outputs& outputs_;
    std::atomic<bool> mismatched_ = false;
    int width_ = 0;  // of a frame that is not of the target; read once mismatched is set
    int height_ = 0;
};

bool complete(const Outputs& outputs) {
    return std::all_of(outputs.begin(), outputs.end(), [](const auto& output) { return output->recording.complete(); });
}

// Throws when a target has given no frame.
void requireFrames(const Outputs& outputs, const TargetOptions& target) {
    for (const auto& output : outputs) {
        if (output->recording.figures().frames > 0) continue;
        const std::string hint = target.noFrameHint();
        throw Failure(exitFailure,
                      output->name() + "no frame came within 5 seconds" + (hint.empty() ? "" : "; " + hint));
    }
}

void showProgress(const Outputs& outputs, Progress& progress) {
    std::string text;
    for (const auto& output : outputs) {
        const RecordingFigures figures = output->recording.figures();
        if (figures.frames > 0) text += (text.empty() ? "" : "; ") + output->name() + figures.text();
    }
    if (!text.empty()) progress.update("recording: " + text);
}

// Captures until the recording is complete or somebody stops it; throws when it cannot go on.
void capture(const RecordOptions& options, const Outputs& outputs, Progress& progress) {
    Reception reception(options.target, outputs);
    Capture capture(options.target.onWindowPath() ? Capture::Path::windows : Capture::Path::display,
                    [&](const FrameView& frame) { reception.take(frame); });
    options.target.choose();
    orvo_screencapture_set_fps(options.output.framesPerSecond);
    capture.start();
    const auto deadline = std::chrono::steady_clock::now() + firstFrameWithin;
    while (!complete(outputs) && !stopRequested()) {
        runMainQueue(sliceMilliseconds);
        capture.check();
        reception.check();
        for (const auto& output : outputs) output->writer.check();
        showProgress(outputs, progress);
        if (std::chrono::steady_clock::now() > deadline) requireFrames(outputs, options.target);
    }
}

// Writes what still waits, and says what was written. Result: the number of frames.
unsigned int finish(const Outputs& outputs, Progress& progress) {
    unsigned int frames = 0;
    for (const auto& output : outputs) {
        output->writer.finish();
        const RecordingFigures figures = output->recording.figures();
        frames += figures.frames;
        if (figures.frames == 0) continue;
        progress.finish(output->name() + "recorded " + figures.text());
        progress.finish("wrote " + output->sink->summary());
    }
    return frames;
}

ExitCode record(RecordOptions& options) {
    options.target.resolve();
    const auto outputs = options.makeOutputs();
    const QuietConsole quiet;
    // Data on standard output leaves the error stream for what the user reads.
    Progress progress(options.output.onStandardOutput() ? quiet.console() : stdout);
    listenForStop();

    // What was recorded before a failure is still written, and said.
    std::exception_ptr failure;
    try {
        capture(options, outputs, progress);
    } catch (...) {
        failure = std::current_exception();
    }
    const unsigned int frames = finish(outputs, progress);
    if (failure) std::rethrow_exception(failure);
    if (frames == 0) throw Failure(exitFailure, "stopped before the first frame came");
    return exitSuccess;
}

}  // namespace

void addRecordCommand(CLI::App& app, Action& action) {
    auto* command = app.add_subcommand("record", "Record a screen, a part of it, or windows.");
    auto options = std::make_shared<RecordOptions>();
    options->target.addTo(*command);
    command->add_option("--fps", options->output.framesPerSecond, "frames a second, 5 to 30")
        ->check(CLI::Range(5, 30))
        ->capture_default_str();
    command->add_option("--seconds", options->output.seconds, "how long; without it until Ctrl-C")
        ->check(CLI::PositiveNumber);
    auto* output = command->add_option_group("output", "where the frames go; each of several windows has its own");
    output->add_option("--png", options->output.pngFolder, "a folder for PNG files, one a frame")->type_name("DIR");
    output->add_option("--y4m", options->output.y4mFile, "a Y4M file; - is standard output")->type_name("FILE");
    output->require_option(1);
    command->callback([options, &action] { action = [options] { return record(*options); }; });
}

}  // namespace orvocap
