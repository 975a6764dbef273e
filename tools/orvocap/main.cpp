// orvocap: shows what Orvo Screen Capture can see and records it. Reads the options and runs the chosen command.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdio>
#include <string>
#include <vector>

#include "application.h"
#include "terminal.h"

namespace {

int run(int argc, char** argv) {
    CLI::App app;
    orvocap::Action action;
    orvocap::describe(app, action);
    try {
        std::vector<std::string> words(argv + std::min(argc, 1), argv + argc);
        if (!words.empty() && words.front() == "help") {
            words.erase(words.begin());
            words.emplace_back("--help");
        }
        std::reverse(words.begin(), words.end());  // as parse takes them
        app.parse(words);
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
