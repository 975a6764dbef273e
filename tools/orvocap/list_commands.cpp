// orvocap screens and orvocap windows: what can be captured, as text or as JSON, with icons and pictures as files.
#include <CLI/CLI.hpp>
#include <cstdio>
#include <nlohmann/json.hpp>

#include "application.h"
#include "lists.h"
#include "options.h"
#include "output_stream.h"
#include "png_files.h"
#include "terminal.h"

namespace orvocap {

namespace {

ExitCode printScreens(bool asJson) {
    const auto screens = describeScreens();
    if (asJson) {
        auto list = Json::array();
        for (const auto& screen : screens) {
            list.push_back(
                {{"id", screen.number},
                 {"primary", screen.isMain},
                 {"name", screen.name},
                 {"bounds",
                  {{"x", screen.left}, {"y", screen.top}, {"width", screen.width}, {"height", screen.height}}},
                 {"scale", screen.scale}});
        }
        printJson(list);
        return exitSuccess;
    }
    for (const auto& screen : screens) {
        std::printf("screen %-10u %5dx%-5d at %5d,%-5d scale %g  %s%s\n", screen.number, screen.width, screen.height,
                    screen.left, screen.top, screen.scale, printable(screen.name).c_str(),
                    screen.isMain ? " (main)" : "");
    }
    return exitSuccess;
}

}  // namespace

void addScreensCommand(CLI::App& app, Action& action) {
    auto* command = app.add_subcommand("screens", "List the screens that can be captured.");
    auto asJson = std::make_shared<bool>(false);
    command->add_flag("--json", *asJson, "print JSON");
    command->footer("  orvocap screens\n  orvocap screens --json\n");
    command->callback([asJson, &action] { action = [asJson] { return printScreens(*asJson); }; });
}

namespace {

struct WindowsOptions {
    bool asJson = false;
    std::string iconFolder;
    std::string pictureFolder;
    bool force = false;
};

void printItems(const std::vector<ListedItem>& items) {
    auto list = Json::array();
    for (const auto& item : items) {
        Json entry = {
            {"id", item.number},
            {"kind", item.isScreen ? "screen" : "window"},
            {"title", item.title},
            {"bounds", {{"x", item.left}, {"y", item.top}, {"width", item.width}, {"height", item.height}}},
            {"icon", item.icon.has_value()},
        };
        if (!item.isScreen) {
            entry["owner"] = item.owner;
            entry["pid"] = item.processID;
            entry["class"] = item.classes;
        }
        list.push_back(std::move(entry));
    }
    printJson(list);
}

void printText(const std::vector<ListedItem>& items) {
    for (const auto& item : items) {
        std::printf("%-6s %-10u %5dx%-5d at %5d,%-5d %s", item.isScreen ? "screen" : "window", item.number, item.width,
                    item.height, item.left, item.top, printable(item.title).c_str());
        if (!item.isScreen) std::printf("  [%s, process %d]", printable(item.owner).c_str(), item.processID);
        std::printf("\n");
    }
}

// The pictures of one folder, with their files' names.
struct PictureFiles {
    std::vector<std::pair<std::string, const Frame*>> files;

    PictureFiles(const std::vector<ListedItem>& items, const std::string& folder, const char* prefix,
                 std::optional<Frame> ListedItem::*which) {
        if (folder.empty()) return;
        makeFolder(folder);
        for (const auto& item : items) {
            const std::string kind = item.isScreen ? "-screen-" : "-window-";
            if (item.*which)
                files.emplace_back(folder + "/" + prefix + kind + std::to_string(item.number) + ".png",
                                   &*(item.*which));
        }
    }
    void check(bool force) const {
        for (const auto& [name, frame] : files) allowOverwriting(name, force);
    }
    void write() const {
        for (const auto& [name, frame] : files) writePng(name, *frame);
    }
};

ExitCode listWindows(const WindowsOptions& options) {
    auto items = listItems(!options.pictureFolder.empty());
    const PictureFiles icons(items, options.iconFolder, "icon", &ListedItem::icon);
    const PictureFiles pictures(items, options.pictureFolder, "picture", &ListedItem::picture);
    icons.check(options.force);
    pictures.check(options.force);
    icons.write();
    pictures.write();
    if (options.asJson) addClasses(items);
    if (options.asJson) {
        printItems(items);
    } else {
        printText(items);
    }
    return exitSuccess;
}

}  // namespace

void addWindowsCommand(CLI::App& app, Action& action) {
    auto* command = app.add_subcommand("windows", "List the screens and windows that can be captured, front to back.");
    auto options = std::make_shared<WindowsOptions>();
    command->add_flag("--json", options->asJson, "print JSON");
    command->add_option("--icons", options->iconFolder, "write each application's icon as a PNG file")
        ->type_name("DIR");
    command->add_option("--pictures", options->pictureFolder, "write each picture as a PNG file")->type_name("DIR");
    addForce(*command, options->force);
    command->footer("  orvocap windows\n  orvocap windows --json --pictures pictures --icons icons\n");
    command->callback([options, &action] { action = [options] { return listWindows(*options); }; });
}

}  // namespace orvocap
