// orvocap's commands, their exit codes, and the failures that end them.
#pragma once

#include <functional>
#include <stdexcept>
#include <string>

namespace CLI {
class App;
}  // namespace CLI

namespace orvocap {

enum ExitCode {
    exitSuccess = 0,
    exitFailure = 1,   // capture or writing failed
    exitUsage = 2,     // the options make no sense
    exitNoTarget = 3,  // no display, or not the screen or window that was asked for
};

// What the user reads of them.
struct ExitMeaning {
    ExitCode code;
    const char* text;
};
constexpr ExitMeaning exitMeanings[] = {
    {exitSuccess, "done"},
    {exitFailure, "capture or writing failed"},
    {exitUsage, "wrong options"},
    {exitNoTarget, "no such display, screen or window"},
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
void addWindowsCommand(CLI::App& app, Action& action);
void addPickerCommand(CLI::App& app, Action& action);
void addShotCommand(CLI::App& app, Action& action);
void addRecordCommand(CLI::App& app, Action& action);
void addWatchCommand(CLI::App& app, Action& action);
void addLogCommand(CLI::App& app, Action& action);
void addBenchCommand(CLI::App& app, Action& action);
void addDoctorCommand(CLI::App& app, Action& action);

// The terms of orvocap and of what is inside it, as text.
extern const char* const licenses;

// The version, with the commit of a development build.
const char* version();

// Adds every command to the options. action: set by the command that is chosen; outlives app.
void describe(CLI::App& app, Action& action);

}  // namespace orvocap
