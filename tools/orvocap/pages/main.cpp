// Prints one of orvocap's pages; the build writes what is installed with it.
#include <CLI/CLI.hpp>
#include <cstdio>
#include <cstring>

#include "pages.h"
#include "tools/orvocap/application.h"

int main(int argc, char** argv) {
    static constexpr struct {
        const char* name;
        std::string (*make)(const std::vector<orvocap::CommandEntry>&);
    } pages[] = {{"man", orvocap::manPage},
                 {"bash", orvocap::bashCompletion},
                 {"zsh", orvocap::zshCompletion},
                 {"fish", orvocap::fishCompletion}};
    CLI::App app;
    orvocap::Action action;
    orvocap::describe(app, action);
    for (const auto& page : pages) {
        if (argc != 2 || std::strcmp(argv[1], page.name) != 0) continue;
        return std::fputs(page.make(orvocap::optionTable(app)).c_str(), stdout) < 0 || std::fflush(stdout) != 0;
    }
    std::fprintf(stderr, "usage: orvocap_pages man|bash|zsh|fish\n");
    return 2;
}
