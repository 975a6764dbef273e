// Windows of a program that repaints them when it is asked to.
#include "support/x11/repainter.h"

#include <algorithm>
#include <cstdlib>
#include <stdexcept>

namespace orvo::testing {
namespace {

constexpr int kContentSide = 400;  // pixels; windows are smaller

template <typename Condition>
void await(const char* what, Condition condition) {
    for (int i = 0; i < 20000; i++) {
        if (condition()) return;
        std::this_thread::sleep_for(std::chrono::microseconds(500));
    }
    throw std::runtime_error(what);
}

xcb_window_t unmappedWindow(Painter& painter) {
    const xcb_window_t window = xcb_generate_id(painter.raw());
    xcb_create_window(painter.raw(), XCB_COPY_FROM_PARENT, window, painter.root(), 0, 0, 1, 1, 0,
                      XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT, 0, nullptr);
    return window;
}

void send(Painter& painter, xcb_window_t window, xcb_atom_t type, uint32_t value, xcb_window_t to, uint32_t mask) {
    xcb_client_message_event_t message{};
    message.response_type = XCB_CLIENT_MESSAGE;
    message.format = 32;
    message.window = window;
    message.type = type;
    message.data.data32[0] = value;
    xcb_send_event(painter.raw(), 0, to, mask, reinterpret_cast<const char*>(&message));
    xcb_flush(painter.raw());
}

}  // namespace

Repainter::Repainter(Windows& windows)
    : windows_(windows),
      painter_(windows.painter()),
      request_(windows.atom("_NET_REQUEST_FRAME_EXTENTS")),
      extents_(windows.atom("_NET_FRAME_EXTENTS")),
      answer_(windows.atom("_ORVO_TEST_ANSWER")),
      probe_(unmappedWindow(painter_)) {
    thread_ = std::thread([this] { run(); });
}

Repainter::~Repainter() {
    send(painter_, probe_, answer_, 0, probe_, 0);
    thread_.join();
}

xcb_window_t Repainter::make(const WindowWish& wish, bool hasBackground) {
    const xcb_window_t window = windows_.make(wish);
    const Content content{xcb_generate_id(painter_.raw()), xcb_generate_id(painter_.raw())};
    xcb_create_pixmap(painter_.raw(), wish.hasAlpha ? 32 : 24, content.pixmap, painter_.root(), kContentSide,
                      kContentSide);
    const uint32_t noExposures = 0;
    xcb_create_gc(painter_.raw(), content.context, content.pixmap, XCB_GC_GRAPHICS_EXPOSURES, &noExposures);
    painter_.fill(content.pixmap, {0, 0, kContentSide, kContentSide}, wish.background ^ 0xFFFFFF);
    {
        std::lock_guard lock(mutex_);
        contents_[window] = content;
    }
    const uint32_t none[] = {XCB_BACK_PIXMAP_NONE, XCB_EVENT_MASK_EXPOSURE};
    xcb_change_window_attributes(painter_.raw(), window, XCB_CW_EVENT_MASK, none + 1);
    if (!hasBackground) xcb_change_window_attributes(painter_.raw(), window, XCB_CW_BACK_PIXMAP, none);
    xcb_copy_area(painter_.raw(), content.pixmap, window, content.context, 0, 0, 0, 0, kContentSide, kContentSide);
    painter_.sync();
    return window;
}

void Repainter::paint(xcb_window_t window, const Area& area, uint32_t colour) {
    painter_.fill(contents_.at(window).pixmap, area, colour);
    painter_.fill(window, area, colour);
}

// Events are answered in the order in which they come, so the answer to a question follows those to all before it.
void Repainter::settle() {
    for (int i = 0; i < 2; i++) {
        painter_.sync();
        const auto supported = windows_.numbers(painter_.root(), "_NET_SUPPORTED");
        if (std::count(supported.begin(), supported.end(), request_) > 0) awaitManager();
        awaitOwnThread();
    }
    // The server paints redirected windows into the root when it has nothing else to do: between the two.
    painter_.sync();
    painter_.sync();
}

void Repainter::awaitManager() {
    xcb_delete_property(painter_.raw(), probe_, extents_);
    send(painter_, probe_, request_, 0, painter_.root(),
         XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY | XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT);
    await("the window manager does not answer", [this] {
        const auto cookie = xcb_get_property(painter_.raw(), 0, probe_, extents_, XCB_ATOM_ANY, 0, 4);
        auto* reply = xcb_get_property_reply(painter_.raw(), cookie, nullptr);
        const bool answered = reply && reply->value_len > 0;
        std::free(reply);
        return answered;
    });
}

void Repainter::awaitOwnThread() {
    const uint32_t number = ++asked_;
    send(painter_, probe_, answer_, number, probe_, 0);
    await("the repainting thread does not answer", [&] { return answered_ == number; });
}

void Repainter::run() {
    while (auto* event = xcb_wait_for_event(painter_.raw())) {
        const int type = event->response_type & 0x7F;
        if (type == XCB_EXPOSE) {
            const auto& expose = *reinterpret_cast<xcb_expose_event_t*>(event);
            std::lock_guard lock(mutex_);
            if (const auto found = contents_.find(expose.window); found != contents_.end())
                xcb_copy_area(painter_.raw(), found->second.pixmap, expose.window, found->second.context,
                              static_cast<int16_t>(expose.x), static_cast<int16_t>(expose.y),
                              static_cast<int16_t>(expose.x), static_cast<int16_t>(expose.y), expose.width,
                              expose.height);
            xcb_flush(painter_.raw());
        }
        const auto& message = *reinterpret_cast<xcb_client_message_event_t*>(event);
        const bool isAnswer = type == XCB_CLIENT_MESSAGE && message.type == answer_;
        const uint32_t number = isAnswer ? message.data.data32[0] : 1;
        std::free(event);
        if (number == 0) return;
        if (isAnswer) answered_ = number;
    }
}

}  // namespace orvo::testing
