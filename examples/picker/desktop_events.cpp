#include "desktop_events.h"

#include <xcb/xcb.h>

#include <QGuiApplication>

#include <cstdlib>
#include <cstring>
#include <memory>

namespace {

constexpr int kSettling = 150;  // milliseconds
constexpr const char* kProperties[] = {"_NET_CLIENT_LIST", "_NET_CLIENT_LIST_STACKING", "_NET_CURRENT_DESKTOP"};

template <typename Reply>
std::unique_ptr<Reply, decltype(&std::free)> owned(Reply* reply) {
    return {reply, &std::free};
}

}  // namespace

DesktopEvents::DesktopEvents(QObject* parent) : QObject(parent) {
    settled_.setSingleShot(true);
    connect(&settled_, &QTimer::timeout, this, &DesktopEvents::windowsChanged);
    const auto* server = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
    if (!server) return;
    xcb_connection_t* const x = server->connection();
    root_ = xcb_setup_roots_iterator(xcb_get_setup(x)).data->root;
    for (const char* name : kProperties) {
        const auto cookie = xcb_intern_atom(x, 0, static_cast<uint16_t>(std::strlen(name)), name);
        if (const auto reply = owned(xcb_intern_atom_reply(x, cookie, nullptr))) properties_.insert(reply->atom);
    }
    // Qt has asked for events of the root already, and one client has one mask.
    const auto known = owned(xcb_get_window_attributes_reply(x, xcb_get_window_attributes(x, root_), nullptr));
    const uint32_t mask = (known ? known->your_event_mask : 0) | XCB_EVENT_MASK_PROPERTY_CHANGE;
    xcb_change_window_attributes(x, root_, XCB_CW_EVENT_MASK, &mask);
    xcb_flush(x);
    qGuiApp->installNativeEventFilter(this);
}

bool DesktopEvents::nativeEventFilter(const QByteArray& type, void* message, qintptr* /*result*/) {
    if (type != "xcb_generic_event_t") return false;
    const auto& event = *static_cast<const xcb_generic_event_t*>(message);
    if ((event.response_type & 0x7F) != XCB_PROPERTY_NOTIFY) return false;
    const auto& change = reinterpret_cast<const xcb_property_notify_event_t&>(event);
    if (change.window == root_ && properties_.contains(change.atom) && !settled_.isActive()) settled_.start(kSettling);
    return false;
}
