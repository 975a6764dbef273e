// orvocap shot: one picture of a screen, a rectangle of it or a window, as a PNG file.
#include <CLI/CLI.hpp>
#include <cstdio>
#include <nlohmann/json.hpp>

#include "application.h"
#include "capture.h"
#include "png_files.h"
#include "process.h"
#include "targets.h"
#include "terminal.h"

namespace orvocap {

namespace {

struct ShotOptions {
    TargetOptions target;
    std::string file;
    bool asJson = false;
};

ExitCode shoot(ShotOptions& options) {
    options.target.resolve();
    if (options.target.targets().size() > 1) throw Failure(exitUsage, "a shot is of one window; leave --extra out");
    listenForStop();
    const auto frame = [&options] {
        const QuietConsole quiet;
        return takeStill(
            options.target.onWindowPath() ? Capture::Path::windows : Capture::Path::display,
            [&options] { options.target.choose(); }, [](const Frame&) { return true; });
    }();
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
    else if (options.file != "-")
        std::printf("wrote %s, %dx%d\n", options.file.c_str(), frame->width, frame->height);
    return exitSuccess;
}

}  // namespace

void addShotCommand(CLI::App& app, Action& action) {
    auto* command = app.add_subcommand("shot", "Write one picture of a screen, a part of it, or a window.");
    auto options = std::make_shared<ShotOptions>();
    options->target.addTo(*command);
    command->add_option("--out", options->file, "the PNG file; - is standard output")->type_name("FILE")->required();
    command->add_flag("--json", options->asJson,
                      "print the result as JSON; on standard error when the picture is on standard output");
    command->footer(
        "  orvocap shot --screen main --out screen.png\n"
        "  orvocap shot --screen main --rect 40,40,640,400 --out part.png\n"
        "  orvocap shot --window 8388620 --out - | display\n");
    command->callback([options, &action] { action = [options] { return shoot(*options); }; });
}

}  // namespace orvocap
