// orvocap record: frames of a screen, a part of it or windows, into a video, PNG files or a pipe.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <exception>
#include <map>
#include <memory>
#include <mutex>
#include <nlohmann/json.hpp>
#include <optional>
#include <set>
#include <vector>

#include "application.h"
#include "capture.h"
#include "options.h"
#include "orvo/screencapture_additions.h"
#include "process.h"
#include "recording.h"
#include "system.h"
#include "targets.h"
#include "terminal.h"

namespace orvocap {

namespace {

using Clock = std::chrono::steady_clock;

constexpr auto firstFrameWithin = std::chrono::seconds(5);
constexpr auto holdEvery = std::chrono::seconds(1);
constexpr auto explanationWithin = std::chrono::seconds(2);

using Outputs = std::vector<std::unique_ptr<Output>>;

struct RecordOptions {
    TargetOptions target;
    OutputOptions output;
    Verbosity verbosity;
    double delay = 0;
    bool asJson = false;

    [[nodiscard]] Outputs makeOutputs() const {
        const auto targets = target.targets();
        Outputs outputs;
        for (const unsigned int number : targets)
            outputs.push_back(std::make_unique<Output>(output, number, targets.size() == 1));
        return outputs;
    }

    [[nodiscard]] Progress::Level progressLevel() const {
        if (verbosity.isQuiet) return Progress::Level::quiet;
        return verbosity.isVerbose ? Progress::Level::verbose : Progress::Level::usual;
    }
};

// Which parts of each frame have changed, as lines for the program that reads. They are printed by the main thread,
// since a callback must not wait for that program.
class ChangedRects {
  public:
    explicit ChangedRects(std::FILE* stream) : stream_(stream) {}

    // Inside a frame callback.
    void take(const FrameView& frame, bool isRecorded) {
        Line line{frame.target, frame.time, isRecorded, 0, {}};
        line.count = orvo_screencapture_get_changed_rects(line.rects.data(), static_cast<int>(line.rects.size()));
        const std::lock_guard lock(mutex_);
        lines_.push_back(line);
    }

    void print() {
        std::vector<Line> lines;
        {
            const std::lock_guard lock(mutex_);
            lines = std::exchange(lines_, {});
        }
        for (const Line& line : lines) std::fputs(text(line).c_str(), stream_);
        std::fflush(stream_);
    }

  private:
    struct Line {
        unsigned int target = 0;
        unsigned long long time = 0;
        bool isRecorded = false;
        int count = 0;  // below 0: any part may have changed
        std::array<OrvoScreenCaptureRect, 16> rects;
    };

    static std::string text(const Line& line) {
        Json changed;
        if (line.count >= 0) changed = Json::array();
        for (int i = 0; i < line.count; ++i) {
            const OrvoScreenCaptureRect& rect = line.rects[static_cast<size_t>(i)];
            changed.push_back({{"x", rect.left},
                               {"y", rect.top},
                               {"width", rect.right - rect.left},
                               {"height", rect.bottom - rect.top}});
        }
        Json json = {{"milliseconds", line.time}, {"recorded", line.isRecorded}, {"changed", std::move(changed)}};
        if (line.target) json["target"] = line.target;
        return jsonLine(json);
    }

    std::FILE* const stream_;
    std::mutex mutex_;
    std::vector<Line> lines_;
};

// Frames as they come, sorted by their target.
class Reception {
  public:
    Reception(const TargetOptions& target, const Outputs& outputs, ChangedRects* changes)
        : target_(target), outputs_(outputs), changes_(changes) {}

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
            if (output->target != frame.target) continue;
            const bool isRecorded = output->recording.take(frame);
            if (changes_) changes_->take(frame, isRecorded);
        }
    }

    // Throws when a frame was not of the target.
    void check() const {
        if (mismatched_) throw Failure(exitUsage, target_.mismatch(width_, height_));
    }

  private:
    const TargetOptions& target_;
    const Outputs& outputs_;
    ChangedRects* const changes_;
    std::atomic<bool> mismatched_ = false;
    int width_ = 0;  // of a frame that is not of the target; read once mismatched is set
    int height_ = 0;
};

// What becomes of the windows that are recorded. A minimised or hidden one gives no frames, and comes back; the library
// reports that nothing came for a while, which is the end only of a window that is closed. Used on the main queue.
class WindowStates {
  public:
    WindowStates(const Outputs& outputs, Progress& progress) : outputs_(outputs), progress_(progress) {}

    void listen() {
        orvo_screencapture_reg_captured_window_status_change_notify(
            [](int status, unsigned int window, OrvoScreenCaptureRect, void* self) {
                static_cast<WindowStates*>(self)->note(window, status);
            },
            this);
    }

    // Shows the last pictures on while their windows are away. Throws when the capture cannot go on.
    void check(Capture& capture) {
        if (Clock::now() >= nextHold_) {
            nextHold_ = Clock::now() + holdEvery;
            hold();
        }
        if (closed_.size() == outputs_.size())
            throw Failure(exitFailure, outputs_.size() == 1 ? "the window was closed" : "all windows were closed");
        if (capture.error() != ORVO_CAPTURE_ERROR_NO_CONTENT) return capture.check();
        // The report that nothing came may arrive before the one that says what has happened to the window.
        if (!unexplained_) unexplained_ = Clock::now();
        const bool isExplained = !away_.empty() || !closed_.empty();
        if (!isExplained && Clock::now() > *unexplained_ + explanationWithin) return capture.check();
        if (!isExplained) return;
        unexplained_.reset();
        capture.forgetError();
    }

    // What is away now is shown until now.
    void hold() {
        for (const auto& output : outputs_) {
            if (const auto found = away_.find(output->target); found != away_.end() && found->second)
                output->recording.hold();
        }
    }

    [[nodiscard]] bool anyAway() const { return !away_.empty(); }

  private:
    void note(unsigned int window, int status) {
        const bool isAway = status == ORVO_WINDOW_STATUS_MINIMIZED || status == ORVO_WINDOW_STATUS_HIDDEN;
        if (status == ORVO_WINDOW_STATUS_MISSING) {
            away_.erase(window);
            closed_.insert(window);
        } else if (isAway) {
            if (!std::exchange(away_[window], true))
                progress_.note("window " + std::to_string(window) + " is " +
                               (status == ORVO_WINDOW_STATUS_MINIMIZED ? "minimised" : "hidden") +
                               "; the recording goes on with its last picture");
        } else if (status == ORVO_WINDOW_STATUS_NORMAL || status == ORVO_WINDOW_STATUS_SHOWN) {
            if (const auto found = away_.find(window); found != away_.end()) found->second = false;
            closed_.erase(window);
        }
    }

    const Outputs& outputs_;
    Progress& progress_;
    std::map<unsigned int, bool> away_;  // windows that were away once, and whether they are now
    std::set<unsigned int> closed_;
    Clock::time_point nextHold_;
    std::optional<Clock::time_point> unexplained_;  // since when nothing comes for a reason that is not known
};

bool complete(const Outputs& outputs) {
    return std::all_of(outputs.begin(), outputs.end(), [](const auto& output) { return output->recording.complete(); });
}

// Whether the reader of a pipe has ended.
bool closed(const Outputs& outputs) {
    return std::any_of(outputs.begin(), outputs.end(), [](const auto& output) { return output->sink->isClosed(); });
}

// Throws when a target has given no frame.
void requireFrames(const Outputs& outputs, const TargetOptions& target, const WindowStates& states) {
    for (const auto& output : outputs) {
        if (output->recording.figures().frames > 0) continue;
        const std::string hint = states.anyAway() ? "the window is minimised or hidden" : target.noFrameHint();
        throw Failure(exitFailure,
                      output->name() + "no frame came within 5 seconds" + (hint.empty() ? "" : "; " + hint));
    }
}

void showProgress(const Outputs& outputs, double wanted, bool isPaused, Progress& progress) {
    std::string text;
    double elapsed = 0;
    for (const auto& output : outputs) {
        const RecordingFigures figures = output->recording.figures();
        if (figures.frames == 0) continue;
        text += (text.empty() ? "" : "; ") + output->name() + figures.progressText(wanted, output->sink->bytes());
        elapsed = std::max(elapsed, static_cast<double>(figures.lastTime - figures.firstTime) / 1000);
    }
    if (!text.empty())
        progress.update(wanted > 0 ? elapsed / wanted : -1, (isPaused ? "paused " : "") + text + " - Ctrl-C ends");
}

// Captures until the recording is complete or it is stopped; throws when it cannot go on. changes: null when nobody
// wants them.
void capture(const RecordOptions& options, const Outputs& outputs, Progress& progress, ChangedRects* changes) {
    Reception reception(options.target, outputs, changes);
    WindowStates states(outputs, progress);
    Capture capture(options.target.onWindowPath() ? Capture::Path::windows : Capture::Path::display,
                    [&](const FrameView& frame) { reception.take(frame); });
    if (options.target.ofWindows()) states.listen();
    options.target.choose();
    orvo_screencapture_set_fps(options.output.framesPerSecond);
    capture.start();
    const auto deadline = Clock::now() + firstFrameWithin;
    while (!complete(outputs) && !closed(outputs) && !stopRequested()) {
        runMainQueue(mainQueueSlice);
        const bool isPaused = isPauseToggled();
        for (const auto& output : outputs) output->recording.setPaused(isPaused);
        if (changes) changes->print();
        states.check(capture);
        reception.check();
        for (const auto& output : outputs) output->writer.check();
        showProgress(outputs, options.output.seconds, isPaused, progress);
        if (!isPaused && Clock::now() > deadline) requireFrames(outputs, options.target, states);
    }
    states.hold();
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
    std::fputs(jsonLine(summary).c_str(), stream);
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
    options.output.resolve();
    options.target.resolve();
    const auto outputs = options.makeOutputs();
    options.verbosity.showLog();
    Progress progress(stderr, options.progressLevel());
    listenForStop();
    listenForPause();
    // Data on standard output leaves the error stream for what is said.
    std::FILE* const stream = options.output.onStandardOutput() ? stderr : stdout;
    ChangedRects changes(stream);

    // What was recorded before a failure is still written, and said.
    std::optional<Failure> failure;
    if (options.delay > 0)
        waitBefore(options.delay, [&](int left) {
            progress.update(-1, "recording starts in " + std::to_string(left) + " s - Ctrl-C ends");
        });
    if (!stopRequested())
        keepFailure(failure, [&] { capture(options, outputs, progress, options.asJson ? &changes : nullptr); });
    keepFailure(failure, [&] { finish(outputs); });
    progress.finish();
    changes.print();
    if (options.asJson)
        printSummaryAsJson(outputs, failure ? failure->what() : "", stream);
    else if (!options.verbosity.isQuiet)
        printSummary(outputs, stream);
    if (failure) throw Failure(*failure);
    return exitSuccess;
}

}  // namespace

void addRecordCommand(CLI::App& app, Action& action) {
    auto* command = app.add_subcommand("record",
                                       "Record a screen, a part of it, or windows. Ctrl-C ends it; "
                                       "SIGUSR1 pauses it and lets it go on.");
    auto options = std::make_shared<RecordOptions>();
    options->target.addTo(*command, true);
    auto* output = command->add_option_group("output", "where the frames go; each of several windows has its own");
    output
        ->add_option("-o,--out", options->output.file,
                     "a video (.mkv, .mp4, .webm: these need ffmpeg or GStreamer; .y4m), PNG files (.png, or a folder "
                     "with / at its end), or - for Y4M on standard output; recording-DATE.mkv by default")
        ->type_name("FILE");
    output->add_option("--png", options->output.pngFolder, "a folder for PNG files, one a frame")->type_name("DIR");
    output->add_option("--y4m", options->output.y4mFile, "a Y4M video; - is standard output")->type_name("FILE");
    output
        ->add_option("--raw", options->output.rawFile,
                     "the pixels alone: 32-bit BGRA, row after row, picture after picture; - is standard output")
        ->type_name("FILE");
    output->require_option(0, 1);
    addForce(*command, options->output.force);
    addFrameRate(*command, options->output.framesPerSecond);
    addSeconds(*command, options->output.seconds, "how long, such as 10, 1:30 or 5m; until Ctrl-C by default");
    addDelay(*command, options->delay);
    command->add_flag("--json", options->asJson,
                      "print a JSON object a line: for each frame its time and what of it has changed, at last the "
                      "summary; on standard error when the frames are on standard output");
    options->verbosity.addTo(*command);
    command->footer(
        "  orvocap record                                        the main screen, until Ctrl-C\n"
        "  orvocap record --window firefox -t 10 -o firefox.mp4  a window by its title, 10 seconds\n"
        "  orvocap record --window pick -o video.webm            the window that you click\n"
        "  orvocap record --rect 0,0,50%,100% -d 3 -o left.mkv   the left half, after 3 seconds\n"
        "  orvocap record --window mail --size 640x480 --fit letterbox -o pictures/\n"
        "  orvocap record -r 30 -o - | mpv -\n"
        "  orvocap record -r 30 --raw - |\n"
        "      ffmpeg -f rawvideo -pixel_format bgra -video_size 1280x800 -framerate 30 -i - video.mp4\n");
    command->callback([options, &action] { action = [options] { return record(*options); }; });
}

}  // namespace orvocap
