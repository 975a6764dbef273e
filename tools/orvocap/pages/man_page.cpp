// orvocap's manual page.
#include <sstream>

#include "pages.h"
#include "tools/orvocap/application.h"

namespace orvocap {

namespace {

// Text for roff: no character of it is an instruction. What stands between back quotes is set in bold.
std::string escaped(const std::string& text) {
    std::string result;
    bool bold = false;
    for (const char c : text) {
        if (c == '`') {
            bold = !bold;
            result += bold ? "\\fB" : "\\fP";
        } else if (c == '\\') {
            result += "\\e";
        } else if (c == '-') {
            result += "\\-";
        } else if (c == '\'') {
            result += "\\(aq";
        } else {
            result += c;
        }
    }
    return (result.empty() || result[0] == '.' ? "\\&" : "") + result;
}

// Whole lines as they stand.
std::string verbatim(const std::string& lines) {
    std::istringstream stream(lines);
    std::string result;
    for (std::string line; std::getline(stream, line);) result += escaped(line) + "\n";
    return result;
}

std::string item(const OptionEntry& option) {
    std::string names;
    for (const auto& name : option.names)
        names +=
            (names.empty() ? "" : ", ") + std::string(option.isPositional ? "\\fI" : "\\fB") + escaped(name) + "\\fP";
    if (!option.value.empty() && !option.isPositional) names += " \\fI" + escaped(option.value) + "\\fP";
    return ".TP\n" + names + "\n" + escaped(option.text) + (option.isRequired ? " (required)" : "") + "\n";
}

std::string section(const CommandEntry& command) {
    std::string text = ".SS orvocap " + escaped(command.name) + "\n" + escaped(command.text) + "\n";
    for (const auto& option : command.options) {
        if (option.names.back() != "--help") text += item(option);
    }
    if (!command.examples.empty()) text += ".PP\n.EX\n" + verbatim(command.examples) + ".EE\n";
    return text;
}

}  // namespace

std::string manPage(const std::vector<CommandEntry>& table) {
    std::string text =
        ".TH ORVOCAP 1 \"\" \"orvocap " ORVOCAP_VERSION
        "\" \"User Commands\"\n"
        ".SH NAME\norvocap \\- list and record screens and windows\n"
        ".SH SYNOPSIS\n.B orvocap\n.I COMMAND\n[\\fIOPTIONS\\fP]\n.br\n.B orvocap\n\\fB\\-\\-help\\fP |\n"
        "\\fB\\-\\-version\\fP\n.SH DESCRIPTION\n";
    text +=
        escaped(table[0].text) +
        "\nEach command explains itself with \\fB\\-\\-help\\fP. Numbers of screens and windows are those of\n"
        "\\fBorvocap screens\\fP and \\fBorvocap windows\\fP. Ctrl\\-C ends a command that goes on, and what it has\n"
        "written until then is complete.\n.SH COMMANDS\n";
    for (const auto& command : table) {
        if (!command.name.empty()) text += section(command);
    }
    text += ".SH EXIT STATUS\n";
    for (const auto& meaning : exitMeanings)
        text += ".TP\n.B " + std::to_string(meaning.code) + "\n" + escaped(meaning.text) + "\n";
    return text + ".SH ENVIRONMENT\n.TP\n.B DISPLAY\nThe X server, on Linux.\n.SH EXAMPLES\n.EX\n" +
           verbatim(table[0].examples) + ".EE\n";
}

}  // namespace orvocap
