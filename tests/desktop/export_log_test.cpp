// What every export logs and answers: before init, after init, with a window excluded.
#include <fstream>
#include <map>
#include <regex>
#include <sstream>

#include "ScreenCapture/api/OrvoScreenCaptureImpl.h"
#include "support/desktop/host.h"
#include "support/every_export.h"

namespace orvo::test {
namespace {

// The callback is an address that nobody calls.
template <typename Callback>
Callback callbackOf(void (*)(Callback, void*));
#define REGISTER(call)                                                                                                                            \
    ExportCall {                                                                                                                                  \
#call "()", [](const With&) { return answerOf([] { call(reinterpret_cast<decltype(callbackOf(call))>(0x10), reinterpret_cast<void*>(0x20)); }); } \
    }

const ExportCall registrations[] = {
    REGISTER(orvo_screencapture_reg_capture_error_notify),
    REGISTER(orvo_screencapture_reg_captured_window_moved_notify),
    REGISTER(orvo_screencapture_reg_captured_frame_available_notify),
    REGISTER(orvo_screencapture_reg_mutiple_captured_frame_available_notify),
    REGISTER(orvo_screencapture_reg_captured_window_status_change_notify),
    REGISTER(orvo_screencapture_reg_capture_process_window_change_notify),
    REGISTER(orvo_windowthumbnail_reg_window_status_change_notify),
};

const With numbers{1, 7, 4000000000, [](bool good) { EXPECT_TRUE(good); }};

class ExportLog : public DesktopTest {
  protected:
    // The answer, the lines of the call, and, further in, those of the steps that it queues.
    Lines logOf(const ExportCall& call) {
        takeLog();
        Lines lines{call.make(numbers)};
        logInto(lines, "    ");
        runSteps();
        logInto(lines, "        ");
        return lines;
    }
    Lines logWithoutFacade(const ExportCall& call) {
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
    desk.permission = platform::PermissionState::restartNeeded;
    const std::pair<const char*, const char*> states[] = {
        {"before init", ""}, {"after init", "init"}, {"a window is excluded", "init, exclude 7, steps"}};
    struct Texts {
        std::string all;
        Lines first, last;  // of states
    };
    std::vector<ExportCall> calls(std::begin(everyExport), std::end(everyExport));
    calls.insert(calls.end(), std::begin(registrations), std::end(registrations));
    std::map<const ExportCall*, Texts> texts;
    for (const auto& [name, steps] : states) {
        for (const ExportCall& call : calls) {
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
    for (const ExportCall& call : calls) {
        text += std::string(call.text) + texts[&call].all;
        const Lines without = logWithoutFacade(call);
        EXPECT_LE(without.size(), 2u + static_cast<size_t>(std::count(call.text, std::strchr(call.text, 0), ' ')));
        const Lines& before = texts[&call].first;
        if (without[0] != before[0]) text += "  without a facade" + without[0] + "\n";
        EXPECT_TRUE(
            std::all_of(without.begin() + 1, without.end(), [&](auto& line) { return contains(before, line); }));
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
