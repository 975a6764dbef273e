// orvocap shot: one picture of a screen, a rectangle of it or a window, as a PNG file.
#include <cstdio>

#include "command.h"
#include "png_file.h"
#include "quiet_console.h"
#include "still.h"
#include "stop_request.h"
#include "target_options.h"

namespace orvocap {

namespace {

struct ShotOptions {
    TargetOptions target;
    std::string file;
};

void writeToStandardOutput(const Frame& frame) {
    const auto bytes = encodePng(frame);
    if (std::fwrite(bytes.data(), 1, bytes.size(), stdout) != bytes.size() || std::fflush(stdout) != 0)
        throw Failure(exitFailure, "cannot write the picture to standard output");
}

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
    if (options.file == "-") {
        writeToStandardOutput(*frame);
    } else {
        writePng(options.file, *frame);
        std::printf("wrote %s, %dx%d\n", options.file.c_str(), frame->width, frame->height);
    }
    return exitSuccess;
}

}  // namespace

void addShotCommand(CLI::App& app, Action& action) {
    auto* command = app.add_subcommand("shot", "Write one picture of a screen, a part of it, or a window.");
    auto options = std::make_shared<ShotOptions>();
    options->target.addTo(*command);
    command->add_option("--out", options->file, "the PNG file; - is standard output")->type_name("FILE")->required();
    command->callback([options, &action] { action = [options] { return shoot(*options); }; });
}

}  // namespace orvocap
