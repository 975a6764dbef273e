// Watches the windows of one process: compares what is there with what was there whenever the server tells of news.
#include "ScreenCapture/platform/x11/accessibility_observer.h"

#include <atomic>
#include <cstring>
#include <map>
#include <mutex>

#include "ScreenCapture/platform/linux/glib.h"
#include "ScreenCapture/platform/x11/accessibility.h"
#include "ScreenCapture/platform/x11/applications.h"
#include "ScreenCapture/platform/x11/connection.h"
#include "ScreenCapture/platform/x11/desktop_model.h"

namespace orvo::platform::x11 {
namespace {

using linux::glib;

struct Registration {
    ElementRef element;
    std::string notification;
    void* context;
};

struct WindowState {
    PixelRect bounds;
    bool minimized = false;
};

// Everything that a running delivery needs; it outlives the observer if that is released meanwhile.
class Watch {
  public:
    Watch(int32_t pid, ElementObserverCallback callback, std::unique_ptr<Connection> connection)
        : pid_(pid), callback_(std::move(callback)), x_(std::move(connection)) {
        const uint32_t events = XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY | XCB_EVENT_MASK_PROPERTY_CHANGE;
        xcb_change_window_attributes(x_->raw(), x_->root(), XCB_CW_EVENT_MASK, &events);
        catchUp(false);
    }
    ~Watch() {
        const PipeGuard guard;
        x_.reset();
    }

    int descriptor() const { return x_->descriptor(); }
    void add(Registration registration) {
        std::lock_guard lock(mutex_);
        registrations_.push_back(std::move(registration));
    }
    void remove(const ElementRef& element, const char* notification) {
        std::lock_guard lock(mutex_);
        std::erase_if(registrations_, [&](const Registration& each) {
            return sameElement(each.element, element) && each.notification == notification;
        });
    }
    void stop() { stopped_ = true; }

    // False when there will be no more news.
    bool deliver() {
        const PipeGuard guard;
        bool any = false;
        while (x_->nextEvent()) any = true;
        if (any) catchUp(true);
        return !x_->lost() && !stopped_;
    }

  private:
    static const X11Element& mine(const ElementRef& element) { return static_cast<const X11Element&>(*element); }
    static bool sameElement(const ElementRef& a, const ElementRef& b) {
        return a && b && mine(a).pid == mine(b).pid && mine(a).window == mine(b).window;
    }

    // After an answer the model's connection has been told the same events. What happens to a window before it is
    // followed nobody tells, so that it is looked at once more; not for ever where one opens after the other.
    void catchUp(bool report) {
        constexpr int kMostRounds = 8;
        for (int round = 0; round < kMostRounds; ++round)
            if (!x_->sync() || !compare(report)) return;
    }

    // True when there are windows that were not followed before.
    bool compare(bool report) {
        const auto desktop = currentDesktop();
        if (!desktop) return false;
        bool follows = false;
        const auto list = windowsOfProcess(*desktop->windows, pid_);
        std::map<uint32_t, WindowState> now;
        for (const DesktopWindow* window : list) {
            now[window->number] = {window->bounds, window->minimized};
            if (windows_.count(window->number)) continue;
            follow(window->number);
            follows = true;
        }
        const auto before = std::exchange(windows_, now);
        const uint32_t active = now.count(desktop->windows->active) ? desktop->windows->active : 0;
        const uint32_t wasActive = std::exchange(active_, active);
        const bool hidden = desktop->windows->isHidden(pid_);
        const bool wasHidden = std::exchange(hidden_, hidden);
        if (!report) return follows;
        for (const auto& [number, state] : now) {
            const auto old = before.find(number);
            if (old == before.end())
                fire("AXWindowCreated", number, true);
            else
                reportChanges(number, old->second, state);
        }
        if (hidden != wasHidden) fire(hidden ? "AXApplicationHidden" : "AXApplicationShown", 0, false);
        if (active != 0 && active != wasActive) fire("AXFocusedWindowChanged", active, true);
        return follows;
    }

    void reportChanges(uint32_t number, const WindowState& old, const WindowState& state) {
        const PixelRect& from = old.bounds;
        const PixelRect& to = state.bounds;
        if (from.x != to.x || from.y != to.y) fire("AXWindowMoved", number, false);
        if (from.width != to.width || from.height != to.height) fire("AXWindowResized", number, false);
        if (old.minimized != state.minimized)
            fire(state.minimized ? "AXWindowMiniaturized" : "AXWindowDeminiaturized", number, false);
    }

    // A client inside a frame tells of its own changes; frames are heard of through the root.
    void follow(uint32_t window) {
        const uint32_t events = XCB_EVENT_MASK_STRUCTURE_NOTIFY | XCB_EVENT_MASK_PROPERTY_CHANGE;
        xcb_change_window_attributes(x_->raw(), window, XCB_CW_EVENT_MASK, &events);
    }

    void fire(const char* notification, uint32_t window, bool toEverybody) {
        std::vector<Registration> receivers;
        {
            std::lock_guard lock(mutex_);
            for (const Registration& each : registrations_) {
                const bool concerned =
                    toEverybody || mine(each.element).window == 0 || mine(each.element).window == window;
                if (concerned && each.notification == notification) receivers.push_back(each);
            }
        }
        const auto element = std::make_shared<X11Element>(pid_, window);
        for (const Registration& each : receivers)
            if (!stopped_) callback_(element, notification, each.context);
    }

    const int32_t pid_;
    const ElementObserverCallback callback_;
    std::unique_ptr<Connection> x_;
    std::mutex mutex_;
    std::vector<Registration> registrations_;
    std::atomic<bool> stopped_{false};
    // The delivering thread's own.
    std::map<uint32_t, WindowState> windows_;
    uint32_t active_ = 0;
    bool hidden_ = false;
};

gboolean deliver(gint /*descriptor*/, GIOCondition /*condition*/, gpointer data) {
    return (*static_cast<std::shared_ptr<Watch>*>(data))->deliver() ? G_SOURCE_CONTINUE : G_SOURCE_REMOVE;
}

void forget(gpointer data) {
    delete static_cast<std::shared_ptr<Watch>*>(data);
}

class X11Observer final : public ElementObserver {
  public:
    explicit X11Observer(std::shared_ptr<Watch> watch) : watch_(std::move(watch)) {}
    ~X11Observer() override {
        watch_->stop();
        removeFromCurrentRunLoop();
    }

    void add(const ElementRef& element, const char* notification, void* context) override {
        if (element && notification) watch_->add({element, notification, context});
    }
    void remove(const ElementRef& element, const char* notification) override {
        if (element && notification) watch_->remove(element, notification);
    }
    void addToCurrentRunLoop() override {
        if (source_ || !glib().found) return;
        const auto condition = static_cast<GIOCondition>(G_IO_IN | G_IO_HUP | G_IO_ERR);
        source_ = glib().g_unix_fd_source_new(watch_->descriptor(), condition);
        glib().g_source_set_callback(source_, reinterpret_cast<GSourceFunc>(reinterpret_cast<void (*)()>(deliver)),
                                     new std::shared_ptr<Watch>(watch_), forget);
        GMainContext* context = glib().g_main_context_ref_thread_default();
        glib().g_source_attach(source_, context);
        glib().g_main_context_unref(context);
    }
    void removeFromCurrentRunLoop() override {
        if (!source_) return;
        glib().g_source_destroy(source_);
        glib().g_source_unref(source_);
        source_ = nullptr;
    }

  private:
    const std::shared_ptr<Watch> watch_;
    GSource* source_ = nullptr;
};

}  // namespace

std::unique_ptr<ElementObserver> makeElementObserver(int32_t pid, ElementObserverCallback callback) {
    const PipeGuard guard;
    auto connection = Connection::open();
    if (!connection) return nullptr;
    return std::make_unique<X11Observer>(std::make_shared<Watch>(pid, std::move(callback), std::move(connection)));
}

}  // namespace orvo::platform::x11
