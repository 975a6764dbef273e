// orvocap doctor: what works here and what does not, and what to do about it.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdio>
#include <nlohmann/json.hpp>

#include "application.h"
#include "capture.h"
#include "lists.h"
#include "orvo/screencapture_additions.h"
#include "process.h"
#include "system.h"
#include "terminal.h"

namespace orvocap {

namespace {

using State = Finding::State;

void examinePermission(OrvoScreenCapturePermission permission, const std::string& name, Findings& findings) {
    const std::string settings = "allow it in System Settings, Privacy & Security, " + name;
    switch (orvo_screencapture_get_permission(permission)) {
        case ORVO_PERMISSION_GRANTED:
            findings.push_back({"permission " + name, State::works, "granted", ""});
            break;
        case ORVO_PERMISSION_RESTART_NEEDED:
            findings.push_back({"permission " + name, State::broken, "granted, not in force yet",
                                "start the terminal, or the program that captures, again"});
            break;
        case ORVO_PERMISSION_NEVER_ASKED:
            findings.push_back({"permission " + name, State::broken, "never asked for", settings});
            break;
        default:
            findings.push_back({"permission " + name, State::broken, "denied", settings});
            break;
    }
}

bool isAllBlack(const Frame& frame) {
    for (size_t i = 0; i < frame.pixels.size(); i += 4) {
        if (frame.pixels[i] || frame.pixels[i + 1] || frame.pixels[i + 2]) return false;
    }
    return true;
}

// A main screen that is black for seconds may be meant so; more often its server shows nothing.
void examinePicture(unsigned int screen, Findings& findings) {
    try {
        const auto frame = takeStill(
            Capture::Path::display,
            [screen] {
                orvo_screencapture_set_target_screen(screen);
                orvo_screencapture_set_cursor_visible(0);  // on a black screen it would be something
            },
            [](const Frame& some) { return !isAllBlack(some); });
        if (!frame) {
            findings.push_back({"capture", State::broken, "no frame came within 5 seconds",
                                "see the log: `orvocap log` prints that of a program"});
            return;
        }
        const std::string size = std::to_string(frame->width) + "x" + std::to_string(frame->height);
        findings.push_back({"capture", State::works, "frames of " + size + " pixels come", ""});
        if (isAllBlack(*frame))
            findings.push_back({"picture", State::limited, "the main screen is black, from corner to corner",
                                "open a window on it and try again; a locked or switched-off screen is black too"});
        else
            findings.push_back({"picture", State::works, "the main screen shows something", ""});
    } catch (const Failure& failure) {
        findings.push_back({"capture", State::broken, failure.what(), "see that the display stays there"});
    }
}

Findings examine() {
    Findings findings;
    findings.push_back({"library", State::works, orvo_screencapture_version(), ""});
    findings.push_back({"orvocap", State::works, version(), ""});
    const std::string whyNone = whyNoScreens();
    if (!whyNone.empty())
        findings.push_back({"session", State::broken, whyNone, "log in to an X11 session to capture screens"});
    else
        examinePermission(ORVO_PERMISSION_SCREEN_RECORDING, "Screen Recording", findings);
    examinePermission(ORVO_PERMISSION_ACCESSIBILITY, "Accessibility", findings);
    std::vector<OrvoScreenCaptureScreenItem> screens;
    try {
        screens = requireScreens();
    } catch (const Failure& failure) {
        // Nothing else can be asked without a display.
        const std::string text = failure.what();
        if (whyNone.empty())
            findings.push_back({"display", State::broken, text, "start one, or set DISPLAY to one: `Xvfb :99 &` does"});
        return findings;
    }
    findings.push_back({"display", State::works, std::to_string(screens.size()) + " to capture", ""});
    examineServer(findings);
    unsigned int windows = 0;
    orvo_screencapture_init();  // before it there are none
    orvo_screencapture_free_window_list(orvo_screencapture_enum_window_list(0, &windows));
    orvo_screencapture_uninit();
    findings.push_back({"windows", State::works, std::to_string(windows) + " on screen", ""});
    examinePicture(screens.front().screenID, findings);
    return findings;
}

const char* name(State state) {
    return state == State::works ? "works" : state == State::limited ? "limited" : "broken";
}

// The answer to the question that the doctor is asked, before everything that it rests on.
Finding verdictOf(const Findings& findings) {
    const auto first = [&](State state) {
        return std::find_if(findings.begin(), findings.end(), [=](const auto& one) { return one.state == state; });
    };
    if (const auto broken = first(State::broken); broken != findings.end())
        return {"verdict", State::broken, "this screen cannot be captured: " + broken->text, ""};
    const auto limits = std::count_if(findings.begin(), findings.end(),
                                      [](const auto& finding) { return finding.state == State::limited; });
    if (limits > 0)
        return {"verdict", State::limited,
                "this screen can be captured, with " + std::to_string(limits) + (limits == 1 ? " limit" : " limits"),
                ""};
    return {"verdict", State::works, "this screen can be captured", ""};
}

void printText(const Findings& findings) {
    for (const auto& finding : findings) {
        std::printf("%-8s %s: %s\n", name(finding.state), finding.subject.c_str(), finding.text.c_str());
        if (!finding.advice.empty()) std::printf("         -> %s\n", finding.advice.c_str());
    }
}

void printFindings(const Findings& findings) {
    auto list = Json::array();
    for (const auto& finding : findings) {
        list.push_back({{"subject", finding.subject},
                        {"state", name(finding.state)},
                        {"text", finding.text},
                        {"advice", finding.advice}});
    }
    printJson(list);
}

ExitCode diagnose(bool asJson) {
    listenForStop();
    Findings findings = examine();
    findings.insert(findings.begin(), verdictOf(findings));
    (asJson ? printFindings : printText)(findings);
    return findings.front().state == State::broken ? exitFailure : exitSuccess;
}

}  // namespace

void addDoctorCommand(CLI::App& app, Action& action) {
    auto* command = app.add_subcommand(
        "doctor",
        "Check what works here, what does not and what to do. Ends with 1 when the screen cannot be captured.");
    auto asJson = std::make_shared<bool>(false);
    command->add_flag("--json", *asJson, "print JSON, for a report of a fault");
    command->footer("  orvocap doctor\n  orvocap doctor --json >report.json\n");
    command->callback([asJson, &action] { action = [asJson] { return diagnose(*asJson); }; });
}

}  // namespace orvocap
