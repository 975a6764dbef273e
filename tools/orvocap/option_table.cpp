// The table that help, manual page and completions are made from.
#include "option_table.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cctype>
#include <sstream>

namespace orvocap {

namespace {

OptionEntry entry(const CLI::Option& option) {
    OptionEntry result;
    result.isPositional = !option.nonpositional();
    if (result.isPositional) result.names.push_back(option.get_name(true));
    for (const auto& name : option.get_snames()) result.names.push_back("-" + name);
    for (const auto& name : option.get_lnames()) result.names.push_back("--" + name);
    if (result.isPositional)
        result.value = option.get_name(true);
    else if (option.get_expected_max() > 0)
        result.value = option.get_type_name().substr(0, option.get_type_name().find(':'));  // a check comes after it
    result.text = option.get_description();
    if (!option.get_default_str().empty()) result.text += " (" + option.get_default_str() + " unless given)";
    result.isRequired = option.get_required();
    result.mayRepeat = option.get_expected_max() > 1;
    return result;
}

// What to capture and where to put it stands in groups, and comes first; the help option, which each group repeats,
// comes last.
void addOptions(const CLI::App& app, std::vector<OptionEntry>& options) {
    for (const CLI::App* group : app.get_subcommands({})) {
        if (group->get_name().empty()) addOptions(*group, options);
    }
    for (const CLI::Option* option : app.get_options()) {
        if (option != app.get_help_ptr()) options.push_back(entry(*option));
    }
    const bool isGroup = app.get_name().empty() && app.get_parent();
    if (!isGroup) options.push_back(entry(*app.get_help_ptr()));
}

}  // namespace

std::vector<std::string> OptionEntry::choices() const {
    std::vector<std::string> words;
    if (value.find('|') == std::string::npos) return words;
    std::istringstream parts(value);
    for (std::string word; std::getline(parts, word, '|');) {
        if (std::none_of(word.begin(), word.end(), [](unsigned char c) { return std::isupper(c); }))
            words.push_back(word);
    }
    return words;
}

CommandEntry commandEntry(const CLI::App& command) {
    CommandEntry result{command.get_name(), command.get_description(), {}, command.get_footer()};
    addOptions(command, result.options);
    return result;
}

std::vector<CommandEntry> optionTable(const CLI::App& app) {
    std::vector<CommandEntry> table{commandEntry(app)};
    table[0].name.clear();
    for (const CLI::App* command : app.get_subcommands({})) {
        if (!command->get_name().empty()) table.push_back(commandEntry(*command));
    }
    return table;
}

}  // namespace orvocap
