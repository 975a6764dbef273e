// The help, from the same table as the pages that are installed.
#include "help_text.h"

#include <algorithm>
#include <sstream>

#include "failure.h"

namespace orvocap {

namespace {

constexpr size_t textColumn = 26;
constexpr size_t lineWidth = 80;

// Words from that column on, as many to a line as fit; head stands before them, on a line of its own when it is long.
std::string wrapped(const std::string& head, const std::string& text) {
    const std::string indent(textColumn, ' ');
    std::string result;
    std::string line = "  " + head;
    if (line.size() + 2 > textColumn) {
        result = line + "\n";
        line.clear();
    }
    line.resize(textColumn, ' ');
    std::istringstream words(text);
    bool isFirst = true;
    for (std::string word; words >> word; isFirst = false) {
        if (!isFirst && line.size() + 1 + word.size() > lineWidth) {
            result += line + "\n";
            line = indent;
            isFirst = true;
        }
        line += (isFirst ? "" : " ") + word;
    }
    return result + line + "\n";
}

std::string optionHelp(const OptionEntry& option) {
    std::string head;
    for (const auto& name : option.names) head += (head.empty() ? "" : ", ") + name;
    if (!option.isPositional && !option.value.empty()) head += " " + option.value;
    return wrapped(head, option.text + (option.isRequired ? " (required)" : ""));
}

std::string optionsHelp(const CommandEntry& command) {
    std::string text = "\nOptions:\n";
    for (const auto& option : command.options) text += optionHelp(option);
    return text;
}

std::string examplesHelp(const CommandEntry& command) {
    return command.examples.empty() ? "" : "\nExamples:\n" + command.examples;
}

}  // namespace

std::string generalHelp(const std::vector<CommandEntry>& table) {
    std::string text = table[0].text + "\n\nUsage: orvocap COMMAND [OPTIONS]\n\nCommands:\n";
    for (const auto& command : table) {
        if (!command.name.empty()) text += wrapped(command.name, command.text);
    }
    text += optionsHelp(table[0]) + examplesHelp(table[0]) + "\nExit codes:\n";
    for (const auto& meaning : exitMeanings) text += wrapped(std::to_string(meaning.code), meaning.text);
    return text + "\n`orvocap COMMAND --help` explains a command. `man orvocap` has all of it on one page.\n";
}

std::string commandHelp(const CommandEntry& command) {
    const auto isPositional = [](const OptionEntry& option) { return option.isPositional; };
    const bool takesFiles = std::any_of(command.options.begin(), command.options.end(), isPositional);
    return command.text + "\n\nUsage: orvocap " + command.name + " [OPTIONS]" + (takesFiles ? " [FILE...]" : "") +
           "\n" + optionsHelp(command) + examplesHelp(command);
}

}  // namespace orvocap
