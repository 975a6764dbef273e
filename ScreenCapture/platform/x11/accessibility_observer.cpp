// Watches the windows of one process: compares each snapshot of the desktop with the one before.
#include <algorithm>
#include <atomic>
#include <mutex>

#include "ScreenCapture/platform/linux/glib.h"
#include "ScreenCapture/platform/x11/applications.h"
#include "ScreenCapture/platform/x11/desktop.h"
#include "ScreenCapture/platform/x11/services.h"

namespace orvo::platform::x11 {
namespace {

using linux::glib;

struct Registration {
    ElementRef element;
    std::string notification;
    void* context;
};

// Everything that a running delivery needs; it outlives the observer if that is released meanwhile. What makes the
// desktop's snapshot stale makes the source ready, on whatever thread it is read; its own thread compares.
class Watch final : public DesktopObserver {
  public:
    Watch(int32_t pid, ElementObserverCallback callback) : pid_(pid), callback_(std::move(callback)) {
        addObserver(*this);
        compare();
    }
    ~Watch() { removeObserver(*this); }

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
    // Null: from here on none is made ready.
    void setSource(GSource* source) {
        std::lock_guard lock(mutex_);
        source_ = source;
    }
    void onStale() override {
        std::lock_guard lock(mutex_);
        if (source_) glib().g_source_set_ready_time(source_, 0);
    }

    // False when there will be no more notifications.
    bool deliver() {
        if (!stopped_) compare();
        return !stopped_;
    }

  private:
    static const X11Element& mine(const ElementRef& element) { return static_cast<const X11Element&>(*element); }
    static bool sameElement(const ElementRef& a, const ElementRef& b) {
        return a && b && mine(a).pid == mine(b).pid && mine(a).window == mine(b).window;
    }

    // Null when the process has no such window.
    const DesktopWindow* find(const WindowList& windows, uint32_t number) const {
        const auto own = windowsOfProcess(windows, pid_);
        const auto found = std::ranges::find(own, number, &DesktopWindow::number);
        return found == own.end() ? nullptr : *found;
    }

    // Without a server everything stays as it was seen last. The first time there is nothing to compare with.
    void compare() {
        const auto desktop = latestDesktop();
        const auto last = desktop ? std::exchange(last_, desktop) : nullptr;
        if (!last) return;
        const WindowList& now = *desktop->windows;
        const WindowList& before = *last->windows;
        for (const DesktopWindow* window : windowsOfProcess(now, pid_)) {
            if (const DesktopWindow* old = find(before, window->number))
                reportChanges(*old, *window);
            else
                fire("AXWindowCreated", window->number, true);
        }
        const bool isHidden = now.isHidden(pid_);
        if (isHidden != before.isHidden(pid_)) fire(isHidden ? "AXApplicationHidden" : "AXApplicationShown", 0, false);
        if (find(now, now.active) && !(now.active == before.active && find(before, now.active)))
            fire("AXFocusedWindowChanged", now.active, true);
    }

    void reportChanges(const DesktopWindow& old, const DesktopWindow& window) {
        const PixelRect& from = old.bounds;
        const PixelRect& to = window.bounds;
        if (from.x != to.x || from.y != to.y) fire("AXWindowMoved", window.number, false);
        if (from.width != to.width || from.height != to.height) fire("AXWindowResized", window.number, false);
        if (old.minimized != window.minimized)
            fire(window.minimized ? "AXWindowMiniaturized" : "AXWindowDeminiaturized", window.number, false);
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
    std::mutex mutex_;
    std::vector<Registration> registrations_;
    GSource* source_ = nullptr;
    std::atomic<bool> stopped_{false};
    std::shared_ptr<const Desktop> last_;  // the delivering thread's own
};

gboolean deliver(gpointer data) {
    return (*static_cast<std::shared_ptr<Watch>*>(data))->deliver() ? G_SOURCE_CONTINUE : G_SOURCE_REMOVE;
}

// Not ready before the next change; what is stale by then is compared now.
gboolean dispatch(GSource* source, GSourceFunc callback, gpointer data) {
    glib().g_source_set_ready_time(source, -1);
    return callback(data);
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
        static GSourceFuncs functions = {nullptr, nullptr, dispatch, nullptr, nullptr, nullptr};
        source_ = glib().g_source_new(&functions, sizeof(GSource));
        glib().g_source_set_callback(source_, deliver, new std::shared_ptr<Watch>(watch_), forget);
        glib().g_source_set_ready_time(source_, 0);  // for what has changed by now
        watch_->setSource(source_);
        GMainContext* context = glib().g_main_context_ref_thread_default();
        glib().g_source_attach(source_, context);
        glib().g_main_context_unref(context);
    }
    void removeFromCurrentRunLoop() override {
        if (!source_) return;
        watch_->setSource(nullptr);
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
    return std::make_unique<X11Observer>(std::make_shared<Watch>(pid, std::move(callback)));
}

}  // namespace orvo::platform::x11
