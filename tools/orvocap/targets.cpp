// Options for target, picture and cursor: read, checked against what is there, handed to the library.
#include "targets.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <map>

#include "application.h"
#include "lists.h"
#include "orvo/screencapture_additions.h"

namespace orvocap {

CLI::Option* WindowTargets::addTo(CLI::App& command) {
    auto* window = command.add_option("--window", window_, "window number as `orvocap windows` prints it")
                       ->expected(1)
                       ->type_name("N");
    command.add_option("--extra", extra_, "more windows, each as a target of its own")
        ->delimiter(',')
        ->type_name("N")
        ->needs(window);
    return window;
}

std::vector<unsigned int> WindowTargets::numbers() const {
    std::vector<unsigned int> all;
    for (const auto* list : {&window_, &extra_}) {
        for (const unsigned int number : *list) {
            if (std::find(all.begin(), all.end(), number) == all.end()) all.push_back(number);
        }
    }
    return all;
}

void WindowTargets::resolve() const {
    const auto items = listItems(false);
    for (const unsigned int number : numbers()) {
        const bool listed = std::any_of(items.begin(), items.end(), [=](const ListedItem& item) {
            return item.number == number && !item.isScreen;
        });
        if (!listed) throw Failure(exitNoTarget, noWindowText(number));
    }
}

void WindowTargets::choose(OrvoScreenCaptureWindowMode mode) const {
    // The mode chooses the window path, and all windows are added at once: orvo_screencapture_set_target_window waits
    // its turn on a queue and would then drop windows that were added meanwhile.
    orvo_screencapture_set_target_window_mode(mode);
    auto windows = numbers();
    orvo_screencapture_set_extra_target_windows(windows.data(), static_cast<int>(windows.size()), true);
}

namespace {

const std::map<std::string, int> modes = {{"window", ORVO_WINDOW_MODE_WINDOW},
                                          {"area", ORVO_WINDOW_MODE_AREA},
                                          {"application", ORVO_WINDOW_MODE_APPLICATION}};
const std::map<std::string, int> fits = {{"letterbox", ORVO_RESOLUTION_MODE_FIT},
                                         {"fill", ORVO_RESOLUTION_MODE_FILL},
                                         {"stretch", ORVO_RESOLUTION_MODE_STRETCH}};

}  // namespace

void TargetOptions::addTo(CLI::App& command) {
    auto* target = command.add_option_group("target", "what to record");
    auto* screen = target->add_option("--screen", screenText_, "screen number as `orvocap screens` prints it, or main")
                       ->type_name("N|main");
    auto* window = windows_.addTo(*target)->excludes(screen);
    target
        ->add_option("--mode", mode_,
                     "the window alone, the area under it, or its application's windows there (also 1, 3, 5)")
        ->transform(CLI::CheckedTransformer(modes).description(""))
        ->type_name("window|area|application")
        ->needs(window);
    target->add_option("--exclude", excluded_, "windows to leave out, from a screen or with --mode application")
        ->delimiter(',')
        ->type_name("N");
    auto* rect = target
                     ->add_option_function<std::string>(
                         "--rect",
                         [this](const std::string& text) {
                             rect_ = Area::read("--rect", text);
                             rectText_ = text;
                         },
                         "only this rectangle of the screen, in points from its top-left corner")
                     ->type_name("L,T,W,H")
                     ->needs(screen);
    addPictureOptions(command, rect);
}

void TargetOptions::addPictureOptions(CLI::App& command, CLI::Option* rect) {
    auto* size = command
                     .add_option_function<std::string>(
                         "--size", [this](const std::string& text) { readSize(text); },
                         "size of the picture in pixels, no wider than what it is made from")
                     ->type_name("WxH")
                     ->excludes(rect);
    command.add_option("--fit", fit_, "how the picture fills the size: letterbox unless given")
        ->transform(CLI::CheckedTransformer(fits).description(""))
        ->type_name("letterbox|fill|stretch")
        ->needs(size);
    command
        .add_option_function<std::string>(
            "--crop", [this](const std::string& text) { crop_ = Area::read("--crop", text); },
            "only this part of the picture, in points from its top-left corner, before it is scaled")
        ->type_name("L,T,W,H")
        ->excludes(rect);
    command.add_flag("--cursor", cursor_, "draw the mouse cursor into the picture");
}

void TargetOptions::readSize(const std::string& text) {
    std::array<int, 2> numbers{};
    if (!readNumbers(text, 'x', numbers)) throw CLI::ValidationError("--size", "needs two numbers WxH");
    if (numbers[0] < 1 || numbers[1] < 1) throw CLI::ValidationError("--size", "width and height must be above 0");
    width_ = numbers[0];
    height_ = numbers[1];
}

void TargetOptions::resolve() {
    if (windows_.empty() && screenText_.empty())
        throw Failure(exitUsage, "nothing to record: give --screen N|main or --window N");
    if (!windows_.empty() && !excluded_.empty() && mode_ != ORVO_WINDOW_MODE_APPLICATION)
        throw Failure(exitUsage, "with --window, --exclude needs --mode application");
    if (windows_.empty())
        resolveScreen();
    else
        windows_.resolve();
    for (const unsigned int number : excluded_) {
        OrvoScreenCaptureWindowOwner owner;
        if (!orvo_screencapture_get_window_owner(number, &owner)) throw Failure(exitNoTarget, noWindowText(number));
    }
}

void TargetOptions::resolveScreen() {
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
    // First of all: a screen chosen while windows are left out is captured on the window path.
    if (!excluded_.empty()) {
        auto excluded = excluded_;
        orvo_screencapture_set_excluded_windows(excluded.data(), static_cast<int>(excluded.size()), true);
    }
    chooseTarget();
    if (onWindowPath()) choosePicture();
    // After the target: a screen chosen anew starts with the cursor shown.
    orvo_screencapture_set_cursor_visible(cursor_);
}

void TargetOptions::chooseTarget() const {
    if (!windows_.empty()) {
        windows_.choose(mode_);
    } else if (!rect_.isEmpty()) {
        orvo_screencapture_set_target_rect(screen_, rect_.left, rect_.top, rect_.width, rect_.height);
    } else if (onWindowPath()) {
        orvo_screencapture_set_target_window(screen_);
    } else {
        orvo_screencapture_set_target_screen(screen_);
    }
}

void TargetOptions::choosePicture() const {
    if (width_ > 0) orvo_screencapture_set_resolution(width_, height_);
    if (fit_ >= 0) orvo_screencapture_set_resolution_mode(fit_);
    if (!crop_.isEmpty()) orvo_screencapture_set_target_window_rect(crop_.left, crop_.top, crop_.width, crop_.height);
}

std::vector<unsigned int> TargetOptions::targets() const {
    if (!windows_.empty()) return windows_.numbers();
    return {onWindowPath() ? screen_ : 0};
}

bool TargetOptions::matches(int width, int height) const {
    if (rect_.isEmpty()) return true;
    const int scale = width / rect_.width;
    return scale > 0 && width == scale * rect_.width && height == scale * rect_.height;
}

std::string TargetOptions::mismatch(int width, int height) const {
    return "the rectangle " + rectText_ + " reaches beyond the screen, of which " + std::to_string(width) + "x" +
           std::to_string(height) + " pixels came; choose a smaller one";
}

std::string TargetOptions::noFrameHint() const {
    if (width_ > 0) return "a --size wider than the picture it is made from gives no frames";
    if (!crop_.isEmpty()) return "a --crop beside the picture gives no frames";
    return {};
}

}  // namespace orvocap
