// orvocap shot: one picture of a screen, a rectangle of it or a window, as a PNG file.
#include <CLI/CLI.hpp>
#include <cstdio>
#include <nlohmann/json.hpp>

#include "application.h"
#include "capture.h"
#include "options.h"
#include "output_stream.h"
#include "png_files.h"
#include "process.h"
#include "targets.h"
#include "terminal.h"

namespace orvocap {

namespace {

struct ShotOptions {
    TargetOptions target;
    std::string file;
    Verbosity verbosity;
    double delay = 0;
    bool force = false;
    bool asJson = false;

    // Throws a Failure unless it is a name for a PNG file that may be written.
    void checkFile() const {
        const std::string extension = extensionOf(file);
        if (extension != ".png" && !extension.empty())
            throw Failure(exitUsage, "a shot is a PNG picture, and " + file + " is not named as one; end it with .png");
        allowOverwriting(file, force);
    }
};

ExitCode shoot(ShotOptions& options) {
    if (options.file.empty()) options.file = defaultName("shot", ".png");
    options.checkFile();
    options.target.resolve();
    if (options.target.targets().size() > 1) throw Failure(exitUsage, "a shot is of one window; leave --extra out");
    listenForStop();
    options.verbosity.showLog();
    const auto frame = [&options]() -> std::optional<Frame> {
        Progress progress(stderr, options.verbosity.isQuiet ? Progress::Level::quiet : Progress::Level::usual);
        if (options.delay > 0)
            waitBefore(options.delay,
                       [&](int left) { progress.update(-1, "in " + std::to_string(left) + " s - Ctrl-C ends"); });
        progress.finish();
        if (stopRequested()) return std::nullopt;
        return takeStill(
            options.target.onWindowPath() ? Capture::Path::windows : Capture::Path::display,
            [&options] { options.target.choose(); }, [](const Frame&) { return true; });
    }();
    if (!frame && stopRequested()) throw Failure(exitFailure, "stopped before the picture came");
    if (!frame) {
        const std::string hint = options.target.noFrameHint();
        throw Failure(exitFailure, "no picture came" + (hint.empty() ? "; try `orvocap doctor`" : "; " + hint));
    }
    if (!options.target.matches(frame->width, frame->height))
        throw Failure(exitUsage, options.target.mismatch(frame->width, frame->height));
    const size_t bytes = writePng(options.file, *frame);
    std::FILE* const stream = options.file == "-" ? stderr : stdout;
    if (options.asJson)
        printJson({{"output", options.file}, {"width", frame->width}, {"height", frame->height}, {"bytes", bytes}},
                  stream);
    else if (options.file != "-" && !options.verbosity.isQuiet)
        std::printf("wrote %s, %dx%d\n", options.file.c_str(), frame->width, frame->height);
    return exitSuccess;
}

}  // namespace

void addShotCommand(CLI::App& app, Action& action) {
    auto* command = app.add_subcommand("shot", "Write one picture of a screen, a part of it, or a window.");
    auto options = std::make_shared<ShotOptions>();
    options->target.addTo(*command, false);
    command->add_option("-o,--out", options->file, "the PNG file; - is standard output; shot-DATE.png by default")
        ->type_name("FILE");
    addForce(*command, options->force);
    addDelay(*command, options->delay);
    command->add_flag("--json", options->asJson,
                      "print the result as JSON; on standard error when the picture is on standard output");
    options->verbosity.addTo(*command);
    command->footer(
        "  orvocap shot                                          the main screen\n"
        "  orvocap shot --window firefox -o firefox.png          a window by its title\n"
        "  orvocap shot --window pick -d 3                       the window that you click, 3 seconds later\n"
        "  orvocap shot --rect 40,40,640,400 -o part.png\n"
        "  orvocap shot -o - | display\n");
    command->callback([options, &action] { action = [options] { return shoot(*options); }; });
}

}  // namespace orvocap
