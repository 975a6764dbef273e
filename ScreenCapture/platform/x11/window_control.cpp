// Orders to windows, the way a window manager expects them.
#include "ScreenCapture/platform/x11/window_control.h"

#include <array>
#include <atomic>
#include <chrono>
#include <mutex>

#include "ScreenCapture/platform/version.h"
#include "ScreenCapture/platform/x11/applications.h"
#include "ScreenCapture/platform/x11/desktop.h"
#include "ScreenCapture/platform/x11/server.h"

namespace orvo::platform::x11 {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::milliseconds kManagerLimit{200};
constexpr std::chrono::milliseconds kLateManagerLimit{20};
constexpr std::chrono::milliseconds kLateTime{400};  // for that long a manager counts as late
constexpr int kMaxDialogs = 8;                       // above each other
constexpr uint32_t kFromPager = 2;                   // the source of an order that the user gave

bool isSent(const Server::Use& x) {
    if (x) x->flush();
    return static_cast<bool>(x);
}

bool send(const Server::Use& x, xcb_window_t receiver, xcb_window_t window, uint32_t mask, xcb_atom_t type,
          const std::array<uint32_t, 5>& data) {
    if (!x) return false;
    xcb_client_message_event_t message{};
    message.response_type = XCB_CLIENT_MESSAGE;
    message.format = 32;
    message.window = window;
    message.type = type;
    for (size_t i = 0; i < data.size(); ++i) message.data.data32[i] = data[i];
    xcb_send_event(x->raw(), 0, receiver, mask, reinterpret_cast<const char*>(&message));
    return isSent(x);
}

bool sendToManager(const Server::Use& x, xcb_window_t window, xcb_atom_t type, const std::array<uint32_t, 5>& data) {
    return x && send(x, x->root(), window, XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY,
                     type, data);
}

// The window that was last activated. It counts as the last active one of its process from the order on:
// what is ordered next, for the process, goes to the same window however late the manager is.
struct Activation {
    std::mutex mutex;
    xcb_window_t window = 0;
    uint64_t focused = 0;
};
Activation& lastActivation() {
    static Activation& one = *new Activation;
    return one;
}

void noteActivation(xcb_window_t window) {
    std::lock_guard lock(lastActivation().mutex);
    lastActivation().window = window;
    lastActivation().focused = nextVersion();
}

uint64_t focusOf(const DesktopWindow& window) {
    std::lock_guard lock(lastActivation().mutex);
    const Activation& last = lastActivation();
    return last.window == window.number ? std::max(last.focused, window.focused) : window.focused;
}

// The frontmost of those that never had it. A minimised one only without another.
const DesktopWindow* lastActiveWindow(const WindowList& windows, int32_t pid) {
    const DesktopWindow* last = nullptr;
    for (const DesktopWindow* window : windowsOfProcess(windows, pid)) {
        const auto rank = [](const DesktopWindow& each) { return std::pair(!each.minimized, focusOf(each)); };
        if (!last || rank(*window) > rank(*last)) last = window;
    }
    return last;
}

// A manager gives the focus to the modal dialog of a window, or of its whole group, instead of the window.
bool hasFocus(const WindowList& windows, xcb_window_t number) {
    if (windows.active == number) return true;
    const DesktopWindow* const wanted = windows.find(number);
    const DesktopWindow* holder = windows.find(windows.active);
    if (!wanted || !holder || !holder->modal) return false;
    const int32_t pid = holder->pid;
    for (int depth = 0; holder && depth < kMaxDialogs; ++depth) {
        if (holder->transientFor == number) return true;
        const DesktopWindow* owner = windows.find(holder->transientFor);
        if (!owner) break;
        holder = owner->transientFor != 0 ? owner : nullptr;
    }
    return holder && pid == wanted->pid;
}

bool raiseAndFocus(Server::Use& x, xcb_window_t window) {
    return raiseWindow(x, window) &&
           x->succeeded(xcb_set_input_focus_checked(x->raw(), XCB_INPUT_FOCUS_POINTER_ROOT, window, XCB_CURRENT_TIME));
}

}  // namespace

bool awaitWindows(const std::function<bool(const WindowList&)>& condition) {
    static std::atomic<Clock::time_point> lateSince{Clock::time_point{}};
    const auto start = Clock::now();
    const auto until = start + (start - lateSince.load() < kLateTime ? kLateManagerLimit : kManagerLimit);
    Server::Use x = desktopServer().use();
    while (true) {
        const auto desktop = latestDesktop(x);
        if (!x || !desktop) return false;
        if (condition(*desktop->windows)) return true;
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(until - Clock::now());
        if (left.count() <= 0) break;
        x.waitForEvent(left);
    }
    lateSince = Clock::now();
    return false;
}

bool activateWindow(xcb_window_t window) {
    {
        Server::Use x = desktopServer().use();
        const auto desktop = latestDesktop(x);
        if (!x || !desktop) return false;
        noteActivation(window);
        if (!desktop->windows->keepsHints) return raiseAndFocus(x, window);
        if (!sendToManager(x, window, x->atoms().NET_ACTIVE_WINDOW,
                           {kFromPager, XCB_CURRENT_TIME, desktop->windows->active}))
            return false;
    }
    return awaitWindows([=](const WindowList& windows) { return hasFocus(windows, window); });
}

bool activateProcess(int32_t pid) {
    const auto desktop = latestDesktop();
    if (!desktop) return false;
    if (desktop->windows->activeProcess() == pid) return true;
    const DesktopWindow* const window = lastActiveWindow(*desktop->windows, pid);
    return window && activateWindow(window->number);
}

bool raiseWindow(const Server::Use& x, xcb_window_t window) {
    const uint32_t above = XCB_STACK_MODE_ABOVE;
    if (x) xcb_configure_window(x->raw(), window, XCB_CONFIG_WINDOW_STACK_MODE, &above);
    return isSent(x);
}

bool minimizeWindow(const Server::Use& x, xcb_window_t window) {
    constexpr uint32_t kIconicState = 3;
    return sendToManager(x, window, x->atoms().WM_CHANGE_STATE, {kIconicState});
}

bool restoreWindow(const Server::Use& x, xcb_window_t window) {
    if (x) xcb_map_window(x->raw(), window);
    return isSent(x);
}

bool setFullScreen(const Server::Use& x, xcb_window_t window, bool fullScreen) {
    return sendToManager(x, window, x->atoms().NET_WM_STATE,
                         {fullScreen ? 1U : 0U, x->atoms().NET_WM_STATE_FULLSCREEN, 0, kFromPager});
}

bool requestClose(const Server::Use& x, xcb_window_t window) {
    return send(x, window, window, XCB_EVENT_MASK_NO_EVENT, x->atoms().WM_PROTOCOLS, {x->atoms().WM_DELETE_WINDOW});
}

}  // namespace orvo::platform::x11
