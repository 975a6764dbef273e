// The options that choose what to capture, shared by the commands that do.
#pragma once

#include <CLI/CLI.hpp>
#include <string>

namespace orvocap {

class TargetOptions {
  public:
    void addTo(CLI::App& command);

    // Throws a Failure when there is no such screen.
    void resolve();

    // Hands target and cursor to the library, which must be initialised.
    void choose() const;

    // Whether a frame of this size can be of the chosen target: the library keeps the whole screen when it refuses a
    // rectangle. A frame may have several pixels to the point.
    [[nodiscard]] bool matches(int width, int height) const;

    // Says why frames of this size are not what was asked for.
    [[nodiscard]] std::string mismatch(int width, int height) const;

  private:
    struct Rect {
        int left = 0, top = 0, width = 0, height = 0;
    };
    void readRect(const std::string& text);
    [[nodiscard]] bool hasRect() const { return !rectText_.empty(); }

    std::string screenText_;
    std::string rectText_;
    bool cursor_ = false;
    unsigned int screen_ = 0;
    Rect rect_;
};

}  // namespace orvocap
