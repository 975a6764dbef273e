// Values on the command line, the table of all options, and the help that is made from it.
#include "options.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdlib>
#include <sstream>

#include "application.h"

namespace orvocap {

Area Area::read(const std::string& option, const std::string& text) {
    std::array<int, 4> numbers{};
    if (!readNumbers(text, ',', numbers)) throw CLI::ValidationError(option, "needs four numbers L,T,W,H");
    const Area area{numbers[0], numbers[1], numbers[2], numbers[3]};
    if (area.left < 0 || area.top < 0) throw CLI::ValidationError(option, "left and top cannot be below 0");
    if (area.width < 1 || area.height < 1) throw CLI::ValidationError(option, "width and height must be above 0");
    return area;
}

std::string Area::inPoints(const std::string& text, int width, int height) {
    std::string points;
    std::istringstream parts(text);
    bool isHorizontal = true;
    for (std::string part; std::getline(parts, part, ','); isHorizontal = !isHorizontal) {
        points += points.empty() ? "" : ",";
        std::array<int, 1> percent{};
        if (!part.empty() && part.back() == '%' && readNumbers(part.substr(0, part.size() - 1), ',', percent) &&
            std::abs(percent[0]) <= 100)
            part = std::to_string(percent[0] * (isHorizontal ? width : height) / 100);
        points += part;
    }
    return points;
}

std::optional<double> readSeconds(const std::string& text) {
    if (text.find_first_not_of("0123456789.:smh") != std::string::npos) return std::nullopt;
    double seconds = 0;
    char* rest = nullptr;
    const char* from = text.c_str();
    int parts = 0;
    for (; parts < 3; from = rest + 1) {
        const double number = std::strtod(from, &rest);
        if (rest == from) return std::nullopt;
        seconds = seconds * 60 + number;
        ++parts;
        if (*rest != ':') break;
    }
    if (const double unit = *rest == 's' ? 1 : *rest == 'm' ? 60 : *rest == 'h' ? 3600 : 0; unit > 0 && parts == 1) {
        seconds *= unit;
        ++rest;
    }
    return *rest == '\0' && std::isfinite(seconds) && seconds > 0 ? std::optional(seconds) : std::nullopt;
}

namespace {

void addTime(CLI::App& command, const std::string& names, double& seconds, const std::string& text) {
    const std::string option = names.substr(names.find("--"));
    command
        .add_option_function<std::string>(
            names,
            [&seconds, option](const std::string& value) {
                const auto read = readSeconds(value);
                if (!read) throw CLI::ValidationError(option, "needs a time above 0, such as 10, 1:30 or 5m");
                seconds = *read;
            },
            text)
        ->type_name("S");
}

}  // namespace

void addSeconds(CLI::App& command, double& seconds, const std::string& text) {
    addTime(command, "-t,--seconds", seconds, text);
}

void addDelay(CLI::App& command, double& seconds) {
    addTime(command, "-d,--delay", seconds, "wait so many seconds first");
}

CLI::Validator numberOf(const std::map<std::string, int>& choices) {
    const auto transform = [choices](std::string& text) -> std::string {
        std::string known;
        for (const auto& [word, number] : choices) {
            if (text == word || text == std::to_string(number)) {
                text = std::to_string(number);
                return {};
            }
            known += (known.empty() ? "" : ", ") + word;
        }
        return text + " is none of " + known;
    };
    return {transform, ""};
}

namespace {

const std::map<std::string, int> logLevels = {{"error", 1}, {"warning", 2}, {"info", 3}, {"debug", 4}};

}  // namespace

void Verbosity::addTo(CLI::App& command) {
    auto* quiet = command.add_flag("-q,--quiet", isQuiet, "print nothing but failures");
    command
        .add_flag("-v,--verbose", isVerbose, "print also progress lines in a pipe, and the library's log up to info")
        ->excludes(quiet);
    command.add_option("--log-level", logLevel, "print the library's log up to this level on standard error")
        ->transform(numberOf(logLevels))
        ->type_name("error|warning|info|debug");
}

void addForce(CLI::App& command, bool& force) {
    command.add_flag("-y,--force", force, "write over what is there, without a question");
}

void addFrameRate(CLI::App& command, int& framesPerSecond) {
    command.add_option("-r,--fps", framesPerSecond, "frames a second, 5 to 30")
        ->check(CLI::Range(5, 30))
        ->type_name("N")
        ->capture_default_str();
}

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
    if (!option.get_default_str().empty()) result.text += " (" + option.get_default_str() + " by default)";
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
