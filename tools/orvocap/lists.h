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

struct ListedItem {
    uint32_t number = 0;
    bool isScreen = false;
    std::string title;  // UTF-8
    std::string owner;  // of a window: its application's name, UTF-8
    int processID = 0;  // of a window
    int left = 0;       // points; a screen's y is counted from the main screen's bottom upwards
    int top = 0;        // points
    int width = 0;      // points
    int height = 0;     // points
    std::optional<Frame> icon;
    std::optional<Frame> picture;
};

// What to tell a user who named a window that is not there: which ones are.
std::string noWindowText(uint32_t number);

// Throws a Failure that says what to do when there is no screen.
std::vector<ListedItem> listItems(bool withPictures);

}  // namespace orvocap
