// The main queue: one persistent GLib source over a job list.
#include "ScreenCapture/platform/linux/main_queue.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <climits>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

#include "ScreenCapture/platform/contained.h"
#include "ScreenCapture/platform/linux/glib.h"
#include "ScreenCapture/platform/software/queues.h"

namespace orvo::platform::linux {
namespace {

constexpr int kMaxRounds = 100;          // of the context, in search of our source
constexpr int kMaxSleep = 100;           // milliseconds of a host that runs the queue while GLib cannot be used
constexpr size_t kMaxUnattached = 1000;  // jobs kept while there is no main context to run them

int64_t nowNanoseconds() {
    using namespace std::chrono;
    return nanoseconds(steady_clock::now().time_since_epoch()).count();
}
int64_t now() {
    return nowNanoseconds() / 1000;
}

// Jobs wait in a list of our own. One source, which stays attached to the default main context, is ready while the list
// is not empty and runs all of it in one dispatch; posting a job adds it to the list and wakes the context. A source
// for each job would be made and destroyed with every frame. The context runs in whichever loop the host has (GTK, Qt,
// plain GLib), or in run(), which iterates it like such a loop.
//
// Nothing is attached before GLib is loaded, which the first job does. Where it cannot be loaded jobs gather up to a
// limit, since a later call may find the descriptors that loading needs.
class MainQueue {
  public:
    static MainQueue& instance() {
        static MainQueue& queue = *new MainQueue;  // lives as long as the process: jobs may come at any time
        return queue;
    }

    void post(Job job) {
        const bool attached = attach();
        {
            std::lock_guard lock(mutex_);
            if (!attached && waiting_.size() >= kMaxUnattached) return;
            waiting_.push_back(std::move(job));
        }
        if (attached) glib().g_main_context_wakeup(nullptr);
    }

    // False while GLib cannot be used; tried again each time.
    bool attach() {
        if (attached_) return true;
        std::lock_guard lock(attaching_);
        if (!attached_ && glib().found) {
            attachSources();
            attached_ = true;
        }
        return attached_;
    }

    // For the context's owner.
    void runNow(const Job& job) {
        runJob(job);
        ran_++;
    }

    int run(int milliseconds) {
        if (!attach()) {
            std::this_thread::sleep_for(std::chrono::milliseconds(std::clamp(milliseconds, 0, kMaxSleep)));
            return 0;
        }
        if (!glib().g_main_context_acquire(nullptr)) return 0;
        const uint64_t before = ran_;
        if (milliseconds == 0) {
            // Another source may be more urgent than ours and take a round of its own.
            for (int round = 0; round < kMaxRounds && ran_ == before; ++round)
                if (!glib().g_main_context_iteration(nullptr, FALSE)) break;
        } else if (milliseconds < 0) {
            while (true) glib().g_main_context_iteration(nullptr, TRUE);
        } else {
            const int64_t end = now() + static_cast<int64_t>(milliseconds) * 1000;
            for (int64_t left = end - now(); left > 0; left = end - now()) {
                maxWait_ = static_cast<gint>((left + 999) / 1000);
                glib().g_main_context_iteration(nullptr, TRUE);
            }
            maxWait_ = -1;
        }
        glib().g_main_context_release(nullptr);
        return static_cast<int>(std::min<uint64_t>(ran_ - before, INT_MAX));
    }

  private:
    void attachSources() {
        static GSourceFuncs jobFuncs = {prepare, check, dispatch, nullptr, nullptr, nullptr};
        attachSource(jobFuncs, "orvo main queue");
        // Never ready, so that it costs no wake-up: it only says how long the context may wait.
        static GSourceFuncs boundFuncs = {bound, nullptr, nullptr, nullptr, nullptr, nullptr};
        attachSource(boundFuncs, "orvo main queue, waiting");
    }

    static void attachSource(GSourceFuncs& functions, const char* name) {
        GSource* source = glib().g_source_new(&functions, sizeof(GSource));
        glib().g_source_set_name(source, name);
        glib().g_source_attach(source, nullptr);
        glib().g_source_unref(source);  // the context keeps it
    }

    // For one wait only: a loop that a job runs by itself is not kept awake by the end of the run around it.
    static gboolean bound(GSource* /*source*/, gint* timeout) {
        *timeout = std::exchange(instance().maxWait_, -1);
        return FALSE;
    }

    bool ready() {
        std::lock_guard lock(mutex_);
        return !waiting_.empty();
    }
    static gboolean prepare(GSource* /*source*/, gint* timeout) {
        *timeout = -1;
        return instance().ready();
    }
    static gboolean check(GSource* /*source*/) { return instance().ready(); }
    static gboolean dispatch(GSource* /*source*/, GSourceFunc /*callback*/, gpointer /*data*/) {
        instance().runReady();
        return G_SOURCE_CONTINUE;
    }

    // GLib blocks the source meanwhile: a job that iterates the context finds none of the others.
    void runReady() {
        {
            std::lock_guard lock(mutex_);
            std::swap(waiting_, running_);
        }
        for (Job& job : running_) runNow(std::exchange(job, nullptr));
        running_.clear();
    }

    std::mutex attaching_;
    std::atomic<bool> attached_{false};
    std::mutex mutex_;
    std::vector<Job> waiting_;
    // Touched by the context's owner only.
    std::vector<Job> running_;
    uint64_t ran_ = 0;
    gint maxWait_ = -1;  // milliseconds; below 0 without end
};

// A source that is ready at the points of its grid. A descriptor of a timer would be more punctual, but GLib would take
// it out of the context and put it back for each tick, and wake itself up for both.
class MainTimer final : public Timer {
  public:
    MainTimer(uint64_t interval, Job tick) {
        auto* const grid =
            new Grid{std::max<int64_t>(static_cast<int64_t>(interval), 1), nowNanoseconds(), std::move(tick)};
        static GSourceFuncs functions = {nullptr, nullptr, dispatch, nullptr, nullptr, nullptr};
        GSource* const source = glib().g_source_new(&functions, sizeof(GSource));
        glib().g_source_set_name(source, "orvo main timer");
        glib().g_source_set_callback(source, nullptr, grid, [](gpointer data) { delete static_cast<Grid*>(data); });
        glib().g_source_set_ready_time(source, grid->advance());
        glib().g_source_attach(source, nullptr);
        source_ = source;
    }
    ~MainTimer() override { destroy(); }
    MainTimer(const MainTimer&) = delete;
    MainTimer& operator=(const MainTimer&) = delete;

    void cancel() override { destroy(); }

  private:
    // Freed after the last tick, on whichever thread lets go of it.
    struct Grid {
        const int64_t interval;  // nanoseconds
        int64_t point;
        const Job tick;

        // The next point after now, microseconds of GLib's clock.
        int64_t advance() {
            point += interval * ((nowNanoseconds() - point) / interval + 1);
            return (point + 999) / 1000;
        }
    };

    static gboolean dispatch(GSource* source, GSourceFunc /*callback*/, gpointer data) {
        auto& grid = *static_cast<Grid*>(data);
        MainQueue::instance().runNow(grid.tick);
        glib().g_source_set_ready_time(source, grid.advance());
        return G_SOURCE_CONTINUE;
    }
    void destroy() {
        GSource* const source = source_.exchange(nullptr);
        if (!source) return;
        glib().g_source_destroy(source);
        glib().g_source_unref(source);
    }

    std::atomic<GSource*> source_;
};

}  // namespace

const char* LinuxDispatch::whyNoMainQueue() {
    return glib().missing ? "GLib cannot be loaded: no callbacks can be delivered" : nullptr;
}

void LinuxDispatch::mainAsync(Job job) {
    MainQueue::instance().post(std::move(job));
}

std::shared_ptr<SerialQueue> LinuxDispatch::makeSerialQueue(const char* label) {
    return software::makeSerialQueue(label);
}

std::shared_ptr<Timer> LinuxDispatch::makeTimer(const std::shared_ptr<SerialQueue>& queue, uint64_t intervalNanoseconds,
                                                Job tick) {
    return software::makeTimer(queue, intervalNanoseconds, std::move(tick));
}

std::shared_ptr<Timer> LinuxDispatch::makeMainTimer(uint64_t intervalNanoseconds, Job tick) {
    if (!MainQueue::instance().attach()) return nullptr;
    return std::make_shared<MainTimer>(intervalNanoseconds, std::move(tick));
}

int runMainQueue(int milliseconds) {
    return MainQueue::instance().run(milliseconds);
}

}  // namespace orvo::platform::linux
