// Tells the user how a recording goes: one line that is redrawn on a terminal, a line a second in a pipe.
#pragma once

#include <chrono>
#include <cstdio>
#include <string>

namespace orvocap {

class Progress {
  public:
    explicit Progress(std::FILE* stream);
    void update(const std::string& text);  // as often as one likes
    void finish(const std::string& text);  // replaces the line

  private:
    using Clock = std::chrono::steady_clock;

    std::FILE* stream_;
    bool terminal_;
    Clock::time_point next_;
};

}  // namespace orvocap
