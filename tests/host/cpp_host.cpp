// A host in C++: reaches the exports with C++ linkage beside those with C linkage, captures from a lambda.
#include <cstdlib>
#include <type_traits>

#include "check.h"
#include "orvo/screencapture_linux.h"

// The lists that differ only in their parameters are two exports.
static_assert(std::is_same_v<decltype(orvo_screencapture_enum_window_list(0, static_cast<unsigned int*>(nullptr))),
                             OrvoScreenCaptureWindowItem*>);
static_assert(std::is_same_v<decltype(orvo_screencapture_enum_window_list(0, static_cast<int*>(nullptr))),
                             OrvoThumbnailWindowInfo*>);

namespace {

void capture() {
    unsigned int count = 0;
    OrvoScreenCaptureScreenItem* screens = orvo_screencapture_enum_screen_list(&count);
    const unsigned int screen = count ? screens[0].screenID : 0;
    orvo_screencapture_free_screen_list(screens);

    int frames = 0;
    orvo_screencapture_init();
    orvo_screencapture_reg_captured_window_moved_notify([](unsigned int, int, int, int, int, void*) {}, nullptr);
    orvo_screencapture_reg_captured_frame_available_notify(
        [](const char*, unsigned int, const OrvoScreenCaptureFrameFormat*, unsigned long long, unsigned int,
           void* user) { ++*static_cast<int*>(user); },
        &frames);
    orvo_screencapture_set_target_screen(screen);
    orvo_screencapture_start_capture();
    for (int i = 0; i < 500 && frames < 2; ++i) orvo_screencapture_run_main_queue(10);
    CHECK(frames >= 2);
    orvo_screencapture_uninit();
}

}  // namespace

int main() {
    capture();
    return failures ? EXIT_FAILURE : EXIT_SUCCESS;
}
