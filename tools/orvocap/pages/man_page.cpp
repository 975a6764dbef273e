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
        ".TH ORVOCAP 1 \"" ORVOCAP_DATE "\" \"orvocap " ORVOCAP_VERSION
        "\" \"User Commands\"\n"
        ".SH NAME\norvocap \\- list and record screens and windows\n"
        ".SH SYNOPSIS\n.B orvocap\n.I COMMAND\n[\\fIOPTIONS\\fP]\n.br\n.B orvocap\n\\fB\\-\\-help\\fP |\n"
        "\\fB\\-\\-version\\fP |\n\\fB\\-\\-licenses\\fP\n.SH DESCRIPTION\n";
    text += escaped(table[0].text) +
            "\n\\fBorvocap\\fP \\fICOMMAND\\fP \\fB\\-\\-help\\fP prints the options of a command.\n"
            "\\fBorvocap screens\\fP and \\fBorvocap windows\\fP print the numbers of screens and windows.\n"
            "A window may also be named by a part of its title.\n"
            "Ctrl\\-C ends a recording; the file is complete.\n"
            "A file that exists is written over only after a question, or with \\fB\\-\\-force\\fP.\n.SH COMMANDS\n";
    for (const auto& command : table) {
        if (!command.name.empty()) text += section(command);
    }
    text += ".SH EXIT STATUS\n";
    for (const auto& meaning : exitMeanings)
        text += ".TP\n.B " + std::to_string(meaning.code) + "\n" + escaped(meaning.text) + "\n";
    return text +
           ".SH ENVIRONMENT\n.TP\n.B DISPLAY\nThe X server, on Linux.\n.TP\n.B PATH\nIs searched for "
           "\\fBffmpeg\\fP(1) and \\fBgst\\-launch\\-1.0\\fP(1), which encode videos.\n.SH EXAMPLES\n.EX\n" +
           verbatim(table[0].examples) + ".EE\n";
}

}  // namespace orvocap
