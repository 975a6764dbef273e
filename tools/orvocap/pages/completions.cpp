// Completions for bash, zsh and fish: commands, options, and the values that can be known, windows and screens too.
#include "pages.h"

namespace orvocap {

namespace {

std::string joined(const std::vector<std::string>& words, const char* between) {
    std::string text;
    for (const auto& word : words) text += (text.empty() ? "" : between) + word;
    return text;
}

// Text inside single quotes; backslash: characters that need one.
std::string quoted(const std::string& text, const std::string& backslash = "") {
    std::string result;
    for (const char c : text) {
        if (backslash.find(c) != std::string::npos) result += '\\';
        result += c == '\'' ? "'\\''" : std::string(1, c);
    }
    return result;
}

// A shell's command that prints the numbers of what is there now.
std::string numbersOf(const OptionEntry& option) {
    if (option.takesWindow()) return "orvocap windows 2>/dev/null | awk '$1 == \"window\" { print $2 }'";
    return "orvocap screens 2>/dev/null | awk '{ print $2 }'";
}

bool isListed(const OptionEntry& option) {
    return option.takesWindow() || option.takesScreen();
}

std::string bashCandidates(const OptionEntry& option) {
    const auto choices = option.choices();
    if (isListed(option)) return "_orvocap_from -W \"" + joined(choices, " ") + " $(" + numbersOf(option) + ")\"; ";
    if (!choices.empty()) return "_orvocap_from -W '" + joined(choices, " ") + "'; ";
    if (option.takesFile()) return "_orvocap_from -f; ";
    return option.takesFolder() ? "_orvocap_from -d; " : "";
}

std::string zshAction(const OptionEntry& option) {
    const auto choices = option.choices();
    if (isListed(option))
        return std::string("_orvocap_listed ") + (option.takesWindow() ? "windows" : "screens") +
               (choices.empty() ? "" : " " + joined(choices, " "));
    if (!choices.empty()) return "(" + joined(choices, " ") + ")";
    if (option.takesFile()) return "_files";
    return option.takesFolder() ? "_files -/" : " ";
}

std::string zshArgument(const OptionEntry& option) {
    const std::string value = ":" + quoted(option.value, ":") + ":" + zshAction(option) + "'";
    if (option.isPositional) return (option.mayRepeat ? "'*" : "'") + value;
    const std::string text = "[" + quoted(option.text, "[]") + "]" + (option.value.empty() ? "'" : value);
    const std::string repeat = option.mayRepeat ? "*" : "";
    if (option.names.size() == 1) return "'" + repeat + option.names[0] + text;
    return "'(" + joined(option.names, " ") + ")" + repeat + "'{" + joined(option.names, ",") + "}'" + text;
}

}  // namespace

std::string bashCompletion(const std::vector<CommandEntry>& table) {
    std::string values;
    std::string words;
    for (const auto& command : table) {
        std::vector<std::string> names;
        std::string files;
        for (const auto& option : command.options) {
            if (option.isPositional) {
                if (option.takesFile()) files = "[[ $word == -* ]] || _orvocap_from -f; ";
                continue;
            }
            names.insert(names.end(), option.names.begin(), option.names.end());
            if (option.value.empty()) continue;
            for (const auto& name : option.names)
                values += "        " + command.name + ":" + name + ") " + bashCandidates(option) + "return ;;\n";
        }
        if (command.name.empty()) {
            for (const auto& other : table)
                if (!other.name.empty()) names.push_back(other.name);
        }
        words += "        '" + command.name + "') " + files + "_orvocap_from -W '" + joined(names, " ") + "' ;;\n";
    }
    return "# bash completion for orvocap\n"
           "_orvocap_from() {\n"
           "    [[ $1 == -W ]] || compopt -o filenames 2>/dev/null\n"
           "    local found\n"
           "    while IFS= read -r found; do COMPREPLY+=(\"$found\"); done < <(compgen \"$@\" -- \"$word\")\n"
           "}\n"
           "_orvocap() {\n"
           "    local word=${COMP_WORDS[COMP_CWORD]} command=\n"
           "    ((COMP_CWORD < 2)) || command=${COMP_WORDS[1]}\n"
           "    COMPREPLY=()\n"
           "    case $command:${COMP_WORDS[COMP_CWORD - 1]} in\n" +
           values + "    esac\n    case $command in\n" + words + "    esac\n}\ncomplete -F _orvocap orvocap\n";
}

std::string zshCompletion(const std::vector<CommandEntry>& table) {
    std::string commands;
    std::string arguments;
    for (const auto& command : table) {
        if (command.name.empty()) continue;
        commands += "        '" + command.name + ":" + quoted(command.text) + "'\n";
        arguments += "        " + command.name + ")\n            _arguments -S";
        for (const auto& option : command.options) arguments += " \\\n                " + zshArgument(option);
        arguments += "\n            ;;\n";
    }
    std::string own;
    for (const auto& option : table[0].options) own += " \\\n        " + zshArgument(option);
    return "#compdef orvocap\n"
           // Each line of the list is a number and what a person knows it by.
           "_orvocap_listed() {\n"
           "    local -a listed=(\"${@:2}\")\n"
           "    local kind number rest\n"
           "    while read -r kind number rest; do\n"
           "        [[ $kind != ${1%s} ]] || listed+=(\"$number:$rest\")\n"
           "    done < <(orvocap $1 2>/dev/null)\n"
           "    _describe $1 listed\n"
           "}\n"
           "_orvocap() {\n"
           "    local -a commands=(\n" +
           commands +
           "    )\n"
           "    if ((CURRENT > 2)); then\n"
           "        shift words\n"
           "        ((CURRENT--))\n"
           "        case $words[1] in\n" +
           arguments +
           "        esac\n"
           "        return\n"
           "    fi\n"
           "    _arguments" +
           own +
           " \\\n        '1:command:{_describe command commands}'\n"
           "}\n"
           "_orvocap \"$@\"\n";
}

namespace {

std::string fishOption(const std::string& condition, const OptionEntry& option) {
    std::string line = "complete -c orvocap -n '" + condition + "'";
    for (const auto& name : option.names) line += name[1] == '-' ? " -l " + name.substr(2) : " -s " + name.substr(1);
    const auto choices = option.choices();
    if (isListed(option))
        line += " -x -a '(_orvocap_listed " + std::string(option.takesWindow() ? "windows" : "screens") + ") " +
                joined(choices, " ") + "'";
    else if (!choices.empty())
        line += " -x -a '" + joined(choices, " ") + "'";
    else if (option.takesFolder())
        line += " -x -a '(__fish_complete_directories)'";
    else if (option.takesFile())
        line += " -r -F";
    else if (!option.value.empty())
        line += " -x";
    std::string text;
    for (const char c : option.text) text += c == '\'' ? "\\'" : c == '\\' ? "\\\\" : std::string(1, c);
    return line + " -d '" + text + "'\n";
}

}  // namespace

std::string fishCompletion(const std::vector<CommandEntry>& table) {
    std::string lines =
        "# fish completion for orvocap\n"
        "function _orvocap_listed\n"
        "    orvocap $argv[1] 2>/dev/null | string replace -rf '^'(string sub -e -1 $argv[1])' +(\\d+) +(.*)' "
        "'$1\\t$2'\n"
        "end\n"
        "complete -c orvocap -f\n";
    for (const auto& command : table) {
        if (command.name.empty()) {
            for (const auto& option : command.options) lines += fishOption("__fish_use_subcommand", option);
            continue;
        }
        lines +=
            "complete -c orvocap -n __fish_use_subcommand -a " + command.name + " -d '" + quoted(command.text) + "'\n";
        const std::string condition = "__fish_seen_subcommand_from " + command.name;
        for (const auto& option : command.options) {
            if (!option.isPositional)
                lines += fishOption(condition, option);
            else if (option.takesFile())
                lines += "complete -c orvocap -n '" + condition + "' -F\n";
        }
    }
    return lines;
}

}  // namespace orvocap
