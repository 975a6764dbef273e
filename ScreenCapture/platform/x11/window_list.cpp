// The windows of the desktop: asked for in three batches, kept until an event says otherwise.
#include "ScreenCapture/platform/x11/window_list.h"

#include <xcb/shape.h>
#include <xcb/xfixes.h>

#include <algorithm>
#include <chrono>
#include <fstream>
#include <iterator>
#include <unordered_map>

#include "ScreenCapture/platform/software/region.h"
#include "ScreenCapture/platform/version.h"
#include "ScreenCapture/platform/x11/applications.h"
#include "ScreenCapture/platform/x11/desktop.h"
#include "ScreenCapture/platform/x11/window_properties.h"

namespace orvo::platform::x11 {
namespace {

constexpr int kMaxFrameDepth = 8;  // windows between a client and the root that are looked through

// What the system calls a process; empty when it is unknown.
std::string processName(int32_t pid) {
    std::ifstream file("/proc/" + std::to_string(pid) + "/comm");
    std::string name;
    std::getline(file, name);
    return name;
}

// A refresh sends its questions in three batches, each with one wait, however many windows there are: the root's
// children and properties; where those children and the manager's clients are, and what is new of the clients; shapes,
// and what the manager's list does not name. Properties and shapes are kept until their events come. Where a window is
// is asked each time, as a frame moves its client without an event for it. The exception is a top-level window that is
// dragged: its own event says where to, and if size and stacking are the same the list is moved without any question.

// A child of the root, as this refresh found it.
struct TopLevel {
    xcb_window_t window = 0;
    std::vector<xcb_window_t> children;
    std::vector<xcb_window_t> clients;  // that it frames, back to front; itself when it is its own client
};

class WindowListPart final : public DesktopPart {
  public:
    void attach(Connection& x) override {
        x.select(x.root(), XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY | XCB_EVENT_MASK_PROPERTY_CHANGE);
        if (x.extensions().xfixes)
            xcb_xfixes_select_selection_input(x.raw(), x.root(), x.atoms().NET_WM_CM_S0,
                                              XCB_XFIXES_SELECTION_EVENT_MASK_SET_SELECTION_OWNER |
                                                  XCB_XFIXES_SELECTION_EVENT_MASK_SELECTION_WINDOW_DESTROY |
                                                  XCB_XFIXES_SELECTION_EVENT_MASK_SELECTION_CLIENT_CLOSE);
        known_.clear();
        processes_.clear();
        root_ = {};
        mustAsk_ = true;
    }
    void invalidate() override {
        for (auto& [window, facts] : known_) facts.invalidate();
        mustAsk_ = true;
    }

    // An order is in the next snapshot. What holds for some time only ends with a snapshot of its own.
    bool isOutdated() override {
        const auto now = std::chrono::steady_clock::now();
        if (root_.changesBy() <= now) mustAsk_ = true;
        return takeHidingOrders() || hiddenUntil_ <= now || mustAsk_;
    }

    // A top-level window that only goes elsewhere, as when it is dragged, takes the server no question.
    bool handle(const Connection& x, const xcb_generic_event_t& event) override {
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

    void refresh(Connection& x, Desktop& next) override {
        if (!mustAsk_) return applyMoves(next);
        moves_.clear();
        auto list = std::make_shared<WindowList>();
        mustAsk_ = !root_.read(x);
        if (mustAsk_) return;
        readTopLevels(x);
        static_cast<RootFacts&>(*list) = root_;
        if (root_.listsClients) takeListedClients(x);
        takeOverrideWindows();
        if (!root_.listsClients) findClients(x);
        readDetails(x);
        listClients(x, *list);
        noteActive(x, *list);
        noteProcesses(*list);
        list->mappings = mappings_;
        std::erase_if(known_, [](const auto& each) { return !each.second.geometry().exists; });
        if (!x.lost()) publish(std::move(list), next);
    }

  private:
    WindowProperties* known(xcb_window_t window) {
        const auto found = known_.find(window);
        return found == known_.end() ? nullptr : &found->second;
    }

    // Whether a top-level window has kept its size and its place in the stack.
    bool isMove(const xcb_configure_notify_event_t& notify) {
        const auto top = std::ranges::find(tops_, notify.window, &TopLevel::window);
        WindowProperties* const facts = known(notify.window);
        if (top == tops_.end() || !facts) return false;
        const Geometry& geometry = facts->geometry();
        const xcb_window_t below = top == tops_.begin() ? XCB_NONE : std::prev(top)->window;
        return geometry.exists && notify.above_sibling == below &&
               geometry.overrideRedirect == (notify.override_redirect != 0) && geometry.bounds.width == notify.width &&
               geometry.bounds.height == notify.height &&
               geometry.outer.width == notify.width + 2 * notify.border_width;
    }

    void applyMoves(Desktop& next) {
        auto list = std::make_shared<WindowList>(*next.windows);
        for (DesktopWindow& window : list->all) {
            const auto move = moves_.find(window.frame);
            if (move == moves_.end()) continue;
            const int dx = move->second.x - window.frameBounds.x;
            const int dy = move->second.y - window.frameBounds.y;
            window.frameBounds.x += dx;
            window.frameBounds.y += dy;
            if (window.managed && !window.onScreen) continue;
            window.bounds = platform::moved(window.bounds, dx, dy);
            window.outer = platform::moved(window.outer, dx, dy);
            known_[window.number].move(dx, dy);
        }
        moves_.clear();
        publish(std::move(list), next);
    }

    // The one place where the snapshot gets a list.
    void publish(std::shared_ptr<WindowList> list, Desktop& next) {
        list->hidden = hiddenApplications(*list, hiddenUntil_);
        if (*list != *next.windows) next.windows = std::move(list);
    }

    // The keys of a client go to the client, to a window inside it, or have gone there without regard to the pointer.
    // What a grab does for a moment is nothing to remember.
    bool noteFocus(const xcb_focus_in_event_t& event) {
        const bool isGrab = event.mode == XCB_NOTIFY_MODE_GRAB || event.mode == XCB_NOTIFY_MODE_UNGRAB;
        WindowProperties* const facts = known(event.event);
        if (isGrab || event.detail >= XCB_NOTIFY_DETAIL_POINTER || !facts) return false;
        facts->focused = nextVersion();
        return true;
    }

    bool makesStale(const Connection& x, const xcb_generic_event_t& event) {
        const uint8_t type = event.response_type & 0x7F;
        switch (type) {
            case XCB_PROPERTY_NOTIFY: {
                const auto& notify = reinterpret_cast<const xcb_property_notify_event_t&>(event);
                if (notify.window == x.root()) return RootProperties::isInteresting(x.atoms(), notify.atom);
                WindowProperties* facts = known(notify.window);
                return facts && facts->propertyChanged(x.atoms(), notify.atom);
            }
            case XCB_DESTROY_NOTIFY:
                known_.erase(reinterpret_cast<const xcb_destroy_notify_event_t&>(event).window);
                return true;
            case XCB_FOCUS_IN:
                return noteFocus(reinterpret_cast<const xcb_focus_in_event_t&>(event));
            case XCB_FOCUS_OUT:
                return !root_.reportsActive;
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
        // The compositing manager has come or gone.
        if (x.extensions().xfixes.sent(event, XCB_XFIXES_SELECTION_NOTIFY)) return true;
        if (!x.extensions().shape.sent(event, XCB_SHAPE_NOTIFY)) return false;
        const auto& notify = reinterpret_cast<const xcb_shape_notify_event_t&>(event);
        WindowProperties* facts = known(notify.affected_window);
        if (!facts || notify.shape_kind != XCB_SHAPE_SK_BOUNDING) return false;
        facts->shapeChanged();
        return true;
    }

    // The second batch, after the properties of the root: the top-level windows, and all that the manager's list names.
    void readTopLevels(Connection& x) {
        RequestBatch batch(x);
        tops_.clear();
        tops_.reserve(root_.children.size());
        for (const xcb_window_t window : root_.children) {
            // The compositor's overlay belongs to the server itself and is no window of anybody.
            if (ownerOf(x, window) == 0) continue;
            TopLevel& top = tops_.emplace_back();
            top.window = window;
            WindowProperties& facts = known_[window];
            const bool wasShown = facts.geometry().viewable;
            const unsigned tree = xcb_query_tree(x.raw(), window).sequence;
            facts.askGeometry(batch, window);
            batch.add([this, &x, &top, &facts, tree, wasShown] {
                top.children = childrenIn(x.await<xcb_query_tree_reply_t>(tree).get());
                // It may be in the list before its event is read.
                if (facts.geometry().viewable && !wasShown) facts.mapped = ++mappings_;
            });
        }
        root_.askCheck(batch);
        for (const xcb_window_t client : root_.clients) {
            known_[client].askProperties(batch, client);
            if (!contains(root_.children, client)) known_[client].askGeometry(batch, client);
        }
        batch.receive();
    }

    // Managers whose frames are deeper than one window cost a wait for each level.
    xcb_window_t topLevelOf(Connection& x, xcb_window_t client) const {
        xcb_window_t window = client;
        for (int depth = 0; depth < kMaxFrameDepth; ++depth) {
            const auto tree = x.await<xcb_query_tree_reply_t>(xcb_query_tree(x.raw(), window).sequence);
            if (!tree || tree->parent == 0) return 0;
            if (tree->parent == x.root()) return window;
            window = tree->parent;
        }
        return 0;
    }

    void takeListedClients(Connection& x) {
        for (const xcb_window_t client : root_.clients) {
            const auto holds = [&](const TopLevel& top) {
                return top.window == client || contains(top.children, client);
            };
            auto top = std::ranges::find_if(tops_, holds);
            if (top == tops_.end() && known_[client].geometry().exists) {
                const xcb_window_t window = topLevelOf(x, client);
                top = std::ranges::find(tops_, window, &TopLevel::window);
            }
            if (top != tops_.end()) top->clients.push_back(client);
        }
    }

    void takeOverrideWindows() {
        for (TopLevel& top : tops_) {
            if (top.window == root_.checkWindow) continue;  // the manager's own, for nobody to see
            const Geometry& geometry = known_[top.window].geometry();
            if (top.clients.empty() && geometry.overrideRedirect && geometry.viewable)
                top.clients.push_back(top.window);
        }
    }

    // Mapped, or kept from the screen by a manager. A dead manager's word is not believed.
    bool isShown(const WindowProperties& facts) const {
        return facts.geometry().viewable || (root_.hasManager && facts.hasState());
    }

    // Without a manager's list: the window that carries a client's state, the top-level window or one inside it.
    xcb_window_t clientInside(const TopLevel& top) const {
        const auto carries = [&](xcb_window_t window) { return known_.at(window).hasState(); };
        if (carries(top.window)) return top.window;
        const auto child = std::find_if(top.children.begin(), top.children.end(), carries);
        return child == top.children.end() ? top.window : *child;
    }

    void findClients(Connection& x) {
        RequestBatch batch(x);
        for (TopLevel& top : tops_) {
            const Geometry& geometry = known_[top.window].geometry();
            if (!geometry.exists || geometry.inputOnly || geometry.overrideRedirect) continue;
            known_[top.window].askProperties(batch, top.window);
            for (const xcb_window_t child : top.children) {
                known_[child].askProperties(batch, child);
                known_[child].askGeometry(batch, child);
            }
            batch.add([this, &top] {
                const xcb_window_t client = clientInside(top);
                if (isShown(known_[client])) top.clients = {client};
            });
        }
        batch.receive();
    }

    // The third batch: what the manager's list does not name, shapes, and the processes of new windows.
    void readDetails(Connection& x) {
        RequestBatch batch(x);
        std::vector<std::pair<xcb_window_t, WindowProperties*>> withoutProcess;
        const auto ask = [&](xcb_window_t window) -> WindowProperties& {
            WindowProperties& facts = known_[window];
            facts.askProperties(batch, window);
            facts.askShape(batch, window);
            return facts;
        };
        for (const TopLevel& top : tops_) {
            if (!top.clients.empty()) ask(top.window);  // its opacity
            for (const xcb_window_t client : top.clients) {
                WindowProperties& facts = ask(client);
                if (!std::exchange(facts.pidRequested, true)) withoutProcess.emplace_back(client, &facts);
            }
        }
        askProcesses(batch, std::move(withoutProcess));
        batch.receive();
    }

    void listClients(Connection& x, WindowList& list) {
        for (auto top = tops_.rbegin(); top != tops_.rend(); ++top)
            for (auto client = top->clients.rbegin(); client != top->clients.rend(); ++client) {
                const WindowProperties& facts = known_[*client];
                const Geometry& geometry = facts.geometry();
                if (geometry.exists && !geometry.inputOnly && isShown(facts))
                    list.all.push_back(describe(x, *top, *client));
            }
    }

    DesktopWindow describe(Connection& x, const TopLevel& top, xcb_window_t client) {
        DesktopWindow window;
        window.number = client;
        window.frame = top.window;
        window.pid = -static_cast<int32_t>(ownerOf(x, client));
        known_.at(client).fill(window, known_.at(top.window), root_);
        window.helper = isHelper(x, window);
        return window;
    }

    // Managers keep windows of a pixel somewhere beside the screen, and put menus and switchers of their own over it.
    bool isHelper(Connection& x, const DesktopWindow& window) const {
        if (window.managed) return false;
        const bool isManagers = root_.keepsHints && ownerOf(x, window.number) == ownerOf(x, root_.checkWindow);
        return isManagers || software::intersection(window.frameBounds, root_.root).empty();
    }

    // What the manager says, else whoever gets the keys.
    void noteActive(Connection& x, WindowList& list) {
        list.active = root_.reportsActive ? root_.active : root_.focus;
        const auto found = [&] { return std::ranges::find(list.all, list.active, &DesktopWindow::number); };
        for (int depth = 0; depth < kMaxFrameDepth && list.active != 0 && found() == list.all.end(); ++depth) {
            const auto tree = x.await<xcb_query_tree_reply_t>(xcb_query_tree(x.raw(), list.active).sequence);
            list.active = tree ? tree->parent : 0;
        }
        const auto window = found();
        if (window == list.all.end())
            list.active = 0;
        else if (window->focused == 0)
            window->focused = known_[window->number].focused = nextVersion();
    }

    void noteProcesses(WindowList& list) {
        std::vector<const DesktopWindow*> byAge;
        for (const DesktopWindow& window : list.all)
            if (!window.helper) byAge.push_back(&window);
        std::ranges::sort(byAge, {}, &DesktopWindow::number);
        std::erase_if(processes_, [&](const Process& process) {
            return std::ranges::find(byAge, process.pid, &DesktopWindow::pid) == byAge.end();
        });
        const auto add = [&](const DesktopWindow* window) {
            if (!window || window->helper ||
                std::ranges::find(processes_, window->pid, &Process::pid) != processes_.end())
                return;
            processes_.push_back({window->pid, {}, window->pid > 0 ? processName(window->pid) : window->machine});
        };
        for (const xcb_window_t client : root_.inOrder) add(list.find(client));
        for (auto window = list.all.rbegin(); window != list.all.rend(); ++window) add(&*window);
        for (Process& process : processes_) {
            // Menus may call themselves anything. Where there is nothing else, the name of a window that has gone is
            // better.
            for (const bool isManaged : {true, false}) {
                std::vector<std::pair<std::string, std::string>> classes;
                for (const DesktopWindow* window : byAge)
                    if (window->pid == process.pid && window->managed == isManaged &&
                        !(window->instance.empty() && window->className.empty()))
                        classes.emplace_back(window->instance, window->className);
                if (isManaged ? !classes.empty() : process.classes.empty()) process.classes = std::move(classes);
            }
        }
        list.processes = processes_;
    }

    RootProperties root_;
    std::unordered_map<xcb_window_t, WindowProperties> known_;
    std::vector<Process> processes_;
    uint64_t mappings_ = 0;
    std::chrono::steady_clock::time_point hiddenUntil_;  // when some application may count as hidden no longer
    bool mustAsk_ = true;                                // something other than a move has happened
    std::unordered_map<xcb_window_t, xcb_configure_notify_event_t> moves_;  // of top-level windows since the last list
    std::vector<TopLevel> tops_;  // back to front, of the refresh that runs, or the last one
};

}  // namespace

const DesktopWindow* WindowList::find(xcb_window_t number) const {
    const auto found = std::ranges::find(all, number, &DesktopWindow::number);
    return found == all.end() ? nullptr : &*found;
}

const Process* WindowList::process(int32_t pid) const {
    const auto found = std::ranges::find(processes, pid, &Process::pid);
    return found == processes.end() ? nullptr : &*found;
}

int32_t WindowList::activeProcess() const {
    const DesktopWindow* window = find(active);
    return window ? window->pid : 0;
}

bool WindowList::isHidden(int32_t pid) const {
    return contains(hidden, pid);
}

xcb_window_t WindowList::frameOf(xcb_window_t client) const {
    const DesktopWindow* window = find(client);
    return window && window->frame != client ? window->frame : 0;
}

bool WindowList::isSeenWhole(xcb_window_t window) const {
    const auto found =
        std::find_if(all.begin(), all.end(), [=](auto& each) { return each.number == window || each.frame == window; });
    if (found == all.end()) return false;
    const PixelRect& area = found->number == window ? found->outer : found->frameBounds;
    return software::intersection(area, root) == area && std::none_of(all.begin(), found, [&](auto& other) {
               return other.frameOnScreen && other.frame != found->frame &&
                      !software::intersection(other.frameBounds, area).empty();
           });
}

std::unique_ptr<DesktopPart> makeWindowListPart() {
    return std::make_unique<WindowListPart>();
}

}  // namespace orvo::platform::x11
