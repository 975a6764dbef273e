// Windows of a program that repaints them when it is asked to.
#include "support/x11/repainter.h"

#include <algorithm>
#include <cstdlib>
#include <stdexcept>

namespace orvo::testing {
namespace {

constexpr Area kContent{0, 0, 400, 400};  // windows are smaller

void await(const char* what, const std::function<bool()>& condition) {
    if (!comesAbout(condition)) throw std::runtime_error(what);
}

}  // namespace

Repainter::Repainter(Windows& windows) : windows_(windows), probe_(xcb_generate_id(windows.raw())) {
    xcb_create_window(windows.raw(), XCB_COPY_FROM_PARENT, probe_, windows.root(), 0, 0, 1, 1, 0,
                      XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT, 0, nullptr);
    thread_ = std::thread([this] { run(); });
}

Repainter::~Repainter() {
    windows_.message(probe_, probe_, "_ORVO_TEST_ANSWER", {0});
    thread_.join();
}

xcb_window_t Repainter::make(const WindowWish& wish, bool hasBackground) {
    const xcb_window_t window = windows_.make(wish);
    const xcb_pixmap_t content = xcb_generate_id(windows_.raw());
    xcb_create_pixmap(windows_.raw(), wish.hasAlpha ? 32 : 24, content, windows_.root(), kContent.width,
                      kContent.height);
    windows_.fill(content, kContent, wish.background ^ 0xFFFFFF);
    {
        std::lock_guard lock(mutex_);
        contents_[window] = content;
    }
    const uint32_t none[] = {XCB_BACK_PIXMAP_NONE, XCB_EVENT_MASK_EXPOSURE};
    xcb_change_window_attributes(windows_.raw(), window, XCB_CW_EVENT_MASK, none + 1);
    if (!hasBackground) xcb_change_window_attributes(windows_.raw(), window, XCB_CW_BACK_PIXMAP, none);
    windows_.copy(content, kContent, window, 0, 0);
    return window;
}

void Repainter::paint(xcb_window_t window, const Area& area, uint32_t colour) {
    windows_.fill(contents_.at(window), area, colour);
    windows_.fill(window, area, colour);
}

// Events are answered in the order in which they come, so the answer to a question follows those to all before it.
void Repainter::settle() {
    for (int i = 0; i < 2; i++) {
        windows_.sync();
        const auto supported = windows_.numbers(windows_.root(), "_NET_SUPPORTED");
        if (std::count(supported.begin(), supported.end(), windows_.atom("_NET_REQUEST_FRAME_EXTENTS")) > 0) {
            windows_.setNumbers(probe_, "_NET_FRAME_EXTENTS", {});
            windows_.tellManager(probe_, "_NET_REQUEST_FRAME_EXTENTS", {});
            await("the window manager does not answer",
                  [&] { return !windows_.numbers(probe_, "_NET_FRAME_EXTENTS").empty(); });
        }
        windows_.message(probe_, probe_, "_ORVO_TEST_ANSWER", {++asked_});
        await("the repainting thread does not answer", [&] { return answered_ == asked_; });
    }
    // The server paints redirected windows into the root when it has nothing else to do: between the two.
    windows_.sync();
    windows_.sync();
}

void Repainter::run() {
    while (auto* event = xcb_wait_for_event(windows_.raw())) {
        const int type = event->response_type & 0x7F;
        if (type == XCB_EXPOSE) {
            const auto& expose = *reinterpret_cast<xcb_expose_event_t*>(event);
            std::lock_guard lock(mutex_);
            if (const auto found = contents_.find(expose.window); found != contents_.end())
                windows_.copy(found->second, {expose.x, expose.y, expose.width, expose.height}, expose.window, expose.x,
                              expose.y);
        }
        const auto& message = *reinterpret_cast<xcb_client_message_event_t*>(event);
        const bool isAnswer = type == XCB_CLIENT_MESSAGE && message.window == probe_;
        const uint32_t number = isAnswer ? message.data.data32[0] : 1;
        std::free(event);
        if (number == 0) return;
        if (isAnswer) answered_ = number;
    }
}

}  // namespace orvo::testing
