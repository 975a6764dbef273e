// Options for screen, rectangle and cursor: read, checked against what is there, handed to the library.
#include "target_options.h"

#include <charconv>
#include <vector>

#include "failure.h"
#include "screen_list.h"

namespace orvocap {

namespace {

template <typename Number>
bool readNumber(const char*& from, const char* end, Number& number) {
    const auto [next, error] = std::from_chars(from, end, number);
    from = next;
    return error == std::errc();
}

}  // namespace

void TargetOptions::addTo(CLI::App& command) {
    command.add_option("--screen", screenText_, "screen number as `orvocap screens` prints it, or main")
        ->required()
        ->type_name("N|main");
    command
        .add_option_function<std::string>(
            "--rect", [this](const std::string& text) { readRect(text); },
            "only this rectangle, in points from the screen's top-left corner")
        ->type_name("L,T,W,H");
    command.add_flag("--cursor", cursor_, "draw the mouse cursor into the picture");
}

void TargetOptions::readRect(const std::string& text) {
    const char* from = text.data();
    const char* end = from + text.size();
    bool wrong = false;
    for (int* number : {&rect_.left, &rect_.top, &rect_.width, &rect_.height}) {
        wrong = wrong || (number != &rect_.left && (from == end || *from++ != ',')) || !readNumber(from, end, *number);
    }
    if (wrong || from != end) throw CLI::ValidationError("--rect", "needs four numbers L,T,W,H");
    if (rect_.left < 0 || rect_.top < 0) throw CLI::ValidationError("--rect", "left and top cannot be below 0");
    if (rect_.width < 1 || rect_.height < 1) throw CLI::ValidationError("--rect", "width and height must be above 0");
    rectText_ = text;
}

void TargetOptions::resolve() {
    std::string known;
    for (const OrvoScreenCaptureScreenItem& item : requireScreens()) {
        const std::string number = std::to_string(item.screenID);
        if (screenText_ == number || (screenText_ == "main" && item.isPrimary)) {
            screen_ = item.screenID;
            return;
        }
        known += (known.empty() ? "" : ", ") + number;
    }
    throw Failure(exitNoTarget, "there is no screen " + screenText_ + "; there is: " + known);
}

void TargetOptions::choose() const {
    if (hasRect()) {
        orvo_screencapture_set_target_rect(screen_, rect_.left, rect_.top, rect_.width, rect_.height);
    } else {
        orvo_screencapture_set_target_screen(screen_);
    }
    // After the target: a screen chosen anew starts with the cursor shown.
    orvo_screencapture_set_cursor_visible(cursor_);
}

bool TargetOptions::matches(int width, int height) const {
    if (!hasRect()) return true;
    const int scale = width / rect_.width;
    return scale > 0 && width == scale * rect_.width && height == scale * rect_.height;
}

std::string TargetOptions::mismatch(int width, int height) const {
    return "the rectangle " + rectText_ + " reaches beyond the screen, which has " + std::to_string(width) + "x" +
           std::to_string(height) + " pixels; choose a smaller one";
}

}  // namespace orvocap
