// The library's log files as plain text and as JSON.
#pragma once

#include <cstddef>
#include <functional>
#include <string>

namespace orvocap {

// Each line of the log is scrambled from its own start, so the decoder has to know where lines start: after a line
// feed as a rule, but a logged line may hold line feeds of its own, and a write that broke off leaves a piece of a line
// after it. A line is known by its time stamp or by "*** ".
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

// plain: text of the log, one line or several. Result: a JSON object for each, with time, level, thread, source and
// text; with the text alone for what does not begin as logged lines do, such as the further lines of one message.
std::string logJson(const std::string& plain);

}  // namespace orvocap
