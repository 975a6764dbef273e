// orvocap watch: captures windows and prints what happens to them, a line for each event.
#include <CLI/CLI.hpp>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <memory>

#include "application.h"
#include "capture.h"
#include "events.h"
#include "options.h"
#include "process.h"
#include "system.h"
#include "targets.h"
#include "terminal.h"

namespace orvocap {

namespace {

constexpr int framesPerSecond = 5;  // the slowest: every tick checks the windows once

using Clock = std::chrono::steady_clock;

struct WatchOptions {
    WindowTargets windows;
    double seconds = 0;
    bool all = false;
    bool asJson = false;
};

// A capture whose frames only show that it works, and whose events are collected.
class Watch {
  public:
    Watch()
        : capture_(
              Capture::Path::windows, [this](const FrameView&) { error_ = 0; }, [this](int code) { fail(code); }) {
        listen();
    }

    void start(const WindowTargets& windows) {
        windows.choose(ORVO_WINDOW_MODE_WINDOW);
        orvo_screencapture_set_cursor_visible(0);
        orvo_screencapture_set_fps(framesPerSecond);
        capture_.start();
    }

    std::vector<Event> take() { return events_.take(); }

    // The capture's last error, 0 when frames have come since.
    [[nodiscard]] int error() const { return error_; }

    [[nodiscard]] double seconds() const { return std::chrono::duration<double>(Clock::now() - begin_).count(); }

  private:
    void listen();

    void push(Event event) {
        event.seconds = seconds();
        events_.push(std::move(event));
    }

    void fail(int code) {
        error_ = code;
        push({.kind = Event::Kind::error, .code = code});
    }

    const Clock::time_point begin_ = Clock::now();
    std::atomic<int> error_{0};
    EventQueue events_;
    Capture capture_;  // last, so that it ends first
};

void Watch::listen() {
    orvo_screencapture_reg_captured_window_moved_notify(
        [](unsigned int window, int left, int top, int width, int height, void* self) {
            static_cast<Watch*>(self)->push(
                {.kind = Event::Kind::moved, .window = window, .rect = {left, top, left + width, top + height}});
        },
        this);
    orvo_screencapture_reg_captured_window_status_change_notify(
        [](int status, unsigned int window, OrvoScreenCaptureRect rect, void* self) {
            static_cast<Watch*>(self)->push(
                {.kind = Event::Kind::status, .window = window, .code = status, .rect = rect});
        },
        this);
    orvo_screencapture_reg_capture_process_window_change_notify(
        [](int change, OrvoScreenCaptureProcessWindow window, void* self) {
            static_cast<Watch*>(self)->push(
                {.kind = Event::Kind::process, .window = window.windowID, .code = change, .title = window.title});
        },
        this);
    orvo_windowthumbnail_reg_window_status_change_notify(
        [](int status, OrvoThumbnailWindowInfo* info, void* self) {
            Event event{.kind = Event::Kind::thumbnail, .code = status};
            if (info) {
                event.window = info->windowID;
                event.title = info->title;
                orvo_windowthumbnail_free_windows(info, 1);
            }
            static_cast<Watch*>(self)->push(std::move(event));
        },
        this);
}

// Prints what has come, at once also into a pipe.
void printNew(const std::vector<Event>& events, const WatchOptions& options, EventFilter& filter) {
    for (const Event& event : events) {
        if (!options.all && !filter.isNew(event)) continue;
        print(options.asJson ? eventJson(event) : eventLine(event) + "\n");
    }
    flushOutput();
}

ExitCode watch(WatchOptions& options) {
    if (options.windows.empty()) throw Failure(exitUsage, "no window to watch: name one with --window");
    options.windows.resolve();
    listenForStop();
    Watch watched;
    EventFilter filter;
    watched.start(options.windows);
    while (!stopRequested() && (options.seconds <= 0 || watched.seconds() < options.seconds)) {
        runMainQueue(mainQueueSlice);
        printNew(watched.take(), options, filter);
        if (watched.error() == ORVO_CAPTURE_ERROR_INTERRUPTED) break;
    }
    if (const int code = watched.error())
        throw Failure(exitFailure, "the capture has failed: " + captureErrorText(code));
    return exitSuccess;
}

}  // namespace

void addWatchCommand(CLI::App& app, Action& action) {
    auto* command = app.add_subcommand("watch", "Capture windows and print what happens to them, as it happens.");
    auto options = std::make_shared<WatchOptions>();
    options->windows.addTo(*command);
    addSeconds(*command, options->seconds, "how long, such as 10, 1:30 or 5m; until Ctrl-C by default");
    command->add_flag("--all", options->all, "print also what is reported again with every tick");
    command->add_flag("--json", options->asJson, "print a JSON object a line");
    command->footer("  orvocap watch --window firefox\n  orvocap watch --window pick --json -t 10\n");
    command->callback([options, &action] { action = [options] { return watch(*options); }; });
}

}  // namespace orvocap
