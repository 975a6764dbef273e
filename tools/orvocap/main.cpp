// orvocap: shows what Orvo Screen Capture can see and records it. Reads the options and runs the chosen command.
#include <CLI/CLI.hpp>
#include <cstdio>

#include "application.h"
#include "terminal.h"

namespace {

int run(int argc, char** argv) {
    CLI::App app;
    orvocap::Action action;
    orvocap::describe(app, action);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? orvocap::exitSuccess : orvocap::exitUsage;
    }
    if (!action) {
        std::fputs(app.help().c_str(), stderr);
        return orvocap::exitUsage;
    }
    return action();
}

}  // namespace

int main(int argc, char** argv) {
    try {
        orvocap::keepStandardStreams();
        const int code = run(argc, argv);
        orvocap::flushOutput();
        return code;
    } catch (const orvocap::Failure& failure) {
        std::fprintf(stderr, "orvocap: %s\n", failure.what());
        return failure.code();
    } catch (const std::exception& error) {
        std::fprintf(stderr, "orvocap: %s\n", error.what());
        return orvocap::exitFailure;
    }
}
