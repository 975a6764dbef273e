// The process itself: the user's wish to end it, and its standard error.
#pragma once

#include <cstdio>
#include <memory>

namespace orvocap {

void listenForStop();
bool stopRequested();

// Drops what is written to standard error while it lives.
class QuietConsole {
  public:
    QuietConsole();
    ~QuietConsole();
    QuietConsole(const QuietConsole&) = delete;
    QuietConsole& operator=(const QuietConsole&) = delete;

    // Where standard error went before.
    [[nodiscard]] std::FILE* console() const { return console_ ? console_.get() : stderr; }

  private:
    std::unique_ptr<std::FILE, int (*)(std::FILE*)> console_;  // null when nothing could be changed
};

}  // namespace orvocap
