// The library's screen list as a vector.
#include "screen_list.h"

#include <cstdlib>

#include "failure.h"

namespace orvocap {

std::vector<OrvoScreenCaptureScreenItem> listScreens() {
    unsigned int count = 0;
    OrvoScreenCaptureScreenItem* list = orvo_screencapture_enum_screen_list(&count);
    std::vector<OrvoScreenCaptureScreenItem> screens(list, list + (list ? count : 0));
    orvo_screencapture_free_screen_list(list);
    return screens;
}

std::vector<OrvoScreenCaptureScreenItem> requireScreens() {
    auto screens = listScreens();
    if (!screens.empty()) return screens;
    const char* display = std::getenv("DISPLAY");
    if (!display || !*display) throw Failure(exitNoTarget, "no display: DISPLAY is not set; set it to your X server");
    throw Failure(exitNoTarget, std::string("no screen on display ") + display +
                                    ": is its X server running, and may this user connect to it?");
}

}  // namespace orvocap
