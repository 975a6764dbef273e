// The whole of orvocap's options: the table of its commands.
#include "application.h"

namespace orvocap {

namespace {

constexpr void (*addCommands[])(CLI::App&, Action&) = {
    addScreensCommand, addWindowsCommand, addPickerCommand, addShotCommand,
    addRecordCommand,  addWatchCommand,   addLogCommand,    addDoctorCommand,
};

std::string exitCodes() {
    std::string text;
    for (const auto& meaning : exitMeanings)
        text += (text.empty() ? "Exit codes: " : ", ") + std::to_string(meaning.code) + " " + meaning.text;
    return text + ".";
}

}  // namespace

void describe(CLI::App& app, Action& action) {
    app.description("Lists what can be captured and records it.");
    app.set_version_flag("--version", "orvocap " ORVOCAP_VERSION);
    app.require_subcommand(1);
    app.footer(exitCodes());
    for (const auto add : addCommands) add(app, action);
}

}  // namespace orvocap
