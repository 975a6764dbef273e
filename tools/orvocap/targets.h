// The options that choose what to capture and how its picture is made.
#pragma once

#include <string>
#include <vector>

#include "lists.h"
#include "options.h"
#include "orvo/screencapture.h"

namespace CLI {
class App;
class Option;
}  // namespace CLI

namespace orvocap {

// The options that choose windows to capture, shared by the commands that do.
class WindowTargets {
  public:
    void addTo(CLI::App& command);

    // Throws a Failure that says what to do when a window cannot be captured, or when several may be meant.
    void resolve();
    void resolve(const std::vector<ListedItem>& items);  // among these

    // Hands the windows to the library, which must be initialised.
    void choose(OrvoScreenCaptureWindowMode mode) const;

    [[nodiscard]] bool empty() const { return first_.empty() && extra_.empty(); }
    // Known once they are resolved: without repetition, the first window first.
    [[nodiscard]] const std::vector<unsigned int>& numbers() const { return numbers_; }

  private:
    WindowQuery first_;
    std::vector<std::string> extra_;
    std::vector<unsigned int> numbers_;
};

class TargetOptions {
  public:
    // cursor: whether it is drawn unless an option says otherwise.
    void addTo(CLI::App& command, bool cursor);

    // Throws a Failure when there is no such screen or window, or when the options do not go together.
    void resolve();

    // Hands target, picture and cursor to the library, which must be initialised.
    void choose() const;

    [[nodiscard]] bool ofWindows() const { return !windows_.empty(); }

    // Whether frames come from the window path, which names their target.
    [[nodiscard]] bool onWindowPath() const {
        return ofWindows() || !excludedTexts_.empty() || width_ > 0 || fit_ >= 0 || !crop_.isEmpty();
    }

    // The numbers that frames carry, once they are resolved; a single 0 for the display path.
    [[nodiscard]] std::vector<unsigned int> targets() const;

    // Whether a frame of this size can be of the chosen target: the library keeps the whole screen when it refuses a
    // rectangle. A frame may have several pixels to the point.
    [[nodiscard]] bool matches(int width, int height) const;

    // Says why frames of this size are not what was asked for.
    [[nodiscard]] std::string mismatch(int width, int height) const;

    // What may be the reason when no frame comes; empty when nothing is known.
    [[nodiscard]] std::string noFrameHint() const;

  private:
    void addPictureOptions(CLI::App& command, CLI::Option* rect);
    void readSize(const std::string& text);
    void resolveScreen();
    void resolveExcluded();
    void chooseTarget() const;
    void choosePicture() const;

    std::string screenText_;
    unsigned int screen_ = 0;
    std::string rectText_;
    Area rect_;
    WindowTargets windows_;
    std::vector<std::string> excludedTexts_;
    std::vector<unsigned int> excluded_;
    int mode_ = 0;   // one of ORVO_WINDOW_MODE_*, 0 when not given
    int width_ = 0;  // of the picture; 0 keeps the source's
    int height_ = 0;
    int fit_ = -1;  // one of ORVO_RESOLUTION_MODE_*, -1 when not given
    Area crop_;
    bool cursor_ = false;
};

}  // namespace orvocap
