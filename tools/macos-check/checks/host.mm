// A host of the C interface over the library's own logic, on the stand-ins.
#include <AppKit/AppKit.h>

#include <atomic>
#include <thread>

#include "orvo/screencapture.h"
#include "orvo/screencapture_additions.h"
#include "tools/macos-check/checks/checks.h"

using standin::desk;
using standin::runMainQueueFor;

namespace {

std::atomic<int> frames{0}, missing{0}, firstByte{-1};
std::atomic<int> lastError{0};

void onFrame(const char* data, unsigned int, const OrvoScreenCaptureFrameFormat*, unsigned long long, unsigned int,
             void*) {
    ++frames;
    firstByte = static_cast<unsigned char>(data[0]);
}
void onStatus(int status, unsigned int, OrvoScreenCaptureRect, void*) {
    if (status == ORVO_WINDOW_STATUS_MISSING) ++missing;
}
void onError(int code, void*) {
    lastError = code;
}

void begin() {
    frames = missing = lastError = 0;
    orvo_screencapture_init();
    orvo_screencapture_reg_captured_frame_available_notify(onFrame, nullptr);
    orvo_screencapture_reg_captured_window_status_change_notify(onStatus, nullptr);
    orvo_screencapture_reg_capture_error_notify(onError, nullptr);
    orvo_screencapture_set_fps(30);
}
void end() {
    orvo_screencapture_stop_capture();
    runMainQueueFor(20);
    orvo_screencapture_uninit();
    standin::settle();
}
std::string reason() {
    OrvoScreenCaptureStatistics statistics = ORVO_SCREENCAPTURE_STATISTICS_INIT;
    orvo_screencapture_get_statistics(&statistics);
    return statistics.lastErrorReason;
}

void windows() {
    begin();
    orvo_screencapture_set_target_window(7);
    orvo_screencapture_start_capture();
    runMainQueueFor(400);
    EXPECT(frames > 5 && firstByte == 7 && missing == 0);
    // The other window's application hangs: its window is not missing, and the first goes on.
    desk().applications.push_back({55, "Hung", false, false, true});
    desk().windows.push_back({12, 55, 0, 1, CGRectMake(0, 0, 9, 9), "Hung", "Hung"});
    unsigned int extra = 12;
    orvo_screencapture_set_extra_target_windows(&extra, 1, true);
    frames = 0;
    runMainQueueFor(300);
    EXPECT(frames > 5 && missing == 0);
    // A window that closes in the middle of a tick.
    desk().onPicture = [] {
        std::lock_guard guard(desk().lock);
        if (!desk().windows.empty() && desk().windows.front().number == 7) desk().windows.erase(desk().windows.begin());
    };
    runMainQueueFor(100);
    firstByte = -1;
    runMainQueueFor(100);
    EXPECT(firstByte != 7 && orvo_screencapture_is_capturing());
    EXPECT(!reason().empty());
    end();
}

// A display without the permission works and shows the bare desktop: the reason says so.
void unpermitted() {
    desk().isPermitted = false;
    begin();
    orvo_screencapture_set_target_screen(1);
    orvo_screencapture_start_capture();
    runMainQueueFor(50);
    standin::deliverSample(1);
    runMainQueueFor(20);
    EXPECT(frames == 1 && reason().find("permitted") != std::string::npos);
    standin::stopSessionBySystem(true);
    runMainQueueFor(30);
    EXPECT(lastError == ORVO_CAPTURE_ERROR_INTERRUPTED && reason().find("stopped") != std::string::npos);
    end();
    desk().isPermitted = true;
}

// A display that goes ends the capture of it with the error.
void unplugged() {
    begin();
    unsigned int excluded = 9;
    orvo_screencapture_set_target_window(2);
    orvo_screencapture_set_excluded_windows(&excluded, 1, true);
    orvo_screencapture_start_capture();
    runMainQueueFor(200);
    EXPECT(frames > 2);
    {
        std::lock_guard guard(desk().lock);
        desk().displays.pop_back();
    }
    runMainQueueFor(100);
    EXPECT(lastError == ORVO_CAPTURE_ERROR_NO_CONTENT && !orvo_screencapture_is_capturing());
    end();
}

void cycles() {
    begin();
    for (int i = 0; i < 200; ++i) {
        i % 2 ? orvo_screencapture_set_target_screen(1) : orvo_screencapture_set_target_window(9);
        orvo_screencapture_start_capture();
        standin::runMainQueue();
        orvo_screencapture_stop_capture();
        standin::runMainQueue();
    }
    standin::settle();
    EXPECT(!orvo_screencapture_is_capturing());
    end();
}

}  // namespace

void checks::checkHost() {
    windows();
    setDesk();
    unpermitted();
    setDesk();
    unplugged();
    setDesk();
    cycles();
}
