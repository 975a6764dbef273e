// The whole of orvocap's options: the table of its commands.
#include "application.h"

#include <CLI/CLI.hpp>

#include "options.h"

namespace orvocap {

namespace {

constexpr void (*addCommands[])(CLI::App&, Action&) = {
    addScreensCommand, addWindowsCommand, addPickerCommand, addShotCommand,  addRecordCommand,
    addWatchCommand,   addLogCommand,     addDoctorCommand, addBenchCommand,
};

std::string help(const CLI::App* app, const std::string&, CLI::AppFormatMode) {
    return app->get_parent() ? commandHelp(commandEntry(*app)) : generalHelp(optionTable(*app));
}

std::string knownCommands(const CLI::App& app) {
    std::string known;
    for (const CLI::App* command : app.get_subcommands({})) known += (known.empty() ? "" : ", ") + command->get_name();
    return known;
}

// What is wrong, and where help is.
std::string mistake(const CLI::App* app, const CLI::Error& error) {
    const auto chosen = app->get_subcommands();
    const auto rest = app->remaining();
    const std::string command = chosen.empty() ? "" : " " + chosen.front()->get_name();
    std::string text = error.what();
    if (chosen.empty() && !rest.empty() && rest.front()[0] != '-')
        text = "there is no command " + rest.front() + "; there is: " + knownCommands(*app);
    return "orvocap" + command + ": " + text + "\nTry `orvocap" + command + " --help`.\n";
}

}  // namespace

void describe(CLI::App& app, Action& action) {
    app.description("Shows what can be captured on this machine, takes pictures of it and records it.");
    app.set_help_flag("-h,--help", "print this help");
    app.set_version_flag("--version", "orvocap " ORVOCAP_VERSION, "print the version");
    app.formatter_fn(help);
    app.failure_message(mistake);
    app.footer(
        "  orvocap doctor                                        what works here, and what to do\n"
        "  orvocap windows                                       what can be captured, with its numbers\n"
        "  orvocap shot --screen main --out screen.png           one picture\n"
        "  orvocap record --screen main --seconds 5 --y4m a.y4m  a film of five seconds\n");
    for (const auto add : addCommands) add(app, action);
}

}  // namespace orvocap
