// Orders to windows, the way a window manager expects them.
#include "ScreenCapture/platform/x11/window_control.h"

#include <array>
#include <chrono>
#include <thread>

#include "ScreenCapture/platform/x11/asking.h"
#include "ScreenCapture/platform/x11/desktop_model.h"

namespace orvo::platform::x11 {
namespace {

constexpr std::chrono::milliseconds kManagerLimit{200};
constexpr std::chrono::milliseconds kLookAgain{4};
constexpr uint32_t kFromPager = 2;  // the source of an order that the user gave

bool send(const Asking& asking, xcb_window_t receiver, xcb_window_t window, uint32_t mask, xcb_atom_t type,
          const std::array<uint32_t, 5>& data) {
    xcb_client_message_event_t message{};
    message.response_type = XCB_CLIENT_MESSAGE;
    message.format = 32;
    message.window = window;
    message.type = type;
    for (size_t i = 0; i < data.size(); ++i) message.data.data32[i] = data[i];
    xcb_send_event(asking->raw(), 0, receiver, mask, reinterpret_cast<const char*>(&message));
    asking->flush();
    return !asking->lost();
}

bool tellManager(const Asking& asking, xcb_window_t window, xcb_atom_t type, const std::array<uint32_t, 5>& data) {
    return send(asking, asking->root(), window,
                XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY, type, data);
}

bool hasManager() {
    const auto desktop = currentDesktop();
    return desktop && desktop->windows->hasManager;
}

bool raiseAndFocus(xcb_window_t window) {
    const Asking asking;
    if (!asking) return false;
    const uint32_t above = XCB_STACK_MODE_ABOVE;
    xcb_configure_window(asking->raw(), window, XCB_CONFIG_WINDOW_STACK_MODE, &above);
    return asking->succeeded(
        xcb_set_input_focus_checked(asking->raw(), XCB_INPUT_FOCUS_POINTER_ROOT, window, XCB_CURRENT_TIME));
}

}  // namespace

bool awaitWindows(const std::function<bool(const WindowList&)>& condition) {
    const auto until = std::chrono::steady_clock::now() + kManagerLimit;
    while (true) {
        const auto desktop = latestDesktop();
        if (!desktop) return false;
        if (condition(*desktop->windows)) return true;
        if (std::chrono::steady_clock::now() >= until) return false;
        std::this_thread::sleep_for(kLookAgain);
    }
}

bool activateWindow(xcb_window_t window) {
    if (!hasManager()) return raiseAndFocus(window);
    if (const Asking asking; !asking || !tellManager(asking, window, asking.atoms().NET_ACTIVE_WINDOW, {kFromPager}))
        return false;
    return awaitWindows([=](const WindowList& windows) { return windows.active == window; });
}

bool raiseWindow(xcb_window_t window) {
    const Asking asking;
    if (!asking) return false;
    const uint32_t above = XCB_STACK_MODE_ABOVE;
    xcb_configure_window(asking->raw(), window, XCB_CONFIG_WINDOW_STACK_MODE, &above);
    asking->flush();
    return !asking->lost();
}

bool iconifyWindow(xcb_window_t window) {
    constexpr uint32_t kIconicState = 3;
    const bool managed = hasManager();
    const Asking asking;
    if (!asking) return false;
    if (managed) return tellManager(asking, window, asking.atoms().WM_CHANGE_STATE, {kIconicState});
    xcb_unmap_window(asking->raw(), window);
    asking->flush();
    return !asking->lost();
}

bool restoreWindow(xcb_window_t window) {
    const Asking asking;
    if (!asking) return false;
    xcb_map_window(asking->raw(), window);
    asking->flush();
    return !asking->lost();
}

bool setFullScreen(xcb_window_t window, bool fullScreen) {
    const Asking asking;
    return asking && tellManager(asking, window, asking.atoms().NET_WM_STATE,
                                 {fullScreen ? 1U : 0U, asking.atoms().NET_WM_STATE_FULLSCREEN, 0, kFromPager});
}

bool askToClose(xcb_window_t window) {
    const Asking asking;
    return asking && send(asking, window, window, XCB_EVENT_MASK_NO_EVENT, asking.atoms().WM_PROTOCOLS,
                          {asking.atoms().WM_DELETE_WINDOW});
}

}  // namespace orvo::platform::x11
