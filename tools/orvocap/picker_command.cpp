// orvocap picker: a page with everything that can be captured.
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fstream>

#include "command.h"
#include "picker_page.h"

namespace orvocap {

namespace {

ExitCode writePage(const std::string& path) {
    const auto items = listItems(true);
    errno = 0;
    std::ofstream file(path, std::ios::binary);
    file << pickerPage(items);
    file.close();
    if (!file) {
        throw Failure(exitFailure, "cannot write " + path + (errno ? std::string(": ") + std::strerror(errno) : ""));
    }
    std::printf("wrote %zu cards to %s\n", items.size(), path.c_str());
    return exitSuccess;
}

}  // namespace

void addPickerCommand(CLI::App& app, Action& action) {
    auto* command = app.add_subcommand("picker", "Write a page with a card for every screen and window.");
    auto path = std::make_shared<std::string>();
    command->add_option("--out", *path, "the HTML file")->type_name("FILE")->required();
    command->callback([path, &action] { action = [path] { return writePage(*path); }; });
}

}  // namespace orvocap
