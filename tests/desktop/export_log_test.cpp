// What every export logs and answers: before init, after init, with a window excluded.
#include <fstream>
#include <map>
#include <regex>
#include <sstream>

#include "ScreenCapture/api/OrvoScreenCaptureImpl.h"
#include "orvo/screencapture_additions.h"
#include "support/desktop/host.h"

namespace orvo::test {
namespace {

struct Call {
    const char* text;
    std::function<std::string()> make;  // its answer as a text
};

template <typename Function>
std::string answerOf(Function call) {
    if constexpr (std::is_integral_v<decltype(call())>)
        return " = " + std::to_string(call());
    else
        return call(), "";
}
#define CALL(call)                                          \
    Call {                                                  \
#call, [] { return answerOf([] { return call; }); } \
    }
// The callback is an address that nobody calls.
template <typename Callback>
Callback callbackOf(void (*)(Callback, void*));
#define REGISTER(call)                                                                                                 \
    Call {                                                                                                             \
#call,                                                                                                         \
            [] { return call(reinterpret_cast<decltype(callbackOf(call))>(0x10), reinterpret_cast<void*>(0x20)), ""; } \
    }

unsigned int ids[] = {7, 4000000000}, count;
int windowCount;
OrvoScreenCaptureScreenItem* screens;
OrvoThumbnailWindowInfo* windows;
OrvoScreenCaptureWindowItem* plain;
OrvoScreenCaptureRect rect;

const Call calls[] = {
    CALL(orvo_screencapture_init()),
    CALL(orvo_screencapture_start_capture()),
    CALL(orvo_screencapture_stop_capture()),
    CALL(orvo_screencapture_is_capturing()),
    CALL(orvo_screencapture_set_fps(5)),
    CALL(orvo_screencapture_set_fps(30)),
    CALL(orvo_screencapture_set_fps(4)),
    CALL(orvo_screencapture_set_fps(31)),
    CALL(orvo_screencapture_set_excluded_windows(ids, 2, false)),
    CALL(orvo_screencapture_set_excluded_windows(nullptr, -1, true)),
    CALL(orvo_screencapture_set_timestamp_offset(~0ull)),
    CALL(orvo_screencapture_set_resolution(640, -1)),
    CALL(orvo_screencapture_set_resolution_mode(9)),
    CALL(orvo_screencapture_set_target_window(4000000000)),
    CALL(orvo_screencapture_set_target_window(0)),
    CALL(orvo_screencapture_set_extra_target_windows(ids, 2, true)),
    CALL(orvo_screencapture_set_target_window_mode(5)),
    CALL(orvo_screencapture_set_target_window_rect(-1, 2, 3, 4)),
    CALL(orvo_screencapture_set_target_rect(1, 10, 100, 800, 500)),
    CALL(orvo_screencapture_set_target_rect(77, 1, 2, 3, 4)),
    CALL(orvo_screencapture_set_target_screen(1)),
    CALL(orvo_screencapture_set_cursor_visible(2)),
    CALL(orvo_screencapture_enable_click_animation(0)),
    CALL(orvo_screencapture_set_capture_video_pixel_format(7)),
    CALL(orvo_screencapture_activate_window_when_capturing(1)),
    REGISTER(orvo_screencapture_reg_capture_error_notify),
    REGISTER(orvo_screencapture_reg_captured_window_moved_notify),
    REGISTER(orvo_screencapture_reg_captured_frame_available_notify),
    REGISTER(orvo_screencapture_reg_mutiple_captured_frame_available_notify),
    REGISTER(orvo_screencapture_reg_captured_window_status_change_notify),
    REGISTER(orvo_screencapture_reg_capture_process_window_change_notify),
    REGISTER(orvo_windowthumbnail_reg_window_status_change_notify),
    CALL(screens = orvo_screencapture_enum_screen_list(&count)),
    CALL(orvo_screencapture_free_screen_list(screens)),
    CALL(windows = orvo_windowthumbnail_find_windows(&windowCount)),
    CALL(orvo_windowthumbnail_free_windows(windows, windowCount)),
    CALL(plain = orvo_screencapture_enum_window_list(1, &count)),
    CALL(orvo_screencapture_free_window_list(plain)),
    CALL(windows = orvo_screencapture_enum_window_list(1, &windowCount)),
    CALL(orvo_screencapture_free_window_list(windows)),
    CALL(orvo_windowthumbnail_find_windows_async(false)),
    CALL(orvo_screencapture_get_virtual_desktop_rect()),
    CALL(orvo_screencapture_get_window_rect(7, &rect)),
    CALL(orvo_windowthumbnail_register(7)),
    CALL(orvo_windowthumbnail_unregister(7)),
    CALL(orvo_windowthumbnail_show_source_window(7, ORVO_SHOW_WINDOW_FRONT)),
    CALL(orvo_windowthumbnail_show_source_window(7, 3)),
    CALL(orvo_windowthumbnail_window_checkStatus(7)),
    CALL(orvo_windowthumbnail_register(7, 0, &rect)),
    CALL(orvo_windowthumbnail_update(0, &rect)),
    CALL(orvo_screencapture_uninit()),
};

class ExportLog : public DesktopTest {
  protected:
    // The answer, the lines of the call, and, further in, those of the steps that it queues.
    Lines logOf(const Call& call) {
        takeLog();
        Lines lines{call.make()};
        logInto(lines, "    ");
        runSteps();
        logInto(lines, "        ");
        return lines;
    }
    Lines logWithoutFacade(const Call& call) {
        OrvoScreenCaptureImpl* const facade = std::exchange(g_pScreenCaptureImpl, nullptr);
        auto lines = logOf(call);
        g_pScreenCaptureImpl = facade;
        return lines;
    }

  private:
    // Addresses are left out.
    void logInto(Lines& lines, const char* indent) {
        static const std::regex address("(ptr: |resolution_mode )-?[0-9]+(ll|$)");
        for (const auto& line : takeLog()) lines.push_back(indent + std::regex_replace(line, address, "$1ADDRESS$2"));
    }
};

// Each call with its answer and lines in every state. A state that differs from the one before names what differs: the
// lines at the beginning that are the same are counted. Without the facade a call logs its own line and does nothing.
TEST_F(ExportLog, IsAsRecorded) {
    perform("plug 2 1920 0 8 6, open 7 100 0 0 40 30 Letter");
    const std::pair<const char*, const char*> states[] = {
        {"before init", ""}, {"after init", "init"}, {"a window is excluded", "init, exclude 7, steps"}};
    struct Texts {
        std::string all;
        Lines first, last;  // of states
    };
    std::map<const Call*, Texts> texts;
    for (const auto& [name, steps] : states) {
        for (const Call& call : calls) {
            auto& [all, first, last] = texts[&call];
            perform(steps);
            const Lines now = logOf(call);
            if (now != last) {
                const auto known = last.empty() ? last.begin() : last.begin() + 1;
                auto line = std::mismatch(now.begin() + 1, now.end(), known, last.end()).first;
                const auto same = line - now.begin() - 1;
                if (!last.empty()) all += std::string("  ") + name;
                all += now[0] + (same ? ", after " + std::to_string(same) + " of them\n" : "\n");
                for (; line != now.end(); ++line) all += *line + "\n";
            }
            if (last.empty()) first = now;
            last = now;
            perform("uninit, settle");
        }
    }
    std::string text;
    for (const Call& call : calls) {
        text += std::string(call.text) + texts[&call].all;
        const Lines without = logWithoutFacade(call);
        EXPECT_LE(without.size(), 2u) << call.text;
        EXPECT_TRUE(std::equal(without.begin(), without.end(), texts[&call].first.begin())) << call.text;
    }
    std::ifstream file(EXPORT_LOG);
    std::ostringstream recorded;
    recorded << file.rdbuf();
    // What is described changes with the description: read the difference before it is recorded.
    if (std::getenv("ORVO_TEST_RECORD")) std::ofstream(EXPORT_LOG) << text;
    EXPECT_EQ(text, recorded.str());
}

}  // namespace
}  // namespace orvo::test
