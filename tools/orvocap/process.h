// The process itself: the user's wish to end it, and its standard error.
#pragma once

#include <cstdio>
#include <functional>
#include <memory>

namespace orvocap {

void listenForStop();
bool stopRequested();

// SIGUSR1, which pauses a recording and lets it go on: whether the number of those that have come is odd.
void listenForPause();
bool isPauseToggled();

// Waits, unless the user wishes to end. onSecond: called at once and then after each second, with the seconds left.
void waitBefore(double seconds, const std::function<void(int left)>& onSecond);

// Drops what is written to standard error while it lives, unless the user wants to see it.
class QuietConsole {
  public:
    explicit QuietConsole(bool isVerbose = false);
    ~QuietConsole();
    QuietConsole(const QuietConsole&) = delete;
    QuietConsole& operator=(const QuietConsole&) = delete;

    // Where standard error went before.
    [[nodiscard]] std::FILE* console() const { return console_ ? console_.get() : stderr; }

  private:
    std::unique_ptr<std::FILE, int (*)(std::FILE*)> console_;  // null when nothing could be changed
};

}  // namespace orvocap
