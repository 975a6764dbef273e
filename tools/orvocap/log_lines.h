// Turns the bytes of a scrambled log file into plain text, wherever the file was cut.
#pragma once

#include <cstddef>
#include <functional>
#include <string>

namespace orvocap {

// Each line of the log is scrambled from its own start, so the decoder has to know where lines start: after a line
// feed as a rule, but a logged line may hold line feeds of its own, and a write that broke off leaves a piece of a line
// behind. A line is known by its time stamp or by "*** ".
class LogLines {
  public:
    using Output = std::function<void(const std::string&)>;

    // `output` receives the plain text, whole lines as a rule.
    explicit LogLines(Output output) : output_(std::move(output)) {}

    // More bytes of the file; any number of them.
    void feed(const char* bytes, size_t length);
    // The file ends here, perhaps in the middle of a line. What is fed from now on is another file.
    void finish();

  private:
    void decode(const std::string& piece, bool ends_line);

    Output output_;
    std::string pending_;
    bool in_line_ = false;      // a piece without its line feed was passed on
    bool knows_place_ = false;  // whether `next_place_` is known: the place of the next byte in its logged line
    size_t next_place_ = 0;
};

}  // namespace orvocap
