// What commands print: text and JSON on standard output, with the care that it arrives, and progress.
#pragma once

#include <chrono>
#include <cstdio>
#include <nlohmann/json_fwd.hpp>
#include <string>

namespace orvocap {

using Json = nlohmann::ordered_json;

// A text that a program has chosen, such as a window's title, for a terminal: without what would command it.
std::string printable(std::string text);

// One line of JSON. What is not UTF-8, such as a title that a program has set, is replaced.
std::string jsonLine(const Json& json);

// Prints JSON to be read by a program, and by a person.
void printJson(const Json& json, std::FILE* stream = stdout);

// Both throw a Failure when standard output cannot be written.
void print(const std::string& text);
void flushOutput();  // sends on what was printed, by whatever means

// Fills in for standard streams that were closed by the caller, whose numbers would go to the next files and
// connections. Writing to the stand-in of standard output fails.
void keepStandardStreams();

// One line of a terminal: a bar before the text, cut at the width. share: what is done, from 0 to 1; below 0 when
// unknown, which leaves the bar out. text: ASCII.
std::string progressLine(double share, const std::string& text, size_t width);

// Seconds as a clock shows them: "0:07", "1:02:03".
std::string clockText(double seconds);

class Progress {
  public:
    enum class Level { quiet, usual, verbose };  // verbose: a line a second also where nothing can be redrawn

    Progress(std::FILE* stream, Level level);
    void update(double share, const std::string& text);  // as often as one likes
    void note(const std::string& text);                  // a line that stays; not when quiet
    void finish();                                       // takes the bar away

  private:
    using Clock = std::chrono::steady_clock;

    std::FILE* stream_;
    Level level_;
    bool terminal_;
    bool drawn_ = false;
    Clock::time_point next_;
};

}  // namespace orvocap
