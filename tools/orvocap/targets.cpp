// Options for target, picture and cursor: read, checked against what is there, handed to the library.
#include "targets.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <map>
#include <sstream>

#include "application.h"
#include "orvo/screencapture_additions.h"
#include "system.h"
#include "terminal.h"

namespace orvocap {

namespace {

const std::map<std::string, int> modes = {{"window", ORVO_WINDOW_MODE_WINDOW},
                                          {"area", ORVO_WINDOW_MODE_AREA},
                                          {"application", ORVO_WINDOW_MODE_APPLICATION}};
const std::map<std::string, int> fits = {{"letterbox", ORVO_RESOLUTION_MODE_FIT},
                                         {"fill", ORVO_RESOLUTION_MODE_FILL},
                                         {"stretch", ORVO_RESOLUTION_MODE_STRETCH}};

std::string windowText(const ListedItem& item) {
    return std::to_string(item.number) + " \"" + printable(item.title) + "\"" +
           (item.owner.empty() ? ""
                               : " [" + printable(item.owner) + ", process " + std::to_string(item.processID) + "]");
}

std::string windowTexts(const std::vector<ListedItem>& items) {
    constexpr size_t most = 8;
    std::string text;
    for (size_t i = 0; i < std::min(items.size(), most); ++i) text += "\n  " + windowText(items[i]);
    if (items.size() > most) text += "\n  and " + std::to_string(items.size() - most) + " more";
    return text;
}

std::vector<ListedItem> windowsAmong(const std::vector<ListedItem>& items) {
    std::vector<ListedItem> windows;
    std::copy_if(items.begin(), items.end(), std::back_inserter(windows),
                 [](const ListedItem& item) { return !item.isScreen; });
    return windows;
}

[[noreturn]] void failWithoutWindow(const WindowQuery& query, const std::vector<ListedItem>& items) {
    const auto windows = windowsAmong(items);
    throw Failure(exitNoTarget, "no window " + query.asText() +
                                    " can be captured now; it may be minimised or closed; " +
                                    (windows.empty() ? "there is no window" : "there is:" + windowTexts(windows)));
}

uint32_t oneWindow(const WindowQuery& query, const std::vector<ListedItem>& items) {
    const auto found = matchingWindows(items, query);
    if (found.empty()) failWithoutWindow(query, items);
    if (found.size() > 1)
        throw Failure(exitNoTarget, std::to_string(found.size()) + " windows match " + query.asText() +
                                        "; say more of the title, or the number of one:" + windowTexts(found));
    return found.front().number;
}

uint32_t clickedWindow(const std::vector<ListedItem>& items) {
    std::vector<uint32_t> numbers;
    for (const auto& item : windowsAmong(items)) numbers.push_back(item.number);
    std::fputs("orvocap: click the window to capture; the right button or any key cancels\n", stderr);
    const auto picked = pickWindow(numbers);
    if (!picked) throw Failure(exitNoTarget, "no window was picked");
    return *picked;
}

// An empty text would mean every window.
CLI::Validator notEmpty() {
    return {[](const std::string& text) { return text.empty() ? std::string("cannot be empty") : std::string(); }, ""};
}

// Several numbers may stand in one word with commas between them, a title may hold commas.
std::vector<std::string> separated(const std::vector<std::string>& words) {
    std::vector<std::string> all;
    for (const auto& word : words) {
        if (word.find_first_not_of("0123456789,") != std::string::npos) {
            all.push_back(word);
            continue;
        }
        std::istringstream parts(word);
        for (std::string part; std::getline(parts, part, ',');) all.push_back(part);
    }
    return all;
}

}  // namespace

void WindowTargets::addTo(CLI::App& command) {
    command
        .add_option("-w,--window", first_.text,
                    "a part of the window's title, its number as `orvocap windows` prints it, or pick to click it")
        ->check(notEmpty())
        ->type_name("TITLE|N|pick");
    command.add_option("--pid", first_.processID, "the window of this process")
        ->check(CLI::PositiveNumber.description(""))
        ->type_name("N");
    command.add_option("--class", first_.className, "the window of this class (WM_CLASS) or application")
        ->check(notEmpty())
        ->type_name("NAME");
    command.add_option("--extra", extra_, "more windows, each as a target of its own: titles or numbers")
        ->check(notEmpty())
        ->type_name("TITLE|N");
}

void WindowTargets::resolve() {
    auto items = listItems(false);
    if (!first_.className.empty()) addClasses(items);
    resolve(items);
}

void WindowTargets::resolve(const std::vector<ListedItem>& items) {
    numbers_.clear();
    const auto add = [this](uint32_t number) {
        if (std::find(numbers_.begin(), numbers_.end(), number) == numbers_.end()) numbers_.push_back(number);
    };
    if (first_.empty()) throw Failure(exitUsage, "--extra adds to a window; name that first with --window");
    add(first_.text == "pick" ? clickedWindow(items) : oneWindow(first_, items));
    for (const auto& text : separated(extra_)) add(oneWindow({text, 0, {}}, items));
}

void WindowTargets::choose(OrvoScreenCaptureWindowMode mode) const {
    // The mode chooses the window path, and all windows are added at once: orvo_screencapture_set_target_window waits
    // its turn on a queue and would then drop windows that were added meanwhile.
    orvo_screencapture_set_target_window_mode(mode);
    auto windows = numbers_;
    orvo_screencapture_set_extra_target_windows(windows.data(), static_cast<int>(windows.size()), true);
}

void TargetOptions::addTo(CLI::App& command, bool cursor) {
    cursor_ = cursor;
    auto* target = command.add_option_group("target", "what to capture");
    auto* screen = target
                       ->add_option("-s,--screen", screenText_,
                                    "a screen's number or name as `orvocap screens` prints it; the main one by default")
                       ->type_name("N|NAME|main");
    windows_.addTo(*target);
    for (const char* option : {"--window", "--pid", "--class"}) target->get_option(option)->excludes(screen);
    target
        ->add_option("--mode", mode_,
                     "the window alone, the area under it, or its application's windows there (also 1, 3, 5)")
        ->transform(numberOf(modes))
        ->type_name("window|area|application");
    target
        ->add_option("--exclude", excludedTexts_,
                     "windows to leave out, from a screen or with --mode application: numbers, or a part of a title, "
                     "which leaves out every window that has it")
        ->check(notEmpty())
        ->type_name("TITLE|N");
    auto* rect = target
                     ->add_option_function<std::string>(
                         "--rect",
                         [this](const std::string& text) {
                             rect_ =
                                 Area::read("--rect", Area::inPoints(text, 100, 100));  // percents are resolved later
                             rectText_ = text;
                         },
                         "only this rectangle of the screen: left, top, width, height in points from its top-left "
                         "corner, or in percent: 0,0,50%,100% is the left half")
                     ->type_name("L,T,W,H");
    for (const char* option : {"--window", "--pid", "--class"}) rect->excludes(target->get_option(option));
    addPictureOptions(command, rect);
}

void TargetOptions::addPictureOptions(CLI::App& command, CLI::Option* rect) {
    auto* size = command
                     .add_option_function<std::string>(
                         "--size", [this](const std::string& text) { readSize(text); },
                         "size of the picture in pixels, no wider than what it is made from")
                     ->type_name("WxH")
                     ->excludes(rect);
    command.add_option("--fit", fit_, "how the picture fills the size; letterbox by default")
        ->transform(numberOf(fits))
        ->type_name("letterbox|fill|stretch")
        ->needs(size);
    command
        .add_option_function<std::string>(
            "--crop", [this](const std::string& text) { crop_ = Area::read("--crop", text); },
            "only this part of the picture, in points from its top-left corner, before it is scaled")
        ->type_name("L,T,W,H")
        ->excludes(rect);
    const std::string byDefault = " (the default)";
    auto* with = command.add_flag_callback(
        "--cursor", [this] { cursor_ = true; }, "draw the mouse cursor into the picture" + (cursor_ ? byDefault : ""));
    command
        .add_flag_callback(
            "--no-cursor", [this] { cursor_ = false; }, "leave the mouse cursor out" + (cursor_ ? "" : byDefault))
        ->excludes(with);
}

void TargetOptions::readSize(const std::string& text) {
    std::array<int, 2> numbers{};
    if (!readNumbers(text, 'x', numbers)) throw CLI::ValidationError("--size", "needs two numbers WxH");
    if (numbers[0] < 1 || numbers[1] < 1) throw CLI::ValidationError("--size", "width and height must be above 0");
    width_ = numbers[0];
    height_ = numbers[1];
}

void TargetOptions::resolve() {
    if (!ofWindows() && mode_ != 0) throw Failure(exitUsage, "--mode is of a window; name one with --window");
    if (ofWindows() && !excludedTexts_.empty() && mode_ != ORVO_WINDOW_MODE_APPLICATION)
        throw Failure(exitUsage, "with --window, --exclude needs --mode application");
    if (ofWindows())
        windows_.resolve();
    else
        resolveScreen();
    resolveExcluded();
}

void TargetOptions::resolveScreen() {
    requireScreenCapture();
    std::string known;
    for (const auto& screen : describeScreens()) {
        const std::string number = std::to_string(screen.number);
        if (screenText_ == number || screenText_ == screen.name ||
            ((screenText_.empty() || screenText_ == "main") && screen.isMain)) {
            screen_ = screen.number;
            if (!rectText_.empty())
                rect_ = Area::read("--rect", Area::inPoints(rectText_, screen.width, screen.height));
            return;
        }
        known += (known.empty() ? "" : ", ") + number + (screen.name.empty() ? "" : " (" + screen.name + ")");
    }
    throw Failure(exitNoTarget, "there is no screen " + screenText_ + "; there is: " + known);
}

// A title names every window that has it: one that was meant to be left out must not be shown.
void TargetOptions::resolveExcluded() {
    excluded_.clear();
    if (excludedTexts_.empty()) return;
    const auto items = listItems(false);
    for (const auto& text : separated(excludedTexts_)) {
        const WindowQuery query{text, 0, {}};
        OrvoScreenCaptureWindowOwner owner = ORVO_SCREENCAPTURE_WINDOW_OWNER_INIT;
        if (const auto number = query.number(); number && orvo_screencapture_get_window_owner(*number, &owner)) {
            excluded_.push_back(*number);
            continue;
        }
        const auto found = matchingWindows(items, query);
        if (found.empty()) failWithoutWindow(query, items);
        for (const auto& item : found) excluded_.push_back(item.number);
    }
}

void TargetOptions::choose() const {
    // First of all: a screen chosen while windows are left out is captured on the window path.
    if (!excluded_.empty()) {
        auto excluded = excluded_;
        orvo_screencapture_set_excluded_windows(excluded.data(), static_cast<int>(excluded.size()), true);
    }
    chooseTarget();
    if (onWindowPath()) choosePicture();
    // After the target: a screen that is chosen again starts with the cursor shown.
    orvo_screencapture_set_cursor_visible(cursor_);
}

void TargetOptions::chooseTarget() const {
    if (ofWindows()) {
        windows_.choose(mode_ ? mode_ : ORVO_WINDOW_MODE_WINDOW);
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
    if (ofWindows()) return windows_.numbers();
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
