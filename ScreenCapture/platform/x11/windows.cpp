// The windows of the desktop: asked for in three batches, kept until an event says otherwise.
#include "ScreenCapture/platform/x11/windows.h"

#include <xcb/shape.h>

#include <algorithm>
#include <array>
#include <iterator>
#include <unordered_map>

#include "ScreenCapture/platform/software/region.h"
#include "ScreenCapture/platform/x11/atoms.h"
#include "ScreenCapture/platform/x11/desktop_model.h"
#include "ScreenCapture/platform/x11/window_facts.h"

namespace orvo::platform::x11 {
namespace {

constexpr int kDeepestFrame = 8;  // windows between a client and the root that are looked through

// A child of the root, as this refresh found it.
struct TopLevel {
    xcb_window_t window = 0;
    unsigned tree = 0;
    std::vector<xcb_window_t> children;
    std::vector<xcb_window_t> clients;  // that it frames, back to front; itself when it is its own client
};

class WindowPart final : public ModelPart {
  public:
    uint32_t rootEvents() const override { return XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY | XCB_EVENT_MASK_PROPERTY_CHANGE; }
    void attach(Connection& x) override {
        atoms_ = Atoms::of(x);
        known_.clear();
        processes_.clear();
        mustAsk_ = true;
    }
    bool handle(Connection& x, const xcb_generic_event_t& event) override;
    void refresh(Connection& x, Desktop& next) override;

  private:
    bool makesStale(Connection& x, const xcb_generic_event_t& event);
    bool isMove(const xcb_configure_notify_event_t& notify) const;
    void applyMoves(Desktop& next);
    bool askRoot(Connection& x, WindowList& list);
    void askTopLevels(Connection& x, const WindowList& list);
    void readTopLevels(Connection& x, WindowList& list);
    void takeListedClients(Connection& x);
    void takeOverrideWindows();
    void findClients(Connection& x);
    xcb_window_t topLevelOf(Connection& x, xcb_window_t client) const;
    xcb_window_t clientInside(const TopLevel& top) const;
    void askDetails(Connection& x, PidRequest& pids);
    void readDetails(Connection& x, WindowList& list);
    DesktopWindow describe(const TopLevel& top, xcb_window_t client);
    void noteProcesses(WindowList& list);

    Atoms atoms_;
    std::unordered_map<xcb_window_t, WindowFacts> known_;
    std::vector<int32_t> processes_;
    uint64_t mappings_ = 0;
    bool mustAsk_ = true;                                                   // something other than a move has happened
    std::unordered_map<xcb_window_t, xcb_configure_notify_event_t> moves_;  // of top-level windows since the last list
    // Of the refresh that runs, or the last one.
    std::vector<xcb_window_t> inOrder_;  // the manager's clients, first mapped first
    std::vector<TopLevel> tops_;         // back to front
    std::vector<xcb_window_t> listed_;   // the manager's clients, back to front
    xcb_window_t checkWindow_ = 0;       // proves that the manager lives
    unsigned check_ = 0;
    std::array<unsigned, 2> background_{};
};

// A top-level window that only goes elsewhere, as when it is dragged, takes the server no question.
bool WindowPart::handle(Connection& x, const xcb_generic_event_t& event) {
    if ((event.response_type & 0x7F) == XCB_CONFIGURE_NOTIFY) {
        // What a manager sends beside the server's own word says nothing new.
        if ((event.response_type & 0x80) != 0) return false;
        const auto& notify = reinterpret_cast<const xcb_configure_notify_event_t&>(event);
        if (isMove(notify)) {
            moves_.insert_or_assign(notify.window, notify);
            return true;
        }
    }
    const bool stale = makesStale(x, event);
    mustAsk_ |= stale;
    return stale;
}

// Whether a top-level window has kept its size and its place in the stack.
bool WindowPart::isMove(const xcb_configure_notify_event_t& notify) const {
    const auto top =
        std::find_if(tops_.begin(), tops_.end(), [&](const TopLevel& each) { return each.window == notify.window; });
    const auto facts = known_.find(notify.window);
    if (top == tops_.end() || facts == known_.end()) return false;
    const Geometry& geometry = facts->second.geometry();
    const xcb_window_t below = top == tops_.begin() ? XCB_NONE : std::prev(top)->window;
    return geometry.exists && notify.above_sibling == below &&
           geometry.overrideRedirect == (notify.override_redirect != 0) && geometry.bounds.width == notify.width &&
           geometry.bounds.height == notify.height && geometry.outer.width == notify.width + 2 * notify.border_width;
}

void WindowPart::applyMoves(Desktop& next) {
    auto list = std::make_shared<WindowList>(*next.windows);
    for (DesktopWindow& window : list->all) {
        const auto move = moves_.find(window.frame);
        if (move == moves_.end()) continue;
        const int dx = move->second.x - window.frameBounds.x;
        const int dy = move->second.y - window.frameBounds.y;
        for (PixelRect* bounds : {&window.frameBounds, &window.bounds}) {
            bounds->x += dx;
            bounds->y += dy;
        }
    }
    moves_.clear();
    next.windows = std::move(list);
}

bool WindowPart::makesStale(Connection& x, const xcb_generic_event_t& event) {
    const uint8_t type = event.response_type & 0x7F;
    const auto known = [&](xcb_window_t window) {
        const auto found = known_.find(window);
        return found == known_.end() ? nullptr : &found->second;
    };
    switch (type) {
        case XCB_PROPERTY_NOTIFY: {
            const auto& notify = reinterpret_cast<const xcb_property_notify_event_t&>(event);
            if (notify.window == x.root())
                return notify.atom == atoms_.NET_CLIENT_LIST_STACKING || notify.atom == atoms_.NET_CLIENT_LIST ||
                       notify.atom == atoms_.NET_ACTIVE_WINDOW || notify.atom == atoms_.NET_SUPPORTING_WM_CHECK ||
                       notify.atom == atoms_.XROOTPMAP_ID;
            WindowFacts* facts = known(notify.window);
            return facts && facts->propertyChanged(atoms_, notify.atom);
        }
        case XCB_DESTROY_NOTIFY:
            known_.erase(reinterpret_cast<const xcb_destroy_notify_event_t&>(event).window);
            return true;
        case XCB_CREATE_NOTIFY:
            return false;  // it is not seen before it is mapped
        case XCB_MAP_NOTIFY:
            known_[reinterpret_cast<const xcb_map_notify_event_t&>(event).window].mapped = ++mappings_;
            return true;
        case XCB_UNMAP_NOTIFY:
        case XCB_REPARENT_NOTIFY:
        case XCB_CONFIGURE_NOTIFY:
        case XCB_GRAVITY_NOTIFY:
        case XCB_CIRCULATE_NOTIFY:
            return true;
        default:
            break;
    }
    if (!x.extensions().shape || type != x.extensions().shapeEvent) return false;
    const auto& notify = reinterpret_cast<const xcb_shape_notify_event_t&>(event);
    WindowFacts* facts = known(notify.affected_window);
    if (!facts || notify.shape_kind != XCB_SHAPE_SK_BOUNDING) return false;
    facts->shapeChanged();
    return true;
}

// The first batch: who is there, and in which order.
bool WindowPart::askRoot(Connection& x, WindowList& list) {
    const auto ask = [&](xcb_atom_t atom, uint32_t longs) {
        return xcb_get_property(x.raw(), 0, x.root(), atom, XCB_ATOM_ANY, 0, longs).sequence;
    };
    const unsigned tree = xcb_query_tree(x.raw(), x.root()).sequence;
    const unsigned root = xcb_get_geometry(x.raw(), x.root()).sequence;
    const unsigned stacking = ask(atoms_.NET_CLIENT_LIST_STACKING, 4096);
    const unsigned clients = ask(atoms_.NET_CLIENT_LIST, 4096);
    const unsigned active = ask(atoms_.NET_ACTIVE_WINDOW, 1);
    const unsigned check = ask(atoms_.NET_SUPPORTING_WM_CHECK, 1);
    const unsigned background = ask(atoms_.XROOTPMAP_ID, 1);
    const auto numbers = [&](unsigned sequence) {
        const auto reply = x.await<xcb_get_property_reply_t>(sequence);
        return decodeNumbers(atoms_.property(reply.get()));
    };
    const auto first = [&](unsigned sequence) {
        const std::vector<uint32_t> all = numbers(sequence);
        return all.empty() ? 0 : all.front();
    };

    const auto children = x.await<xcb_query_tree_reply_t>(tree);
    const auto size = x.await<xcb_get_geometry_reply_t>(root);
    listed_ = numbers(stacking);
    inOrder_ = numbers(clients);
    if (listed_.empty()) listed_ = inOrder_;
    list.active = first(active);
    checkWindow_ = first(check);
    list.background = first(background);
    tops_.clear();
    if (!children || !size) return false;
    list.root = {0, 0, size->width, size->height};
    const xcb_window_t* windows = xcb_query_tree_children(children.get());
    for (int i = 0; i < xcb_query_tree_children_length(children.get()); ++i) {
        // The compositor's overlay belongs to the server itself and is no window of anybody.
        if ((windows[i] & ~xcb_get_setup(x.raw())->resource_id_mask) == 0) continue;
        tops_.emplace_back().window = windows[i];
    }
    return true;
}

// The second batch: the top-level windows, and all that the manager's list names.
void WindowPart::askTopLevels(Connection& x, const WindowList& list) {
    for (TopLevel& top : tops_) {
        known_[top.window].askGeometry(x, top.window);
        top.tree = xcb_query_tree(x.raw(), top.window).sequence;
    }
    background_ = {xcb_get_geometry(x.raw(), list.background).sequence,
                   xcb_get_window_attributes(x.raw(), list.background).sequence};
    check_ = xcb_get_property(x.raw(), 0, checkWindow_, atoms_.NET_SUPPORTING_WM_CHECK, XCB_ATOM_ANY, 0, 1).sequence;
    for (const xcb_window_t client : listed_) {
        known_[client].askGeometry(x, client);
        known_[client].askProperties(x, atoms_, client);
    }
}

void WindowPart::readTopLevels(Connection& x, WindowList& list) {
    for (TopLevel& top : tops_) {
        known_[top.window].readGeometry(x);
        if (const auto tree = x.await<xcb_query_tree_reply_t>(top.tree)) {
            const xcb_window_t* children = xcb_query_tree_children(tree.get());
            top.children.assign(children, children + xcb_query_tree_children_length(tree.get()));
        }
    }
    // The property outlives the pixmap, and may name anything; of a window its picture would show what is on screen.
    const auto background = x.await<xcb_get_geometry_reply_t>(background_[0]);
    const auto window = x.await<xcb_get_window_attributes_reply_t>(background_[1]);
    if (!background || background->depth != x.screen()->root_depth || window) list.background = 0;
    const auto check = x.await<xcb_get_property_reply_t>(check_);
    // What a manager that has gone left behind counts no more.
    list.hasManager = checkWindow_ != 0 && decodeNumber(atoms_.property(check.get()), 0) == checkWindow_;
    for (const xcb_window_t client : listed_) {
        known_[client].readGeometry(x);
        known_[client].readProperties(x, atoms_);
    }
}

// Managers whose frames are deeper than one window cost a wait for each level.
xcb_window_t WindowPart::topLevelOf(Connection& x, xcb_window_t client) const {
    xcb_window_t window = client;
    for (int depth = 0; depth < kDeepestFrame; ++depth) {
        const auto tree = x.await<xcb_query_tree_reply_t>(xcb_query_tree(x.raw(), window).sequence);
        if (!tree || tree->parent == 0) return 0;
        if (tree->parent == x.root()) return window;
        window = tree->parent;
    }
    return 0;
}

void WindowPart::takeListedClients(Connection& x) {
    for (const xcb_window_t client : listed_) {
        const auto holds = [&](const TopLevel& top) {
            return top.window == client ||
                   std::find(top.children.begin(), top.children.end(), client) != top.children.end();
        };
        auto top = std::find_if(tops_.begin(), tops_.end(), holds);
        if (top == tops_.end() && known_[client].geometry().exists) {
            const xcb_window_t window = topLevelOf(x, client);
            top = std::find_if(tops_.begin(), tops_.end(), [&](const TopLevel& each) { return each.window == window; });
        }
        if (top != tops_.end()) top->clients.push_back(client);
    }
}

void WindowPart::takeOverrideWindows() {
    for (TopLevel& top : tops_) {
        if (top.window == checkWindow_) continue;  // the manager's own, for nobody to see
        const Geometry& geometry = known_[top.window].geometry();
        if (top.clients.empty() && geometry.overrideRedirect && geometry.viewable) top.clients.push_back(top.window);
    }
}

// Without a manager's list: the window that carries a client's state, the top-level window or one inside it.
xcb_window_t WindowPart::clientInside(const TopLevel& top) const {
    const auto carries = [&](xcb_window_t window) { return known_.at(window).hasState(); };
    if (carries(top.window)) return top.window;
    const auto child = std::find_if(top.children.begin(), top.children.end(), carries);
    return child == top.children.end() ? top.window : *child;
}

void WindowPart::findClients(Connection& x) {
    const auto mayFrame = [&](const TopLevel& top) {
        const Geometry& geometry = known_[top.window].geometry();
        return geometry.viewable && !geometry.inputOnly && !geometry.overrideRedirect;
    };
    for (TopLevel& top : tops_) {
        if (!mayFrame(top)) continue;
        known_[top.window].askProperties(x, atoms_, top.window);
        for (const xcb_window_t child : top.children) {
            known_[child].askGeometry(x, child);
            known_[child].askProperties(x, atoms_, child);
        }
    }
    for (TopLevel& top : tops_) {
        if (!mayFrame(top)) continue;
        known_[top.window].readProperties(x, atoms_);
        for (const xcb_window_t child : top.children) {
            known_[child].readGeometry(x);
            known_[child].readProperties(x, atoms_);
        }
        top.clients = {clientInside(top)};
    }
}

// The third batch: what the manager's list does not name, shapes, and the processes of new windows.
void WindowPart::askDetails(Connection& x, PidRequest& pids) {
    for (const TopLevel& top : tops_) {
        if (top.clients.empty()) continue;
        known_[top.window].askShape(x, top.window);
        for (const xcb_window_t client : top.clients) {
            known_[client].askProperties(x, atoms_, client);
            pids.add(client, known_[client]);
        }
    }
    pids.ask(x);
}

void WindowPart::readDetails(Connection& x, WindowList& list) {
    for (auto top = tops_.rbegin(); top != tops_.rend(); ++top) {
        if (top->clients.empty()) continue;
        known_[top->window].readShape(x);
        for (auto client = top->clients.rbegin(); client != top->clients.rend(); ++client) {
            WindowFacts& facts = known_[*client];
            facts.readProperties(x, atoms_);
            const Geometry& geometry = facts.geometry();
            if (geometry.exists && !geometry.inputOnly && (geometry.viewable || facts.hasState()))
                list.all.push_back(describe(*top, *client));
        }
    }
}

DesktopWindow WindowPart::describe(const TopLevel& top, xcb_window_t client) {
    WindowFacts& facts = known_.at(client);
    const WindowFacts& frame = known_.at(top.window);
    DesktopWindow window;
    facts.fill(window);
    window.number = client;
    window.frame = top.window;
    window.bounds = facts.geometry().bounds;
    window.border = facts.geometry().bounds.x - facts.geometry().outer.x;
    window.frameBounds = frame.geometry().outer;
    window.shape = frame.shape();
    window.mapped = frame.mapped;
    window.managed = !facts.geometry().overrideRedirect;
    window.onScreen = facts.geometry().viewable && !window.iconic;
    return window;
}

void WindowPart::noteProcesses(WindowList& list) {
    std::vector<int32_t> present;
    const auto add = [&](const DesktopWindow* window) {
        if (window && window->managed && window->pid > 0) present.push_back(window->pid);
    };
    for (const xcb_window_t client : inOrder_) add(list.find(client));
    for (auto window = list.all.rbegin(); window != list.all.rend(); ++window) add(&*window);
    const auto contains = [](const std::vector<int32_t>& pids, int32_t pid) {
        return std::find(pids.begin(), pids.end(), pid) != pids.end();
    };
    std::erase_if(processes_, [&](int32_t pid) { return !contains(present, pid); });
    for (const int32_t pid : present)
        if (!contains(processes_, pid)) processes_.push_back(pid);
    list.processes = processes_;
}

void WindowPart::refresh(Connection& x, Desktop& next) {
    if (!mustAsk_) return applyMoves(next);
    moves_.clear();
    auto list = std::make_shared<WindowList>();
    mustAsk_ = !askRoot(x, *list);
    if (mustAsk_) return;
    askTopLevels(x, *list);
    readTopLevels(x, *list);
    // Some managers, such as a Wayland compositor's, keep no list.
    if (list->hasManager && !listed_.empty()) {
        takeListedClients(x);
        takeOverrideWindows();
    } else {
        takeOverrideWindows();
        findClients(x);
    }
    PidRequest pids;
    askDetails(x, pids);
    pids.read(x);
    readDetails(x, *list);
    noteProcesses(*list);
    list->mappings = mappings_;
    std::erase_if(known_, [](const auto& each) { return !each.second.geometry().exists; });
    if (!x.lost()) next.windows = std::move(list);
}

}  // namespace

const DesktopWindow* WindowList::find(xcb_window_t number) const {
    const auto found = std::find_if(all.begin(), all.end(), [=](auto& window) { return window.number == number; });
    return found == all.end() ? nullptr : &*found;
}

bool WindowList::isSeenWhole(xcb_window_t window) const {
    const auto found =
        std::find_if(all.begin(), all.end(), [=](auto& each) { return each.number == window || each.frame == window; });
    if (found == all.end()) return false;
    const PixelRect& area = found->number == window ? found->bounds : found->frameBounds;
    return software::intersection(area, root) == area && std::none_of(all.begin(), found, [&](auto& other) {
               return other.onScreen && other.frame != found->frame &&
                      !software::intersection(other.frameBounds, area).empty();
           });
}

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

std::unique_ptr<ModelPart> makeWindowPart() {
    return std::make_unique<WindowPart>();
}

}  // namespace orvo::platform::x11
