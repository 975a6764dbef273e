// Exit codes, and failures that end a command.
#pragma once

#include <stdexcept>
#include <string>

namespace orvocap {

enum ExitCode {
    exitSuccess = 0,
    exitFailure = 1,   // capture or writing failed
    exitUsage = 2,     // the options make no sense
    exitNoTarget = 3,  // no display, or not the screen or window that was asked for
};

// What the user reads of them.
struct ExitMeaning {
    ExitCode code;
    const char* text;
};
constexpr ExitMeaning exitMeanings[] = {
    {exitSuccess, "done"},
    {exitFailure, "capture or writing failed"},
    {exitUsage, "wrong options"},
    {exitNoTarget, "no such display, screen or window"},
};

// Ends the command with a message that says what is wrong and what to do.
class Failure : public std::runtime_error {
  public:
    Failure(ExitCode code, const std::string& message) : std::runtime_error(message), code_(code) {}
    [[nodiscard]] ExitCode code() const { return code_; }

  private:
    ExitCode code_;
};

}  // namespace orvocap
