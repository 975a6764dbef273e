// The whole of orvocap's options: the table of its commands.
#include "application.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdio>

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

std::vector<std::string> commandNames(const CLI::App& app) {
    std::vector<std::string> names;
    for (const CLI::App* command : app.get_subcommands({})) names.push_back(command->get_name());
    return names;
}

std::string knownCommands(const CLI::App& app) {
    std::string known;
    for (const auto& name : commandNames(app)) known += (known.empty() ? "" : ", ") + name;
    return known;
}

// How many letters have to be added, removed, changed or swapped with their neighbour to make one word of another.
size_t distance(const std::string& a, const std::string& b) {
    std::vector<std::vector<size_t>> steps(a.size() + 1, std::vector<size_t>(b.size() + 1));
    for (size_t i = 0; i <= a.size(); ++i) {
        for (size_t j = 0; j <= b.size(); ++j) {
            if (i == 0 || j == 0) {
                steps[i][j] = i + j;
                continue;
            }
            steps[i][j] =
                std::min({steps[i - 1][j] + 1, steps[i][j - 1] + 1, steps[i - 1][j - 1] + (a[i - 1] != b[j - 1])});
            if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1])
                steps[i][j] = std::min(steps[i][j], steps[i - 2][j - 2] + 1);
        }
    }
    return steps[a.size()][b.size()];
}

// "; did you mean X?" when one of the words is near enough to be a slip of the fingers.
std::string didYouMean(const std::string& word, const std::vector<std::string>& words) {
    const auto nearer = [&](const auto& a, const auto& b) { return distance(word, a) < distance(word, b); };
    const auto best = std::min_element(words.begin(), words.end(), nearer);
    if (best == words.end() || distance(word, *best) > std::max<size_t>(1, word.size() / 3)) return {};
    return "; did you mean " + *best + "?";
}

std::vector<std::string> optionNames(const CLI::App& command) {
    std::vector<std::string> names;
    for (const auto& option : commandEntry(command).options) {
        for (const auto& name : option.names) {
            if (name.substr(0, 2) == "--") names.push_back(name);
        }
    }
    return names;
}

// What is wrong, and where help is.
std::string mistake(const CLI::App* app, const CLI::Error& error) {
    const auto chosen = app->get_subcommands();
    const auto rest = app->remaining();
    const std::string command = chosen.empty() ? "" : " " + chosen.front()->get_name();
    std::string text = error.what();
    if (chosen.empty() && !rest.empty() && rest.front()[0] != '-')
        text = "there is no command " + rest.front() + "; there is: " + knownCommands(*app) +
               didYouMean(rest.front(), commandNames(*app));
    // Words that no option takes are found by the command that they follow.
    const auto left = chosen.empty() ? rest : chosen.front()->remaining();
    if (!left.empty() && left.front()[0] == '-')
        text = "there is no option " + left.front() +
               didYouMean(left.front().substr(0, left.front().find('=')),
                          optionNames(chosen.empty() ? *app : *chosen.front()));
    if (!chosen.empty() && !left.empty() && left.front()[0] != '-')
        text = left.front() + " is not expected here" +
               (chosen.front()->get_option_no_throw("-o") ? "; a file to write follows -o" : "");
    return "orvocap" + command + ": " + text + "\nTry `orvocap" + command + " --help`.\n";
}

}  // namespace

void describe(CLI::App& app, Action& action) {
    app.description("Shows what can be captured on this machine, takes pictures of it and records it.");
    app.set_help_flag("-h,--help", "print this help");
    app.set_version_flag("-V,--version", std::string("orvocap ") + version(), "print the version");
    app.add_flag_callback(
        "--licenses",
        [] {
            std::fputs(licenses, stdout);
            throw CLI::Success();
        },
        "print the terms of this program and of what it uses");
    app.formatter_fn(help);
    app.failure_message(mistake);
    app.footer(
        "  orvocap doctor                                        what works here, and what to do\n"
        "  orvocap windows                                       what can be captured, with its numbers\n"
        "  orvocap shot -o screen.png                            one picture of the main screen\n"
        "  orvocap record                                        a video of it, until Ctrl-C\n"
        "  orvocap record --window firefox -t 10 -o video.mp4    ten seconds of a window\n");
    for (const auto add : addCommands) add(app, action);
}

}  // namespace orvocap
