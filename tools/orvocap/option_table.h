// orvocap's options as its help and its pages tell them, read from the options themselves.
#pragma once

#include <string>
#include <vector>

namespace CLI {
class App;
}  // namespace CLI

namespace orvocap {

struct OptionEntry {
    std::vector<std::string> names;  // "-f", "--follow"; a positional argument has one without dashes
    std::string value;               // what follows it, such as FILE; empty for a flag
    std::string text;
    bool isPositional = false;
    bool isRequired = false;
    bool mayRepeat = false;

    // The words of a value that is one of a few, such as fill|stretch; what is in capitals stands for something.
    [[nodiscard]] std::vector<std::string> choices() const;
    [[nodiscard]] bool takesFile() const { return value == "FILE"; }
    [[nodiscard]] bool takesFolder() const { return value == "DIR"; }
};

struct CommandEntry {
    std::string name;  // empty for orvocap itself
    std::string text;
    std::vector<OptionEntry> options;
    std::string examples{};  // whole lines, indented
};

// orvocap itself first, then its commands in their order.
std::vector<CommandEntry> optionTable(const CLI::App& app);

CommandEntry commandEntry(const CLI::App& command);

}  // namespace orvocap
