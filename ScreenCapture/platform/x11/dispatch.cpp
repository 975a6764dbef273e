// The main queue: one persistent GLib source over a job list.
#include "ScreenCapture/platform/x11/dispatch.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <climits>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

#include "ScreenCapture/platform/contained.h"
#include "ScreenCapture/platform/linux_main_queue.h"
#include "ScreenCapture/platform/software/queues.h"
#include "ScreenCapture/platform/x11/late_glib.h"

namespace orvo::platform::x11 {
namespace {

constexpr int kMostRounds = 100;
constexpr int kLongestNap = 100;       // milliseconds of a host that drives a queue that cannot begin
constexpr size_t kMostUnbegun = 1000;  // jobs kept while there is no main queue to run them

int64_t now() {
    using namespace std::chrono;
    return duration_cast<microseconds>(steady_clock::now().time_since_epoch()).count();
}

class MainQueue {
  public:
    static MainQueue& instance() {
        static MainQueue& queue = *new MainQueue;  // lives as long as the process: jobs may come at any time
        return queue;
    }

    void post(Job job) {
        const bool begun = begin();
        {
            std::lock_guard lock(mutex_);
            if (!begun && waiting_.size() >= kMostUnbegun) return;
            waiting_.push_back(std::move(job));
        }
        if (begun) glib().g_main_context_wakeup(nullptr);
    }

    int run(int milliseconds) {
        if (!begin()) {
            std::this_thread::sleep_for(std::chrono::milliseconds(std::clamp(milliseconds, 0, kLongestNap)));
            return 0;
        }
        if (!glib().g_main_context_acquire(nullptr)) return 0;
        const uint64_t before = ran_;
        if (milliseconds == 0) {
            // Another source may be more urgent than ours and take a round of its own.
            for (int round = 0; round < kMostRounds && ran_ == before; ++round)
                if (!glib().g_main_context_iteration(nullptr, FALSE)) break;
        } else if (milliseconds < 0) {
            while (true) glib().g_main_context_iteration(nullptr, TRUE);
        } else {
            const int64_t end = now() + static_cast<int64_t>(milliseconds) * 1000;
            for (int64_t left = end - now(); left > 0; left = end - now()) {
                longestWait_ = static_cast<gint>((left + 999) / 1000);
                glib().g_main_context_iteration(nullptr, TRUE);
            }
            longestWait_ = -1;
        }
        glib().g_main_context_release(nullptr);
        return static_cast<int>(std::min<uint64_t>(ran_ - before, INT_MAX));
    }

  private:
    // False while GLib cannot be used; tried again each time.
    bool begin() {
        if (begun_) return true;
        std::lock_guard lock(beginning_);
        if (!begun_ && glib().found) {
            attach();
            begun_ = true;
        }
        return begun_;
    }

    void attach() {
        static GSourceFuncs jobFuncs = {prepare, check, dispatch, nullptr, nullptr, nullptr};
        attach(jobFuncs, "orvo main queue");
        // Never ready, so that it costs no wake-up: it only says how long the context may wait.
        static GSourceFuncs boundFuncs = {bound, nullptr, nullptr, nullptr, nullptr, nullptr};
        attach(boundFuncs, "orvo main queue, waiting");
    }

    static void attach(GSourceFuncs& functions, const char* name) {
        GSource* source = glib().g_source_new(&functions, sizeof(GSource));
        glib().g_source_set_name(source, name);
        glib().g_source_attach(source, nullptr);
        glib().g_source_unref(source);  // the context keeps it
    }

    // For one wait only: a loop that a job runs by itself is not kept awake by the end of the run around it.
    static gboolean bound(GSource* /*source*/, gint* timeout) {
        *timeout = std::exchange(instance().longestWait_, -1);
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
        for (Job& job : running_) {
            runJob(std::exchange(job, nullptr));
            ran_++;
        }
        running_.clear();
    }

    std::mutex beginning_;
    std::atomic<bool> begun_{false};
    std::mutex mutex_;
    std::vector<Job> waiting_;
    // Touched by the context's owner only.
    std::vector<Job> running_;
    uint64_t ran_ = 0;
    gint longestWait_ = -1;  // milliseconds; below 0 without end
};

}  // namespace

void postToMainQueue(Job job) {
    MainQueue::instance().post(std::move(job));
}

const char* X11Dispatch::whyNoMainQueue() {
    return glib().missing ? "GLib cannot be loaded: no callbacks can be delivered" : nullptr;
}

void X11Dispatch::mainAsync(Job job) {
    postToMainQueue(std::move(job));
}

std::shared_ptr<SerialQueue> X11Dispatch::makeSerialQueue(const char* label) {
    return software::makeSerialQueue(label);
}

std::shared_ptr<Timer> X11Dispatch::makeTimer(const std::shared_ptr<SerialQueue>& queue, uint64_t intervalNanoseconds,
                                              Job tick) {
    return software::makeTimer(queue, intervalNanoseconds, std::move(tick));
}

int runMainQueueHere(int milliseconds) {
    return MainQueue::instance().run(milliseconds);
}

}  // namespace orvo::platform::x11

namespace orvo::platform {
int runMainQueue(int milliseconds) {
    return x11::runMainQueueHere(milliseconds);
}
}  // namespace orvo::platform
