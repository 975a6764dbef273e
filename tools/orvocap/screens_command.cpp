// orvocap screens: the screens that can be captured, as text or as JSON.
#include <CLI/CLI.hpp>
#include <cstdio>
#include <nlohmann/json.hpp>

#include "command.h"
#include "screen_list.h"
#include "standard_output.h"

namespace orvocap {

namespace {

ExitCode printScreens(bool asJson) {
    const auto screens = requireScreens();
    if (asJson) {
        auto list = Json::array();
        for (const auto& screen : screens)
            list.push_back({{"id", screen.screenID}, {"primary", screen.isPrimary != 0}});
        printJson(list);
    } else {
        for (const auto& screen : screens) {
            std::printf("screen %u%s\n", screen.screenID, screen.isPrimary ? " (main)" : "");
        }
    }
    return exitSuccess;
}

}  // namespace

void addScreensCommand(CLI::App& app, Action& action) {
    auto* command = app.add_subcommand("screens", "List the screens that can be captured.");
    auto asJson = std::make_shared<bool>(false);
    command->add_flag("--json", *asJson, "print JSON");
    command->callback([asJson, &action] { action = [asJson] { return printScreens(*asJson); }; });
}

}  // namespace orvocap
