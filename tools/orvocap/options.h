// orvocap's options: values that are several numbers, and the table that help and installed pages are made from.
#pragma once

#include <array>
#include <charconv>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace CLI {
class App;
class Validator;
}  // namespace CLI

namespace orvocap {

// Reads exactly N numbers with that character between them. Result: false when the text is anything else.
template <size_t N>
bool readNumbers(const std::string& text, char separator, std::array<int, N>& numbers) {
    const char* from = text.data();
    const char* const end = from + text.size();
    for (size_t i = 0; i < N; ++i) {
        if (i > 0 && (from == end || *from++ != separator)) return false;
        const auto [next, error] = std::from_chars(from, end, numbers[i]);
        if (error != std::errc()) return false;
        from = next;
    }
    return from == end;
}

// An area in points. Throws a CLI::ValidationError that names the option unless it is L,T,W,H with a real size.
struct Area {
    int left = 0, top = 0, width = 0, height = 0;

    static Area read(const std::string& option, const std::string& text);
    // A text whose numbers may be in percent of so many points, as one without: "0,0,50%,100%" of 1280 and 800 is
    // "0,0,640,800".
    static std::string inPoints(const std::string& text, int width, int height);
    [[nodiscard]] bool isEmpty() const { return width == 0; }
};

// A time as people write it: "10", "1.5", "90s", "2m", "1h", "1:30", "1:02:03". Nothing unless it is above 0 and
// finite.
std::optional<double> readSeconds(const std::string& text);

// Adds --seconds and --delay. seconds: keeps its value unless the option is given.
void addSeconds(CLI::App& command, double& seconds, const std::string& text);
void addDelay(CLI::App& command, double& seconds);

// How much a command says beside its results.
struct Verbosity {
    bool isQuiet = false;
    bool isVerbose = false;
    int logLevel = -1;  // as the library counts them; below 0 when none was chosen

    void addTo(CLI::App& command);
    // Sends the library's log to standard error when that was asked for. Called once, before the library is used.
    void showLog() const;
};

// Adds --force, and --fps.
void addForce(CLI::App& command, bool& force);
void addFrameRate(CLI::App& command, int& framesPerSecond);

// Makes the number of a word of one of a few; the number itself may stand for it too.
CLI::Validator numberOf(const std::map<std::string, int>& choices);

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
    [[nodiscard]] bool takesWindow() const { return value.substr(0, 7) == "TITLE|N"; }
    [[nodiscard]] bool takesScreen() const { return value == "N|NAME|main"; }
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

// table: as optionTable makes it. Result: the help of orvocap itself.
std::string generalHelp(const std::vector<CommandEntry>& table);

std::string commandHelp(const CommandEntry& command);

}  // namespace orvocap
