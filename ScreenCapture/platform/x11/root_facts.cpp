// What the root window says about the window manager, its clients and the focus.
#include "ScreenCapture/platform/x11/root_facts.h"

#include <algorithm>

namespace orvo::platform::x11 {
namespace {

constexpr uint32_t kMaxNumbers = 4096;
// Managers announce that the desktop is shown a little before or after they hide the windows, and its end likewise.
constexpr std::chrono::milliseconds kShowDesktopTime{500};

}  // namespace

bool RootFacts::isInteresting(const Atoms& atoms, xcb_atom_t property) {
    const xcb_atom_t all[] = {atoms.NET_CLIENT_LIST_STACKING,
                              atoms.NET_CLIENT_LIST,
                              atoms.NET_ACTIVE_WINDOW,
                              atoms.NET_SUPPORTING_WM_CHECK,
                              atoms.NET_SUPPORTED,
                              atoms.NET_SHOWING_DESKTOP,
                              atoms.XROOTPMAP_ID};
    return property != XCB_ATOM_NONE && std::find(std::begin(all), std::end(all), property) != std::end(all);
}

void RootFacts::ask(Connection& x, const Atoms& atoms) {
    const auto property = [&](xcb_atom_t atom, uint32_t longs) {
        return xcb_get_property(x.raw(), 0, x.root(), atom, XCB_ATOM_ANY, 0, longs).sequence;
    };
    sequences_ = {.tree = xcb_query_tree(x.raw(), x.root()).sequence,
                  .attributes = xcb_get_window_attributes(x.raw(), x.root()).sequence,
                  .geometry = xcb_get_geometry(x.raw(), x.root()).sequence,
                  .focus = xcb_get_input_focus(x.raw()).sequence,
                  .stacking = property(atoms.NET_CLIENT_LIST_STACKING, kMaxNumbers),
                  .clients = property(atoms.NET_CLIENT_LIST, kMaxNumbers),
                  .active = property(atoms.NET_ACTIVE_WINDOW, 1),
                  .check = property(atoms.NET_SUPPORTING_WM_CHECK, 1),
                  .background = property(atoms.XROOTPMAP_ID, 1),
                  .supported = property(atoms.NET_SUPPORTED, kMaxNumbers),
                  .showing = property(atoms.NET_SHOWING_DESKTOP, 1)};
}

bool RootFacts::read(Connection& x, const Atoms& atoms) {
    const auto numbers = [&](unsigned sequence, bool& exists) {
        const auto reply = x.await<xcb_get_property_reply_t>(sequence);
        exists |= reply && reply->type != XCB_ATOM_NONE;
        return decodeNumbers(atoms.property(reply.get()));
    };
    bool any = false;
    const auto first = [&](unsigned sequence, bool& exists) {
        const std::vector<uint32_t> all = numbers(sequence, exists);
        return all.empty() ? 0 : all.front();
    };
    const auto tree = x.await<xcb_query_tree_reply_t>(sequences_.tree);
    const auto attributes = x.await<xcb_get_window_attributes_reply_t>(sequences_.attributes);
    const auto geometry = x.await<xcb_get_geometry_reply_t>(sequences_.geometry);
    const auto holder = x.await<xcb_get_input_focus_reply_t>(sequences_.focus);
    listsClients = reportsActive = false;
    clients = numbers(sequences_.stacking, listsClients);
    inOrder = numbers(sequences_.clients, listsClients);
    if (clients.empty()) clients = inOrder;
    active = first(sequences_.active, reportsActive);
    checkWindow = first(sequences_.check, any);
    background = first(sequences_.background, any);
    const std::vector<uint32_t> supported = numbers(sequences_.supported, any);
    const bool showsDesktop = first(sequences_.showing, any) != 0;
    if (!tree || !attributes || !geometry || !holder) return false;

    const xcb_window_t* windows = xcb_query_tree_children(tree.get());
    children.assign(windows, windows + xcb_query_tree_children_length(tree.get()));
    // There is one redirecting client at most, and that is what makes it the manager.
    hasManager = (attributes->all_event_masks & XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT) != 0;
    area = {0, 0, geometry->width, geometry->height};
    focus = holder->focus == XCB_INPUT_FOCUS_POINTER_ROOT ? XCB_NONE : holder->focus;
    supportsHidden_ = contains(supported, atoms.NET_WM_STATE_HIDDEN);
    const auto now = readAt_ = std::chrono::steady_clock::now();
    if (showsDesktop && !showsDesktop_) showsDesktopSince_ = now;
    if (!showsDesktop && showsDesktop_) showedDesktopUntil_ = now;
    showsDesktop_ = showsDesktop;
    return true;
}

void RootFacts::askCheck(Connection& x, const Atoms& atoms) {
    backgroundSize_ = xcb_get_geometry(x.raw(), background).sequence;
    backgroundAttributes_ = xcb_get_window_attributes(x.raw(), background).sequence;
    check_ = xcb_get_property(x.raw(), 0, checkWindow, atoms.NET_SUPPORTING_WM_CHECK, XCB_ATOM_ANY, 0, 1).sequence;
}

void RootFacts::readCheck(Connection& x, const Atoms& atoms) {
    // The property outlives the pixmap, and may name anything; of a window its picture would show what is on screen.
    const auto size = x.await<xcb_get_geometry_reply_t>(backgroundSize_);
    const auto window = x.await<xcb_get_window_attributes_reply_t>(backgroundAttributes_);
    if (!size || size->depth != x.screen()->root_depth || window) background = 0;
    const auto check = x.await<xcb_get_property_reply_t>(check_);
    keepsHints = checkWindow != 0 && decodeNumber(atoms.property(check.get()), 0) == checkWindow;
    listsClients &= keepsHints;
    reportsActive &= keepsHints;
    reportsHidden = keepsHints && supportsHidden_;
}

// metacity and icewm mark the windows as if they were minimised. Those that were marked long before are.
bool RootFacts::isHiddenForDesktop(std::chrono::steady_clock::time_point hiddenSince) const {
    const bool wasShown = hiddenSince < showedDesktopUntil_ && readAt_ < showedDesktopUntil_ + kShowDesktopTime;
    return keepsHints && (showsDesktop_ || wasShown) && hiddenSince + kShowDesktopTime > showsDesktopSince_;
}

std::chrono::steady_clock::time_point RootFacts::changesBy() const {
    const auto end = showedDesktopUntil_ + kShowDesktopTime;
    return readAt_ < end ? end : std::chrono::steady_clock::time_point::max();
}

}  // namespace orvo::platform::x11
