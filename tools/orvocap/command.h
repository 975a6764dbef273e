// What every command of orvocap has: a way to add itself to the options, an exit code, failures that end it.
#pragma once

#include <CLI/CLI.hpp>
#include <functional>
#include <stdexcept>
#include <string>

namespace orvocap {

enum ExitCode {
    exitSuccess = 0,
    exitFailure = 1,   // capture or writing failed
    exitUsage = 2,     // the options make no sense
    exitNoTarget = 3,  // no display, or not the screen that was asked for
};

// Ends the command with a message that says what is wrong and what to do.
class Failure : public std::runtime_error {
  public:
    Failure(ExitCode code, const std::string& message) : std::runtime_error(message), code_(code) {}
    [[nodiscard]] ExitCode code() const { return code_; }

  private:
    ExitCode code_;
};

// Set by the command that was chosen; runs after all options are read.
using Action = std::function<ExitCode()>;

// One function per command, each in a file of its own; main.cpp holds the table.
void addScreensCommand(CLI::App& app, Action& action);
void addRecordCommand(CLI::App& app, Action& action);

}  // namespace orvocap
