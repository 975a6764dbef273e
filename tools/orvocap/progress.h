// Tells the user how a recording goes: a bar that is redrawn on a terminal, a line a second in a pipe.
#pragma once

#include <chrono>
#include <cstdio>
#include <string>

namespace orvocap {

// One line of a terminal: a bar before the text, cut at the width. share: what is done, from 0 to 1; below 0 when
// nobody knows, which leaves the bar out. text: ASCII.
std::string progressLine(double share, const std::string& text, size_t width);

class Progress {
  public:
    explicit Progress(std::FILE* stream);
    void update(double share, const std::string& text);  // as often as one likes
    void finish();                                       // takes the bar away

  private:
    using Clock = std::chrono::steady_clock;

    std::FILE* stream_;
    bool terminal_;
    bool drawn_ = false;
    Clock::time_point next_;
};

}  // namespace orvocap
