// The screens and windows that can be captured, as the library lists them.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "capture.h"
#include "orvo/screencapture.h"

namespace orvocap {

// Empty without a display.
std::vector<OrvoScreenCaptureScreenItem> listScreens();

// Throws a Failure that says what to do when there is no screen.
std::vector<OrvoScreenCaptureScreenItem> requireScreens();

// Throws a Failure where no screen can be captured at all.
void requireScreenCapture();

struct ListedItem {
    uint32_t number = 0;
    bool isScreen = false;
    std::string title{};                 // UTF-8
    std::string owner{};                 // of a window: its application's name, UTF-8
    int processID = 0;                   // of a window
    std::vector<std::string> classes{};  // of a window, once addClasses was called
    int left = 0;                        // points; a screen's y is counted from the main screen's bottom upwards
    int top = 0;                         // points
    int width = 0;                       // points
    int height = 0;                      // points
    std::optional<Frame> icon{};
    std::optional<Frame> picture{};
};

// Throws a Failure that says what to do when there is no screen.
std::vector<ListedItem> listItems(bool withPictures);

// Asks the windows for their classes.
void addClasses(std::vector<ListedItem>& items);

// A screen as a person knows it.
struct ScreenDescription {
    uint32_t number = 0;
    bool isMain = false;
    std::string name;           // of its output, such as HDMI-1; empty when it has none
    int left = 0, top = 0;      // points from the main screen's top-left corner
    int width = 0, height = 0;  // points
    double scale = 1;           // pixels to the point
};

// Throws a Failure that says what to do when there is no screen.
std::vector<ScreenDescription> describeScreens();

// Which windows a user means: every part that is given has to fit.
struct WindowQuery {
    std::string text{};       // a number, or a part of the title
    int processID = 0;        // 0: any
    std::string className{};  // also the application's name; empty: any

    [[nodiscard]] bool empty() const { return text.empty() && processID == 0 && className.empty(); }
    [[nodiscard]] std::optional<uint32_t> number() const;  // that the text is
    [[nodiscard]] std::string asText() const;              // for messages
};

// The windows that fit, front to back. Capital letters count as small ones. A window of that number, or with exactly
// that title, wins over others. className needs items with classes.
std::vector<ListedItem> matchingWindows(const std::vector<ListedItem>& items, const WindowQuery& query);

}  // namespace orvocap
