// Properties of windows and of the root window, and the requests that find them out.
#include "ScreenCapture/platform/x11/window_properties.h"

#include <unistd.h>
#include <xcb/res.h>
#include <xcb/shape.h>

#include <algorithm>

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

bool contains(const std::vector<uint32_t>& numbers, xcb_atom_t atom) {
    return atom != XCB_ATOM_NONE && platform::contains(numbers, atom);
}

// How far in front a window is kept.
int32_t layerOf(WindowType type, bool keptAbove) {
    switch (type) {
        case WindowType::desktop:
            return -1;
        case WindowType::dock:
            return 20;
        case WindowType::menu:
            return 101;
        default:
            return keptAbove ? 3 : 0;
    }
}

// What the root window is asked for, and each client.
std::vector<xcb_atom_t> rootNames(const Atoms& atoms) {
    return {atoms.NET_CLIENT_LIST_STACKING,
            atoms.NET_CLIENT_LIST,
            atoms.NET_ACTIVE_WINDOW,
            atoms.NET_SUPPORTING_WM_CHECK,
            atoms.NET_SUPPORTED,
            atoms.NET_SHOWING_DESKTOP,
            atoms.XROOTPMAP_ID};
}
std::vector<xcb_atom_t> windowNames(const Atoms& atoms) {
    return {atoms.NET_WM_NAME,           XCB_ATOM_WM_NAME,          XCB_ATOM_WM_CLASS,
            atoms.NET_WM_WINDOW_TYPE,    atoms.NET_WM_STATE,        atoms.WM_STATE,
            atoms.NET_WM_WINDOW_OPACITY, atoms.NET_WM_PID,          atoms.WM_WINDOW_ROLE,
            XCB_ATOM_WM_TRANSIENT_FOR,   atoms.NET_WM_ICON,         XCB_ATOM_WM_CLIENT_MACHINE,
            atoms.GTK_FRAME_EXTENTS,     atoms.NET_WM_OPAQUE_REGION};
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

PropertyRequest::PropertyRequest(Connection& x, xcb_window_t window, const std::vector<xcb_atom_t>& names,
                                 uint32_t limit)
    : x_(x) {
    for (const xcb_atom_t name : names) {
        const uint32_t length =
            name == x.atoms().NET_WM_ICON ? 0 : limit;  // icons are large; that there is one is enough
        sequences_[name] = xcb_get_property(x.raw(), 0, window, name, XCB_ATOM_ANY, 0, length).sequence;
    }
}

PropertyRequest::Answer PropertyRequest::read(xcb_atom_t name) const {
    auto reply = x_.await<xcb_get_property_reply_t>(sequences_.at(name));
    const Property property = x_.atoms().property(reply.get());
    return {property, std::move(reply)};
}

bool RootProperties::isInteresting(const Atoms& atoms, xcb_atom_t property) {
    return contains(rootNames(atoms), property);
}

bool RootProperties::read(Connection& x) {
    const Atoms& atoms = x.atoms();
    const auto tree = xcb_query_tree(x.raw(), x.root());
    const auto attributes = xcb_get_window_attributes(x.raw(), x.root());
    const auto geometry = xcb_get_geometry(x.raw(), x.root());
    const auto input = xcb_get_input_focus(x.raw());
    const PropertyRequest properties(x, x.root(), rootNames(atoms), kMaxNumbers);
    const auto selection = xcb_get_selection_owner(x.raw(), atoms.NET_WM_CM_S0);

    const auto inside = x.await<xcb_query_tree_reply_t>(tree.sequence);
    const auto known = x.await<xcb_get_window_attributes_reply_t>(attributes.sequence);
    const auto size = x.await<xcb_get_geometry_reply_t>(geometry.sequence);
    const auto holder = x.await<xcb_get_input_focus_reply_t>(input.sequence);
    const auto stacking = properties.read(atoms.NET_CLIENT_LIST_STACKING);
    const auto mapped = properties.read(atoms.NET_CLIENT_LIST);
    const auto activeWindow = properties.read(atoms.NET_ACTIVE_WINDOW);
    checkWindow = decodeNumber(properties.read(atoms.NET_SUPPORTING_WM_CHECK), 0);
    background = decodeNumber(properties.read(atoms.XROOTPMAP_ID), 0);
    supportsHidden_ = contains(decodeNumbers(properties.read(atoms.NET_SUPPORTED)), atoms.NET_WM_STATE_HIDDEN);
    const bool showsDesktop = decodeNumber(properties.read(atoms.NET_SHOWING_DESKTOP), 0) != 0;
    const auto owner = x.await<xcb_get_selection_owner_reply_t>(selection.sequence);
    if (!inside || !known || !size || !holder || !owner) return false;

    children = childrenIn(inside.get());
    listsClients = stacking.format != 0 || mapped.format != 0;
    inOrder = decodeNumbers(mapped);
    clients = decodeNumbers(stacking);
    if (clients.empty()) clients = inOrder;
    reportsActive = activeWindow.format != 0;
    active = decodeNumber(activeWindow, 0);
    // There is one redirecting client at most, and that is what makes it the manager.
    hasManager = (known->all_event_masks & XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT) != 0;
    root = {0, 0, size->width, size->height};
    compositor_ = owner->owner;
    isComposited = compositor_ != XCB_NONE;
    focus = holder->focus == XCB_INPUT_FOCUS_POINTER_ROOT ? XCB_NONE : holder->focus;
    const auto now = readAt_ = std::chrono::steady_clock::now();
    if (showsDesktop && !showsDesktop_) showsDesktopSince_ = now;
    if (!showsDesktop && showsDesktop_) showedDesktopUntil_ = now;
    showsDesktop_ = showsDesktop;
    return true;
}

void RootProperties::askCheck(RequestBatch& batch) {
    Connection& x = batch.connection();
    const Atoms& atoms = x.atoms();
    const unsigned size = xcb_get_geometry(x.raw(), background).sequence;
    const unsigned attributes = xcb_get_window_attributes(x.raw(), background).sequence;
    const PropertyRequest manager(x, checkWindow, {atoms.NET_SUPPORTING_WM_CHECK, atoms.NET_WM_NAME}, kMaxProperty);
    batch.add([this, &x, &atoms, size, attributes, manager] {
        // The property outlives the pixmap, and may name anything; of a window its picture would show what is on
        // screen.
        const auto pixmap = x.await<xcb_get_geometry_reply_t>(size);
        const auto window = x.await<xcb_get_window_attributes_reply_t>(attributes);
        if (!pixmap || pixmap->depth != x.screen()->root_depth || window) background = 0;
        keepsHints = checkWindow != 0 && decodeNumber(manager.read(atoms.NET_SUPPORTING_WM_CHECK), 0) == checkWindow;
        const std::string name = decodeText(manager.read(atoms.NET_WM_NAME));
        const bool isPainter = std::ranges::find(kFramePainters, name) != std::end(kFramePainters);
        const bool isSeparate = ownerOf(x, compositor_) != ownerOf(x, checkWindow);
        paintsFrames = !isComposited || (keepsHints && (isPainter || isSeparate));
        listsClients &= keepsHints;
        reportsActive &= keepsHints;
        reportsHidden = keepsHints && supportsHidden_;
    });
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

void WindowProperties::askGeometry(RequestBatch& batch, xcb_window_t window) {
    Connection& x = batch.connection();
    // Whether it shows comes last: a place that was read while it still showed is no place to which a manager moves it
    // out of sight.
    const unsigned geometry = xcb_get_geometry(x.raw(), window).sequence;
    const unsigned place = xcb_translate_coordinates(x.raw(), window, x.root(), 0, 0).sequence;
    const unsigned state = xcb_get_window_attributes(x.raw(), window).sequence;
    batch.add([this, &x, geometry, place, state] {
        const auto size = x.await<xcb_get_geometry_reply_t>(geometry);
        const auto origin = x.await<xcb_translate_coordinates_reply_t>(place);
        const auto attributes = x.await<xcb_get_window_attributes_reply_t>(state);
        geometry_ = {};
        if (!attributes || !size || !origin) return;
        geometry_.exists = true;
        geometry_.inputOnly = attributes->_class == XCB_WINDOW_CLASS_INPUT_ONLY;
        geometry_.viewable = attributes->map_state == XCB_MAP_STATE_VIEWABLE;
        geometry_.overrideRedirect = attributes->override_redirect != 0;
        geometry_.hasAlpha = size->depth == 32;
        geometry_.bounds = {origin->dst_x, origin->dst_y, size->width, size->height};
        geometry_.outer = withBorder(geometry_.bounds, size->border_width);
    });
}

void WindowProperties::askProperties(RequestBatch& batch, xcb_window_t window) {
    if (std::exchange(propertiesKnown_, true)) return;
    Connection& x = batch.connection();
    const Atoms& atoms = x.atoms();
    x.select(window, XCB_EVENT_MASK_PROPERTY_CHANGE | XCB_EVENT_MASK_STRUCTURE_NOTIFY | XCB_EVENT_MASK_FOCUS_CHANGE);
    batch.add([this, &atoms, properties = PropertyRequest(x, window, windowNames(atoms), kMaxProperty)] {
        take(atoms, properties);
    });
}

void WindowProperties::take(const Atoms& atoms, const PropertyRequest& properties) {
    client_.title = decodeText(properties.read(atoms.NET_WM_NAME));
    const std::string oldTitle = decodeText(properties.read(XCB_ATOM_WM_NAME));
    if (client_.title.empty()) client_.title = oldTitle;
    std::tie(client_.instance, client_.className) = decodeClass(properties.read(XCB_ATOM_WM_CLASS));
    client_.type = typeOf(atoms, decodeNumbers(properties.read(atoms.NET_WM_WINDOW_TYPE)));
    const std::vector<uint32_t> states = decodeNumbers(properties.read(atoms.NET_WM_STATE));
    const bool isHidden = contains(states, atoms.NET_WM_STATE_HIDDEN);
    if (isHidden && !hidden_) hiddenSince_ = std::chrono::steady_clock::now();
    hidden_ = isHidden;
    shaded_ = contains(states, atoms.NET_WM_STATE_SHADED);
    client_.modal = contains(states, atoms.NET_WM_STATE_MODAL);
    above_ = contains(states, atoms.NET_WM_STATE_ABOVE);
    client_.fullScreen = contains(states, atoms.NET_WM_STATE_FULLSCREEN);
    const auto state = properties.read(atoms.WM_STATE);
    state_ = state.format == 32 ? static_cast<int32_t>(decodeNumber(state, 0)) : -1;
    opacity_ = decodeOpacity(properties.read(atoms.NET_WM_WINDOW_OPACITY));
    claimedPid_ = static_cast<int32_t>(decodeNumber(properties.read(atoms.NET_WM_PID), 0));
    client_.role = decodeText(properties.read(atoms.WM_WINDOW_ROLE));
    client_.transientFor = decodeNumber(properties.read(XCB_ATOM_WM_TRANSIENT_FOR), 0);
    client_.hasIcon = properties.read(atoms.NET_WM_ICON).format != 0;
    client_.machine = decodeText(properties.read(XCB_ATOM_WM_CLIENT_MACHINE));
    margins_ = decodeMargins(properties.read(atoms.GTK_FRAME_EXTENTS));
    opaque_ = decodeRects(properties.read(atoms.NET_WM_OPAQUE_REGION));
}

bool WindowProperties::propertyChanged(const Atoms& atoms, xcb_atom_t atom) {
    if (!contains(windowNames(atoms), atom)) return false;
    propertiesKnown_ = false;
    return true;
}

void WindowProperties::askShape(RequestBatch& batch, xcb_window_t window) {
    const PixelRect outer = geometry_.outer;
    Connection& x = batch.connection();
    if (!x.extensions().shape ||
        (shapeKnown_ && shapedOuter_.width == outer.width && shapedOuter_.height == outer.height))
        return;
    if (!shapeKnown_) xcb_shape_select_input(x.raw(), window, 1);
    shapeKnown_ = true;
    shapedOuter_ = outer;
    const unsigned rectangles = xcb_shape_get_rectangles(x.raw(), window, XCB_SHAPE_SK_BOUNDING).sequence;
    batch.add([this, &x, rectangles] {
        const auto reply = x.await<xcb_shape_get_rectangles_reply_t>(rectangles);
        shape_ = shapeOf(reply.get(), geometry_.outer, geometry_.bounds.x - geometry_.outer.x);
    });
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

void askProcesses(RequestBatch& batch, std::vector<std::pair<xcb_window_t, WindowProperties*>> windows) {
    Connection& x = batch.connection();
    if (!x.extensions().res || windows.empty()) return;
    std::vector<xcb_res_client_id_spec_t> specs;
    for (const auto& [window, facts] : windows) specs.push_back({window, XCB_RES_CLIENT_ID_MASK_LOCAL_CLIENT_PID});
    const auto clients = xcb_res_query_client_ids(x.raw(), static_cast<uint32_t>(specs.size()), specs.data()).sequence;
    batch.add([&x, clients, windows = std::move(windows)] {
        const auto reply = x.await<xcb_res_query_client_ids_reply_t>(clients);
        if (!reply) return;
        for (const auto& [window, facts] : windows) facts->isRemote = true;
        // The server answers once for each client.
        for (auto i = xcb_res_query_client_ids_ids_iterator(reply.get()); i.rem; xcb_res_client_id_value_next(&i)) {
            if (xcb_res_client_id_value_value_length(i.data) < 1) continue;
            for (const auto& [window, facts] : windows) {
                if (ownerOf(x, window) != ownerOf(x, i.data->spec.client)) continue;
                facts->serverPid = static_cast<int32_t>(*xcb_res_client_id_value_value(i.data));
                facts->isRemote = false;
            }
        }
    });
}

}  // namespace orvo::platform::x11
