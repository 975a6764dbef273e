// orvocap record: frames of a screen, a part of it or windows, into PNG files, films or a pipe.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <exception>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <vector>

#include "application.h"
#include "capture.h"
#include "options.h"
#include "process.h"
#include "recording.h"
#include "system.h"
#include "targets.h"
#include "terminal.h"

namespace orvocap {

namespace {

constexpr auto firstFrameWithin = std::chrono::seconds(5);

using Outputs = std::vector<std::unique_ptr<Output>>;

struct RecordOptions {
    TargetOptions target;
    OutputOptions output;
    bool asJson = false;

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

// Whether somebody who reads a pipe has ended.
bool closed(const Outputs& outputs) {
    return std::any_of(outputs.begin(), outputs.end(), [](const auto& output) { return output->sink->isClosed(); });
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

void showProgress(const Outputs& outputs, double seconds, Progress& progress) {
    std::string text;
    double elapsed = 0;
    for (const auto& output : outputs) {
        const RecordingFigures figures = output->recording.figures();
        if (figures.frames == 0) continue;
        text += (text.empty() ? "" : "; ") + output->name() + figures.progressText(output->sink->bytes());
        elapsed = std::max(elapsed, figures.seconds());
    }
    if (!text.empty()) progress.update(seconds > 0 ? elapsed / seconds : -1, "recording: " + text);
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
    while (!complete(outputs) && !closed(outputs) && !stopRequested()) {
        runMainQueue(mainQueueSlice);
        capture.check();
        reception.check();
        for (const auto& output : outputs) output->writer.check();
        showProgress(outputs, options.output.seconds, progress);
        if (std::chrono::steady_clock::now() > deadline) requireFrames(outputs, options.target);
    }
}

void printSummary(const Outputs& outputs, std::FILE* stream) {
    for (const auto& output : outputs) {
        const RecordingFigures figures = output->recording.figures();
        if (figures.frames == 0) continue;
        std::fprintf(stream, "%srecorded %s\nwrote %s\n", output->name().c_str(), figures.text().c_str(),
                     output->sink->summary().c_str());
    }
    if (closed(outputs)) std::fprintf(stream, "stopped because the program that reads has ended\n");
}

void printSummaryAsJson(const Outputs& outputs, const std::string& error, std::FILE* stream) {
    auto targets = Json::array();
    for (const auto& output : outputs) {
        const RecordingFigures figures = output->recording.figures();
        Json target;
        if (output->target) target["target"] = output->target;
        target.update({{"width", figures.width},
                       {"height", figures.height},
                       {"frames", figures.frames},
                       {"seconds", figures.seconds()},
                       {"framesPerSecond", figures.rate()},
                       {"dropped", figures.dropped},
                       {"longestGapMilliseconds", figures.longestGap},
                       {"bytes", output->sink->bytes()},
                       {"output", output->sink->summary()}});
        targets.push_back(std::move(target));
    }
    Json summary = {{"targets", targets}, {"readerEnded", closed(outputs)}};
    if (!error.empty()) summary["error"] = error;
    printJson(summary, stream);
}

// Writes what still waits. Throws what kept it from being written.
void finish(const Outputs& outputs) {
    std::exception_ptr failure;
    unsigned int frames = 0;
    for (const auto& output : outputs) {
        frames += output->recording.figures().frames;
        try {
            output->writer.finish();
        } catch (...) {
            failure = std::current_exception();
        }
    }
    if (failure) std::rethrow_exception(failure);
    if (frames == 0) throw Failure(exitFailure, "stopped before the first frame came");
}

// What a step throws, as a failure that is kept for the end; the first one counts.
template <typename Step>
void keepFailure(std::optional<Failure>& failure, const Step& step) {
    try {
        step();
    } catch (const Failure& thrown) {
        if (!failure) failure = thrown;
    } catch (const std::exception& thrown) {
        if (!failure) failure = Failure(exitFailure, thrown.what());
    }
}

ExitCode record(RecordOptions& options) {
    options.target.resolve();
    const auto outputs = options.makeOutputs();
    const QuietConsole quiet;
    Progress progress(quiet.console());
    listenForStop();

    // What was recorded before a failure is still written, and said.
    std::optional<Failure> failure;
    keepFailure(failure, [&] { capture(options, outputs, progress); });
    keepFailure(failure, [&] { finish(outputs); });
    progress.finish();
    // Data on standard output leaves the error stream for what is told.
    std::FILE* const stream = options.output.onStandardOutput() ? quiet.console() : stdout;
    if (options.asJson)
        printSummaryAsJson(outputs, failure ? failure->what() : "", stream);
    else
        printSummary(outputs, stream);
    if (failure) throw Failure(*failure);
    return exitSuccess;
}

}  // namespace

void addRecordCommand(CLI::App& app, Action& action) {
    auto* command = app.add_subcommand("record", "Record a screen, a part of it, or windows.");
    auto options = std::make_shared<RecordOptions>();
    options->target.addTo(*command);
    command->add_option("--fps", options->output.framesPerSecond, "frames a second, 5 to 30")
        ->check(CLI::Range(5, 30))
        ->type_name("N")
        ->capture_default_str();
    addSeconds(*command, options->output.seconds, "how long; without it until Ctrl-C");
    command->add_flag("--json", options->asJson,
                      "print the summary as JSON; on standard error when the frames are on standard output");
    auto* output = command->add_option_group("output", "where the frames go; each of several windows has its own");
    output->add_option("--png", options->output.pngFolder, "a folder for PNG files, one a frame")->type_name("DIR");
    output->add_option("--y4m", options->output.y4mFile, "a Y4M film; - is standard output")->type_name("FILE");
    output
        ->add_option("--raw", options->output.rawFile,
                     "the pixels alone: 32-bit BGRA, row after row, picture after picture; - is standard output")
        ->type_name("FILE");
    output->require_option(1);
    command->footer(
        "  orvocap record --screen main --seconds 2 --png pictures\n"
        "  orvocap record --screen main --rect 40,40,640,400 --cursor --fps 30 --y4m film.y4m\n"
        "  orvocap record --window 8388620 --size 640x480 --fit letterbox --png pictures\n"
        "  orvocap record --screen main --fps 30 --y4m - | ffmpeg -i - film.mp4\n"
        "  orvocap record --screen main --fps 30 --raw - |\n"
        "      ffmpeg -f rawvideo -pixel_format bgra -video_size 1280x800 -framerate 30 -i - film.mp4\n");
    command->callback([options, &action] { action = [options] { return record(*options); }; });
}

}  // namespace orvocap
