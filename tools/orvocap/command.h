// The commands of orvocap: each adds itself to the options, and leaves an action when it is chosen.
#pragma once

#include <functional>

#include "failure.h"

namespace CLI {
class App;
}  // namespace CLI

namespace orvocap {

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

}  // namespace orvocap
