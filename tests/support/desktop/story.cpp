// The words of stories: what a host does, which queue runs, what happens on the desktop.
#include <tuple>

#include "support/desktop/host.h"

namespace orvo::test {
namespace {

std::string joined(const Lines& parts) {
    std::string text;
    for (const auto& part : parts) text += (text.empty() ? "" : ", ") + part;
    return text;
}

std::string trimmed(const std::string& text) {
    const size_t first = text.find_first_not_of(' ');
    return first == text.npos ? "" : text.substr(first, text.find_last_not_of(' ') - first + 1);
}

// A word for an export that takes numbers. One that refuses is recorded.
template <typename Result, typename... Numbers>
DesktopTest::Word call(Result (*function)(Numbers...)) {
    return [function](DesktopTest::Arguments& a) {
        const std::tuple<Numbers...> numbers{a.number<Numbers>()...};
        if constexpr (std::is_same_v<Result, bool>) {
            if (!std::apply(function, numbers)) desktop().gate.record(kHost, "refused");
        } else {
            std::apply(function, numbers);
        }
    };
}

}  // namespace

platform::Rect DesktopTest::Arguments::rect() {
    platform::Rect rect;
    text >> rect.x >> rect.y >> rect.width >> rect.height;
    return rect;
}

std::vector<unsigned int> DesktopTest::Arguments::numbers() {
    std::vector<unsigned int> all;
    for (unsigned int number = 0; text >> number;) all.push_back(number);
    return all;
}

std::string DesktopTest::Arguments::rest() {
    std::string words;
    std::getline(text >> std::ws, words);
    return words;
}

void DesktopTest::perform(const std::string& step) {
    std::istringstream phrases(step);
    for (std::string phrase; std::getline(phrases, phrase, ',');) {
        Arguments arguments{std::istringstream(phrase)};
        std::string word;
        arguments.text >> word;
        const auto known = vocabulary.find(word);
        if (known == vocabulary.end()) throw std::invalid_argument("no such word: " + word);
        known->second(arguments);
    }
}

void DesktopTest::follow(const std::string& story) {
    std::istringstream lines(story);
    for (std::string line; std::getline(lines, line);) {
        line = trimmed(line);
        if (line.empty()) continue;
        const std::string step = trimmed(line.substr(0, line.find("->")));
        take();
        perform(step);
        const auto outcome = trimmed(joined(take()));
        EXPECT_EQ(step + (outcome.empty() ? "" : " -> " + outcome), line);
    }
}

void DesktopTest::learnTheHostsWords() {
    // Windows in a list, added to or taken from those that were.
    const auto list = [](auto set, bool add) {
        return [set, add](Arguments& a) {
            auto numbers = a.numbers();
            set(numbers.data(), static_cast<int>(numbers.size()), add);
        };
    };
    vocabulary = {
        {"init", [this](Arguments&) { init(); }},
        {"uninit", call(orvo_screencapture_uninit)},
        {"start", call(orvo_screencapture_start_capture)},
        {"stop", call(orvo_screencapture_stop_capture)},
        {"capturing?",
         [this](Arguments&) { desk.gate.record(kHost, orvo_screencapture_is_capturing() ? "yes" : "no"); }},
        {"fps", call(orvo_screencapture_set_fps)},
        {"cursor", call(orvo_screencapture_set_cursor_visible)},
        {"format", call(orvo_screencapture_set_capture_video_pixel_format)},
        {"offset", call(orvo_screencapture_set_timestamp_offset)},
        {"size", call(orvo_screencapture_set_resolution)},
        {"fit", call(orvo_screencapture_set_resolution_mode)},
        // Its answer is false in every case.
        {"screen", [](Arguments& a) { orvo_screencapture_set_target_screen(a.number<uint32_t>()); }},
        {"rect", call(orvo_screencapture_set_target_rect)},
        {"window", call(orvo_screencapture_set_target_window)},
        {"mode", call(orvo_screencapture_set_target_window_mode)},
        {"crop", call(orvo_screencapture_set_target_window_rect)},
        {"extra", list(orvo_screencapture_set_extra_target_windows, true)},
        {"no-extra", list(orvo_screencapture_set_extra_target_windows, false)},
        {"exclude", list(orvo_screencapture_set_excluded_windows, true)},
        {"include", list(orvo_screencapture_set_excluded_windows, false)},
        {"listen", [this](Arguments&) { host.listen(); }},
        {"silence", [](Arguments&) { orvo_screencapture_reg_captured_frame_available_notify({}, {}); }},
        {"deafen", [](Arguments&) { orvo_screencapture_reg_mutiple_captured_frame_available_notify({}, {}); }},
        {"steps", [this](Arguments&) { runSteps(); }},
        {"main", [this](Arguments&) { desk.stepper.run(mainQueue); }},
        {"ticks", [this](Arguments&) { desk.stepper.run(windowQueue); }},
        {"settle", [this](Arguments&) { desk.stepper.settle(); }},
        {"wait", [this](Arguments& a) { desk.stepper.advance(a.number() / 1000.0); }},  // milliseconds
        {"timers?",
         [this](Arguments&) {
             for (const uint64_t interval : desk.stepper.timers()) {
                 const bool watches = interval == 3'000'000'000;  // whether the main queue runs
                 if (!watches) desk.gate.record(kHost, std::to_string(interval));
             }
         }},
    };
}

void DesktopTest::learnTheDesktopsWords() {
    const auto change = [this](auto find, auto what) {
        return [this, find, what](Arguments& a) {
            const auto number = a.number<uint32_t>();
            desk.change(find, number, [&](auto& found) { what(found, a); });
        };
    };
    const auto window = [change](auto what) { return change(&Desktop::window, what); };
    const auto application = [change](auto what) { return change(&Desktop::application, what); };
    vocabulary.merge(std::map<std::string, Word>{
        {"plug",
         [this](Arguments& a) {
             const auto number = a.number<uint32_t>();
             desk.addDisplay({.number = number, .bounds = a.rect()});
         }},
        {"unplug",
         [this](Arguments& a) {
             std::erase_if(desk.displays, [n = a.number<uint32_t>()](const auto& d) { return d.number == n; });
         }},
        {"scale", change(&Desktop::display, [](auto& display, auto& a) { display.scale = a.number(); })},
        {"application",
         [this](Arguments& a) {
             const int pid = a.number();
             desk.addApplication({.pid = pid, .name = a.rest()});
         }},
        {"activate", [this](Arguments& a) { desk.activateApplication(a.number()); }},
        {"quit", [this](Arguments& a) { desk.quitApplication(a.number()); }},
        {"hide", application([](auto& each, auto&) { each.hidden = true; })},
        {"show", application([](auto& each, auto&) { each.hidden = false; })},
        {"open",
         [this](Arguments& a) {
             const auto number = a.number<uint32_t>();
             const int pid = a.number();
             const auto bounds = a.rect();
             desk.addWindow({.number = number, .pid = pid, .title = a.rest(), .bounds = bounds});
         }},
        {"close", [this](Arguments& a) { desk.closeWindow(a.number<uint32_t>()); }},
        {"move", window([](auto& each, auto& a) { each.bounds = a.rect(); })},
        {"minimize", window([](auto& each, auto&) { each.minimized = true; })},
        {"restore", window([](auto& each, auto&) { each.minimized = false; })},
        {"picture", window([](auto& each, auto& a) {
             const int width = a.number();
             each.picture = pattern(each.number, width, a.number());
         })},
        {"blank", window([](auto& each, auto& a) {
             const int width = a.number();
             each.picture = filled(width, a.number(), {0, 0, static_cast<uint8_t>(each.number), 255});
         })},
        {"refuse", window([](auto& each, auto&) { each.refuses = platform::NoImage::notPermitted; })},
        {"allow", window([](auto& each, auto&) { each.refuses = platform::NoImage::none; })},
        {"unknown", window([](auto& each, auto&) { each.accessible = false; })},  // to the accessibility service
        {"fail", [this](Arguments& a) { desk.gate.failEvery(a.rest()); }},
        {"frame",  // of the device: size, milliseconds
         [this](Arguments& a) {
             const int width = a.number(), height = a.number();
             const auto buffer = platform::makeCounted<FrameBuffer>(pattern(1, width, height));
             desk.device().produce(buffer, {a.number<int64_t>(), 1000});
         }},
        {"drop", [this](Arguments&) { desk.device().output.lock()->onDropped(platform::NoImage::hostBusy); }},
    });
}

}  // namespace orvo::test
