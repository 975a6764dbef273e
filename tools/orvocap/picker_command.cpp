// orvocap picker: a page with everything that can be captured.
#include <CLI/CLI.hpp>
#include <cstdio>

#include "command.h"
#include "output_stream.h"
#include "picker_page.h"

namespace orvocap {

namespace {

ExitCode writePage(const std::string& path) {
    const auto items = listItems(true);
    const std::string page = pickerPage(items);
    writeFile(path, page.data(), page.size());
    if (path != "-") std::printf("wrote %zu cards to %s\n", items.size(), path.c_str());
    return exitSuccess;
}

}  // namespace

void addPickerCommand(CLI::App& app, Action& action) {
    auto* command = app.add_subcommand("picker", "Write a page with a card for every screen and window.");
    auto path = std::make_shared<std::string>();
    command->add_option("--out", *path, "the HTML file; - is standard output")->type_name("FILE")->required();
    command->footer("  orvocap picker --out picker.html\n");
    command->callback([path, &action] { action = [path] { return writePage(*path); }; });
}

}  // namespace orvocap
