// A capture under churn: targets, modes and lists change from another thread while windows are resized, unmapped and
// destroyed under it. A few rounds always, a thousand with ./dev test --full.
#include <gtest/gtest.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <thread>

#include "ScreenCapture/platform/linux/main_queue.h"
#include "orvo/screencapture.h"
#include "support/open_files.h"
#include "support/x11/x_server.h"
#include "support/x11/x_windows.h"

namespace orvo::testing {
namespace {

long residentPages() {
    long size = 0, resident = 0;
    FILE* file = std::fopen("/proc/self/statm", "r");
    const int read = std::fscanf(file, "%ld %ld", &size, &resident);
    std::fclose(file);
    return read == 2 ? resident : 0;
}

void countFrame(const char*, unsigned int, const OrvoScreenCaptureFrameFormat*, unsigned long long, unsigned int,
                void* frames) {
    ++*static_cast<std::atomic<int>*>(frames);
}

// What a restless host does.
void changeEverything(unsigned int round, unsigned int steady, unsigned int victim) {
    orvo_screencapture_set_target_window(round % 3 == 0 ? victim : steady);
    orvo_screencapture_set_extra_target_windows(&victim, 1, round % 2 == 0);
    orvo_screencapture_set_excluded_windows(&victim, 1, round % 4 < 2);
    orvo_screencapture_set_target_window_mode(round % 5 == 0 ? 5 : round % 5 == 1 ? 3 : 1);
    orvo_screencapture_set_resolution(round % 7 == 0 ? 80 : 0, 60);
    orvo_screencapture_start_capture();
}

TEST(Churn, CaptureGoesOnAndNothingGrows) {
    const unsigned int rounds = std::getenv("ORVO_TEST_FULL") ? 1000 : 40;
    XServer server("640x480x24");
    Windows windows(server);
    const auto steady = windows.make({.area = {10, 10, 200, 150}, .title = "steady"});
    std::atomic<int> frames{0};
    orvo_screencapture_init();
    orvo_screencapture_reg_captured_frame_available_notify(countFrame, &frames);
    orvo_screencapture_set_fps(30);

    int files = 0;
    long pages = 0;
    for (unsigned int round = 0; round < rounds; ++round) {
        const auto victim = windows.make({.area = {60, 60, 120, 90}, .title = "victim"});
        std::thread host([=] { changeEverything(round, steady, victim); });
        platform::linux::runMainQueue(10);
        windows.resize(victim, 100 + static_cast<int>(round % 50), 80);
        windows.paintPattern(steady, 200, 150);
        if (round % 2 == 0) windows.unmap(victim);
        platform::linux::runMainQueue(10);
        host.join();
        windows.painter().destroy(victim);
        platform::linux::runMainQueue(5);
        if (round == rounds / 2) {
            files = openFiles();
            pages = residentPages();
        }
    }
    // A window that the last rounds did not leave behind may still hold a connection.
    EXPECT_LE(openFiles(), files + 12);
    EXPECT_LT(residentPages() - pages, 4096) << "more than 16 MB";

    orvo_screencapture_set_resolution(0, 0);
    orvo_screencapture_set_target_window_mode(1);
    orvo_screencapture_set_target_window(steady);
    orvo_screencapture_start_capture();
    frames = 0;
    for (int i = 0; i < 500 && frames < 3; ++i) platform::linux::runMainQueue(10);
    EXPECT_GE(frames, 3);
    orvo_screencapture_uninit();
}

}  // namespace
}  // namespace orvo::testing
