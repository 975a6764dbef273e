// Properties of windows and of the root window, and the requests that find them out.
#include "ScreenCapture/platform/x11/window_properties.h"

#include <unistd.h>
#include <xcb/res.h>
#include <xcb/shape.h>

#include <algorithm>
#include <fstream>

#include "ScreenCapture/platform/x11/properties.h"
#include "ScreenCapture/platform/x11/server_objects.h"

namespace orvo::platform::x11 {
namespace {

constexpr uint32_t kMaxProperty = 1024;  // in units of 4 bytes
constexpr int kMaxShape = 4096;          // rectangles; more count as unshaped
constexpr uint32_t kIconicState = 3;     // of WM_STATE
constexpr uint32_t kMaxNumbers = 4096;   // in a list of windows or atoms
// Managers announce that the desktop is shown a little before or after they hide the windows, and its end likewise.
constexpr std::chrono::milliseconds kShowDesktopTime{500};

// Managers that are compositing managers too, and paint the frames into their windows all the same. Others leave there
// what the screen showed when the frame was made, whosever that was, and paint frames onto the screen alone.
constexpr std::string_view kFramePainters[] = {"Xfwm4",  "Metacity",    "Metacity (Marco)", "Marco",
                                               "Mutter", "GNOME Shell", "Mutter (Muffin)",  "Muffin"};

// Margins that would leave nothing are not believed.
PixelRect without(const Margins& margins, const PixelRect& window) {
    const PixelRect rest{window.x + margins.left, window.y + margins.top, window.width - margins.left - margins.right,
                         window.height - margins.top - margins.bottom};
    return rest.empty() ? window : rest;
}

WindowType typeOf(const Atoms& atoms, const std::vector<uint32_t>& types) {
    const std::pair<xcb_atom_t, WindowType> known[] = {{atoms.NET_WM_WINDOW_TYPE_NORMAL, WindowType::normal},
                                                       {atoms.NET_WM_WINDOW_TYPE_DIALOG, WindowType::dialog},
                                                       {atoms.NET_WM_WINDOW_TYPE_DESKTOP, WindowType::desktop},
                                                       {atoms.NET_WM_WINDOW_TYPE_DOCK, WindowType::dock},
                                                       {atoms.NET_WM_WINDOW_TYPE_MENU, WindowType::menu},
                                                       {atoms.NET_WM_WINDOW_TYPE_DROPDOWN_MENU, WindowType::menu},
                                                       {atoms.NET_WM_WINDOW_TYPE_POPUP_MENU, WindowType::menu},
                                                       {atoms.NET_WM_WINDOW_TYPE_TOOLTIP, WindowType::menu},
                                                       {atoms.NET_WM_WINDOW_TYPE_NOTIFICATION, WindowType::menu},
                                                       {atoms.NET_WM_WINDOW_TYPE_COMBO, WindowType::menu},
                                                       {atoms.NET_WM_WINDOW_TYPE_DND, WindowType::menu}};
    // The first that is understood counts.
    for (const uint32_t type : types)
        for (const auto& [atom, meaning] : known)
            if (type == atom && atom != XCB_ATOM_NONE) return meaning;
    return types.empty() ? WindowType::none : WindowType::other;
}

// Icons are large; that there is one is enough here.
uint32_t longest(const Atoms& atoms, xcb_atom_t name) {
    return name == atoms.NET_WM_ICON ? 0 : kMaxProperty;
}

bool contains(const std::vector<uint32_t>& numbers, xcb_atom_t atom) {
    return atom != XCB_ATOM_NONE && platform::contains(numbers, atom);
}

// The server counts from inside the border, the answer from its corner. outer: the window with its border. Of windows
// that are larger than the numbers of a rectangle the shape is unknown.
std::vector<PixelRect> shapeOf(const xcb_shape_get_rectangles_reply_t* reply, const PixelRect& outer, int border) {
    std::vector<PixelRect> shape;
    const int count = reply ? xcb_shape_get_rectangles_rectangles_length(reply) : -1;
    if (count < 0 || count > kMaxShape || std::max(outer.width, outer.height) > INT16_MAX) return shape;
    const xcb_rectangle_t* rects = xcb_shape_get_rectangles_rectangles(reply);
    for (int i = 0; i < count; ++i)
        shape.push_back({rects[i].x + border, rects[i].y + border, rects[i].width, rects[i].height});
    if (shape.size() == 1 && shape.front() == PixelRect{0, 0, outer.width, outer.height}) shape.clear();
    if (count == 0) shape.push_back({});  // shaped away as a whole
    return shape;
}

const std::string& hostName() {
    static const std::string name = [] {
        char text[256] = {};
        return std::string(gethostname(text, sizeof text - 1) == 0 ? text : "");
    }();
    return name;
}

}  // namespace

xcb_window_t ownerOf(Connection& x, xcb_window_t window) {
    return window & ~xcb_get_setup(x.raw())->resource_id_mask;
}

bool RootProperties::isInteresting(const Atoms& atoms, xcb_atom_t property) {
    const xcb_atom_t all[] = {atoms.NET_CLIENT_LIST_STACKING,
                              atoms.NET_CLIENT_LIST,
                              atoms.NET_ACTIVE_WINDOW,
                              atoms.NET_SUPPORTING_WM_CHECK,
                              atoms.NET_SUPPORTED,
                              atoms.NET_SHOWING_DESKTOP,
                              atoms.XROOTPMAP_ID};
    return property != XCB_ATOM_NONE && std::find(std::begin(all), std::end(all), property) != std::end(all);
}

void RootProperties::request(Connection& x, const Atoms& atoms) {
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
                  .showing = property(atoms.NET_SHOWING_DESKTOP, 1),
                  .compositor = xcb_get_selection_owner(x.raw(), atoms.NET_WM_CM_S0).sequence};
}

bool RootProperties::receive(Connection& x, const Atoms& atoms) {
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
    const auto compositor = x.await<xcb_get_selection_owner_reply_t>(sequences_.compositor);
    if (!tree || !attributes || !geometry || !holder || !compositor) return false;

    const xcb_window_t* windows = xcb_query_tree_children(tree.get());
    children.assign(windows, windows + xcb_query_tree_children_length(tree.get()));
    // There is one redirecting client at most, and that is what makes it the manager.
    hasManager = (attributes->all_event_masks & XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT) != 0;
    area = {0, 0, geometry->width, geometry->height};
    compositor_ = compositor->owner;
    isComposited = compositor_ != XCB_NONE;
    focus = holder->focus == XCB_INPUT_FOCUS_POINTER_ROOT ? XCB_NONE : holder->focus;
    supportsHidden_ = contains(supported, atoms.NET_WM_STATE_HIDDEN);
    const auto now = readAt_ = std::chrono::steady_clock::now();
    if (showsDesktop && !showsDesktop_) showsDesktopSince_ = now;
    if (!showsDesktop && showsDesktop_) showedDesktopUntil_ = now;
    showsDesktop_ = showsDesktop;
    return true;
}

void RootProperties::requestCheck(Connection& x, const Atoms& atoms) {
    backgroundSize_ = xcb_get_geometry(x.raw(), background).sequence;
    backgroundAttributes_ = xcb_get_window_attributes(x.raw(), background).sequence;
    const auto property = [&](xcb_atom_t atom) {
        return xcb_get_property(x.raw(), 0, checkWindow, atom, XCB_ATOM_ANY, 0, kMaxProperty).sequence;
    };
    check_ = property(atoms.NET_SUPPORTING_WM_CHECK);
    managerName_ = property(atoms.NET_WM_NAME);
}

void RootProperties::receiveCheck(Connection& x, const Atoms& atoms) {
    // The property outlives the pixmap, and may name anything; of a window its picture would show what is on screen.
    const auto size = x.await<xcb_get_geometry_reply_t>(backgroundSize_);
    const auto window = x.await<xcb_get_window_attributes_reply_t>(backgroundAttributes_);
    if (!size || size->depth != x.screen()->root_depth || window) background = 0;
    const auto check = x.await<xcb_get_property_reply_t>(check_);
    keepsHints = checkWindow != 0 && decodeNumber(atoms.property(check.get()), 0) == checkWindow;
    const auto nameReply = x.await<xcb_get_property_reply_t>(managerName_);
    const std::string name = decodeText(atoms.property(nameReply.get()));
    const bool isPainter =
        std::find(std::begin(kFramePainters), std::end(kFramePainters), name) != std::end(kFramePainters);
    const bool isSeparate = ownerOf(x, compositor_) != ownerOf(x, checkWindow);
    paintsFrames = !isComposited || (keepsHints && (isPainter || isSeparate));
    listsClients &= keepsHints;
    reportsActive &= keepsHints;
    reportsHidden = keepsHints && supportsHidden_;
}

// metacity and icewm mark the windows as if they were minimised. Those that were marked long before are.
bool RootProperties::isHiddenForDesktop(std::chrono::steady_clock::time_point hiddenSince) const {
    const bool wasShown = hiddenSince < showedDesktopUntil_ && readAt_ < showedDesktopUntil_ + kShowDesktopTime;
    return keepsHints && (showsDesktop_ || wasShown) && hiddenSince + kShowDesktopTime > showsDesktopSince_;
}

std::chrono::steady_clock::time_point RootProperties::changesBy() const {
    const auto end = showedDesktopUntil_ + kShowDesktopTime;
    return readAt_ < end ? end : std::chrono::steady_clock::time_point::max();
}

std::string processName(int32_t pid) {
    if (pid <= 0) return {};
    std::ifstream file("/proc/" + std::to_string(pid) + "/comm");
    std::string name;
    std::getline(file, name);
    return name;
}

void WindowProperties::requestGeometry(Connection& x, xcb_window_t window) {
    if (place_[0] != 0) return;  // is being asked for
    // Whether it shows comes last: a place that was read while it still showed is no place to which a manager moves it
    // out of sight.
    place_ = {xcb_get_geometry(x.raw(), window).sequence,
              xcb_translate_coordinates(x.raw(), window, x.root(), 0, 0).sequence,
              xcb_get_window_attributes(x.raw(), window).sequence};
}

// A window may be named twice, as a child of the root and in the manager's list.
void WindowProperties::receiveGeometry(Connection& x) {
    if (place_[0] == 0) return;
    const auto size = x.await<xcb_get_geometry_reply_t>(place_[0]);
    const auto origin = x.await<xcb_translate_coordinates_reply_t>(place_[1]);
    const auto attributes = x.await<xcb_get_window_attributes_reply_t>(place_[2]);
    place_ = {};
    geometry_ = {};
    if (!attributes || !size || !origin) return;
    geometry_.exists = true;
    geometry_.inputOnly = attributes->_class == XCB_WINDOW_CLASS_INPUT_ONLY;
    geometry_.viewable = attributes->map_state == XCB_MAP_STATE_VIEWABLE;
    geometry_.overrideRedirect = attributes->override_redirect != 0;
    geometry_.hasAlpha = size->depth == 32;
    geometry_.bounds = {origin->dst_x, origin->dst_y, size->width, size->height};
    geometry_.outer = withBorder(geometry_.bounds, size->border_width);
}

// In the order in which receiveProperties() takes them.
std::array<xcb_atom_t, WindowProperties::kProperties> WindowProperties::interesting(const Atoms& atoms) {
    return {atoms.NET_WM_NAME,           XCB_ATOM_WM_NAME,          XCB_ATOM_WM_CLASS,
            atoms.NET_WM_WINDOW_TYPE,    atoms.NET_WM_STATE,        atoms.WM_STATE,
            atoms.NET_WM_WINDOW_OPACITY, atoms.NET_WM_PID,          atoms.WM_WINDOW_ROLE,
            XCB_ATOM_WM_TRANSIENT_FOR,   atoms.NET_WM_ICON,         XCB_ATOM_WM_CLIENT_MACHINE,
            atoms.GTK_FRAME_EXTENTS,     atoms.NET_WM_OPAQUE_REGION};
}

void WindowProperties::requestProperties(Connection& x, const Atoms& atoms, xcb_window_t window) {
    if (propertiesKnown_ || awaitsProperties_) return;
    x.select(window, XCB_EVENT_MASK_PROPERTY_CHANGE | XCB_EVENT_MASK_STRUCTURE_NOTIFY | XCB_EVENT_MASK_FOCUS_CHANGE);
    const auto names = interesting(atoms);
    for (size_t i = 0; i < kProperties; ++i)
        properties_[i] =
            xcb_get_property(x.raw(), 0, window, names[i], XCB_ATOM_ANY, 0, longest(atoms, names[i])).sequence;
    awaitsProperties_ = true;
}

void WindowProperties::receiveProperties(Connection& x, const Atoms& atoms) {
    if (!std::exchange(awaitsProperties_, false)) return;
    std::array<Reply<xcb_get_property_reply_t>, kProperties> replies;
    std::array<Property, kProperties> read;
    for (size_t i = 0; i < kProperties; ++i) {
        replies[i] = x.await<xcb_get_property_reply_t>(properties_[i]);
        read[i] = atoms.property(replies[i].get());
    }
    propertiesKnown_ = true;
    client_.title = decodeText(read[0]);
    if (client_.title.empty()) client_.title = decodeText(read[1]);
    std::tie(client_.instance, client_.className) = decodeClass(read[2]);
    client_.type = typeOf(atoms, decodeNumbers(read[3]));
    const std::vector<uint32_t> states = decodeNumbers(read[4]);
    const bool isHidden = contains(states, atoms.NET_WM_STATE_HIDDEN);
    if (isHidden && !hidden_) hiddenSince_ = std::chrono::steady_clock::now();
    hidden_ = isHidden;
    shaded_ = contains(states, atoms.NET_WM_STATE_SHADED);
    client_.modal = contains(states, atoms.NET_WM_STATE_MODAL);
    above_ = contains(states, atoms.NET_WM_STATE_ABOVE);
    client_.fullScreen = contains(states, atoms.NET_WM_STATE_FULLSCREEN);
    state_ = read[5].format == 32 ? static_cast<int32_t>(decodeNumber(read[5], 0)) : -1;
    opacity_ = decodeOpacity(read[6]);
    claimedPid_ = static_cast<int32_t>(decodeNumber(read[7], 0));
    client_.role = decodeText(read[8]);
    client_.transientFor = decodeNumber(read[9], 0);
    client_.hasIcon = replies[10] && replies[10]->type != XCB_ATOM_NONE;
    client_.machine = decodeText(read[11]);
    margins_ = decodeMargins(read[12]);
    opaque_ = decodeRects(read[13]);
}

bool WindowProperties::propertyChanged(const Atoms& atoms, xcb_atom_t atom) {
    const auto names = interesting(atoms);
    if (atom == XCB_ATOM_NONE || std::find(names.begin(), names.end(), atom) == names.end()) return false;
    propertiesKnown_ = false;
    return true;
}

void WindowProperties::invalidate() {
    propertiesKnown_ = shapeKnown_ = awaitsProperties_ = awaitsShape_ = pidRequested = false;
    place_ = {};
}

void WindowProperties::requestShape(Connection& x, xcb_window_t window) {
    if (!x.extensions().shape || awaitsShape_ ||
        (shapeKnown_ && shapedOuter_.width == geometry_.outer.width && shapedOuter_.height == geometry_.outer.height))
        return;
    if (!shapeKnown_) xcb_shape_select_input(x.raw(), window, 1);
    rectangles_ = xcb_shape_get_rectangles(x.raw(), window, XCB_SHAPE_SK_BOUNDING).sequence;
    awaitsShape_ = true;
}

void WindowProperties::receiveShape(Connection& x) {
    if (!std::exchange(awaitsShape_, false)) return;
    const auto reply = x.await<xcb_shape_get_rectangles_reply_t>(rectangles_);
    shape_ = shapeOf(reply.get(), geometry_.outer, geometry_.bounds.x - geometry_.outer.x);
    shapeKnown_ = true;
    shapedOuter_ = geometry_.outer;
}

bool WindowProperties::isMinimized(const RootProperties& root) const {
    if (geometry_.overrideRedirect) return false;
    // For many managers a window on another workspace, or a shaded one, is iconic too.
    if (!root.reportsHidden) return state_ == static_cast<int32_t>(kIconicState);
    return hidden_ && !shaded_ && !root.isHiddenForDesktop(hiddenSince_);
}

// Where a manager puts a window that nobody sees, or moves it on the way, is not where the window is.
PixelRect WindowProperties::outerWhenShown(bool isShown) {
    if (isShown || shownOuter_.empty() || geometry_.overrideRedirect) shownOuter_ = geometry_.outer;
    return shownOuter_;
}

void WindowProperties::move(int dx, int dy) {
    for (PixelRect* bounds : {&geometry_.bounds, &geometry_.outer, &shownOuter_}) {
        bounds->x += dx;
        bounds->y += dy;
    }
}

void WindowProperties::fill(DesktopWindow& window, const WindowProperties& frame, const RootProperties& root) {
    static_cast<ClientFacts&>(window) = client_;
    window.layer = layerOf(client_.type, above_);
    window.alpha = std::min(opacity_, frame.opacity_);
    window.managed = !geometry_.overrideRedirect;
    window.minimized = isMinimized(root);
    window.onScreen = geometry_.viewable && !window.minimized && !(shaded_ && root.keepsHints);
    window.outer = outerWhenShown(window.onScreen);
    window.border = geometry_.bounds.x - geometry_.outer.x;
    window.bounds = without(margins_, withBorder(window.outer, -window.border));
    window.hasAlpha = geometry_.hasAlpha;
    for (const PixelRect& rect : window.hasAlpha ? opaque_ : std::vector<PixelRect>())
        window.opaque.push_back(platform::moved(rect, window.border, window.border));
    window.frameHasAlpha = frame.geometry_.hasAlpha;
    window.frameBounds = frame.geometry_.outer;
    window.frameOnScreen = frame.geometry_.viewable;
    window.mapped = frame.mapped;
    window.shape = frame.shape_;
    window.clientShape = shape_;
    window.focused = focused;
    window.pidIsCertain = serverPid > 0;
    // The number of a process says nothing on another machine.
    const bool isLocal = client_.machine.empty() ? !isRemote : client_.machine == hostName();
    if (serverPid > 0)
        window.pid = serverPid;
    else if (claimedPid_ > 0 && isLocal)
        window.pid = claimedPid_;
}

void PidRequest::add(xcb_window_t window, WindowProperties& facts) {
    if (!std::exchange(facts.pidRequested, true)) windows_.emplace_back(window, &facts);
}

void PidRequest::request(Connection& x) {
    if (!x.extensions().res || windows_.empty()) return;
    std::vector<xcb_res_client_id_spec_t> specs;
    for (const auto& [window, facts] : windows_) specs.push_back({window, XCB_RES_CLIENT_ID_MASK_LOCAL_CLIENT_PID});
    sequence_ = xcb_res_query_client_ids(x.raw(), static_cast<uint32_t>(specs.size()), specs.data()).sequence;
}

void PidRequest::receive(Connection& x) {
    if (sequence_ == 0) return;
    const auto reply = x.await<xcb_res_query_client_ids_reply_t>(sequence_);
    if (!reply) return;
    for (const auto& [window, facts] : windows_) facts->isRemote = true;
    // The server answers once for each client, named by the bits that all of its ids share.
    const uint32_t mask = ~xcb_get_setup(x.raw())->resource_id_mask;
    for (auto i = xcb_res_query_client_ids_ids_iterator(reply.get()); i.rem; xcb_res_client_id_value_next(&i)) {
        if (xcb_res_client_id_value_value_length(i.data) < 1) continue;
        const auto pid = static_cast<int32_t>(*xcb_res_client_id_value_value(i.data));
        for (const auto& [window, facts] : windows_)
            if ((window & mask) == (i.data->spec.client & mask)) {
                facts->serverPid = pid;
                facts->isRemote = false;
            }
    }
}

}  // namespace orvo::platform::x11
