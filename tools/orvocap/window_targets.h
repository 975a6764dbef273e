// The options that choose windows to capture, shared by the commands that do.
#pragma once

#include <vector>

#include "orvo/screencapture.h"

namespace CLI {
class App;
class Option;
}  // namespace CLI

namespace orvocap {

class WindowTargets {
  public:
    // Result: the option for the first window, for rules that the command has.
    CLI::Option* addTo(CLI::App& command);

    // Throws a Failure that says what to do when a window cannot be captured.
    void resolve() const;

    // Hands the windows to the library, which must be initialised.
    void choose(OrvoScreenCaptureWindowMode mode) const;

    [[nodiscard]] bool empty() const { return numbers().empty(); }
    [[nodiscard]] std::vector<unsigned int> numbers() const;  // without repetition, the first window first

  private:
    std::vector<unsigned int> window_;  // none or one
    std::vector<unsigned int> extra_;
};

}  // namespace orvocap
