// orvocap: shows what Orvo Screen Capture can see and records it. Reads the options and runs the chosen command.
#include <cstdio>

#include "command.h"

namespace {

constexpr void (*addCommands[])(CLI::App&, orvocap::Action&) = {
    orvocap::addScreensCommand, orvocap::addWindowsCommand, orvocap::addPickerCommand,
    orvocap::addRecordCommand,  orvocap::addWatchCommand,   orvocap::addLogCommand,
};

int run(int argc, char** argv) {
    CLI::App app{"Lists what can be captured and records it."};
    app.set_version_flag("--version", "orvocap " ORVOCAP_VERSION);
    app.require_subcommand(1);
    app.footer(
        "Exit codes: 0 done, 1 capture or writing failed, 2 wrong options, 3 no such display, screen or window.");
    orvocap::Action action;
    for (const auto add : addCommands) add(app, action);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? orvocap::exitSuccess : orvocap::exitUsage;
    }
    return action();
}

}  // namespace

int main(int argc, char** argv) {
    try {
        return run(argc, argv);
    } catch (const orvocap::Failure& failure) {
        std::fprintf(stderr, "orvocap: %s\n", failure.what());
        return failure.code();
    } catch (const std::exception& error) {
        std::fprintf(stderr, "orvocap: %s\n", error.what());
        return orvocap::exitFailure;
    }
}
