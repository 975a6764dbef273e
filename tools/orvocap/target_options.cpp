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

// Reads "L,T,W,H"; says what is wrong, or nothing.
std::string readRect(const std::string& text, std::array<int, 4>& edges) {
    const char* from = text.data();
    const char* end = from + text.size();
    for (size_t i = 0; i < edges.size(); ++i) {
        if (i > 0 && (from == end || *from++ != ',')) return "needs four numbers L,T,W,H";
        if (!readNumber(from, end, edges[i])) return "needs four numbers L,T,W,H";
    }
    if (from != end) return "needs four numbers L,T,W,H and nothing else";
    if (edges[0] < 0 || edges[1] < 0) return "left and top cannot be below 0";
    if (edges[2] < 1 || edges[3] < 1) return "width and height must be above 0";
    return {};
}

}  // namespace

void TargetOptions::addTo(CLI::App& command) {
    command.add_option("--screen", screenText_, "screen number as `orvocap screens` prints it, or main")
        ->required()
        ->type_name("N|main");
    command.add_option("--rect", rectText_, "only this rectangle, in points from the screen's top-left corner")
        ->type_name("L,T,W,H")
        ->check([](const std::string& text) {
            std::array<int, 4> edges{};
            return readRect(text, edges);
        });
    command.add_flag("--cursor", cursor_, "draw the mouse cursor into the picture");
}

void TargetOptions::resolve() {
    std::array<int, 4> edges{};
    if (hasRect() && readRect(rectText_, edges).empty()) rect_ = {edges[0], edges[1], edges[2], edges[3]};

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
