// An event: a flag under a mutex, with a condition to wait for it.
#include "xplatform/common/orvoevent.h"

#include <pthread.h>
#include <time.h>

#include <cerrno>
#include <memory>
#include <new>

#include "xplatform/common/orvofailure.h"
#include "xplatform/common/orvoutil.h"

struct orvoevent {
    pthread_mutex_t lock;
    pthread_cond_t changed;
    unsigned char manual_reset;
    unsigned char signaled;
};

namespace {

using orvo::log_failure;
using orvo::refuse_argument;

constexpr char kModule[] = "event";
constexpr int kTimedOut = 60;

// The event's lock, held for a scope.
class Locked {
  public:
    explicit Locked(orvoevent* event) : event_(event) { pthread_mutex_lock(&event_->lock); }
    ~Locked() { pthread_mutex_unlock(&event_->lock); }
    Locked(const Locked&) = delete;
    Locked& operator=(const Locked&) = delete;

  private:
    orvoevent* event_;
};

void leave_wait(orvoevent* event) {
    if (!event->manual_reset) event->signaled = 0;
}

timespec deadline_after(int milliseconds) {
    int64_t microseconds = static_cast<int64_t>(orvo_gettimeofday_microsecond()) + int64_t{milliseconds} * 1000;
    if (microseconds < 0) microseconds = 0;
    return {static_cast<time_t>(microseconds / 1000000), static_cast<long>(microseconds % 1000000 * 1000)};
}

}  // namespace

extern "C" {

orvoevent* orvoevent_create(int manualReset, int initialState) {
    std::unique_ptr<orvoevent> event(new (std::nothrow) orvoevent);
    if (!event) {
        log_failure(kModule, __LINE__, "out of memory!");
        return nullptr;
    }
    if (pthread_mutex_init(&event->lock, nullptr) != 0) {
        log_failure(kModule, __LINE__, "failed to create mutex for new event!");
        return nullptr;
    }
    if (pthread_cond_init(&event->changed, nullptr) != 0) {
        pthread_mutex_destroy(&event->lock);
        log_failure(kModule, __LINE__, "failed to create cond for new event!");
        return nullptr;
    }
    event->manual_reset = manualReset != 0;
    event->signaled = initialState != 0;
    return event.release();
}

int orvoevent_destory(orvoevent* event) {
    if (!event) return refuse_argument(kModule, __LINE__);
    pthread_cond_destroy(&event->changed);
    pthread_mutex_destroy(&event->lock);
    delete event;
    return 0;
}

int orvoevent_signal(orvoevent* event) {
    if (!event) return refuse_argument(kModule, __LINE__);
    Locked locked(event);
    event->signaled = 1;
    // Intended: one waiter, of an event that is reset by hand too. Under the lock, so that who was woken may free it.
    pthread_cond_signal(&event->changed);
    return 0;
}

int orvoevent_reset(orvoevent* event) {
    if (!event) return refuse_argument(kModule, __LINE__);
    Locked locked(event);
    event->signaled = 0;
    return 0;
}

int orvoevent_issignaled(orvoevent* event) {
    if (!event) return refuse_argument(kModule, __LINE__);
    Locked locked(event);
    return event->signaled;
}

int orvoevent_wait(orvoevent* event) {
    if (!event) return refuse_argument(kModule, __LINE__);
    Locked locked(event);
    while (!event->signaled) pthread_cond_wait(&event->changed, &event->lock);
    leave_wait(event);
    return 0;
}

int orvoevent_timedwait(orvoevent* event, int milliseconds) {
    if (!event) return refuse_argument(kModule, __LINE__);
    if (milliseconds == -1) return orvoevent_wait(event);
    timespec deadline = deadline_after(milliseconds);
    Locked locked(event);
    int error = 0;
    while (!event->signaled && error == 0) {
        error = pthread_cond_timedwait(&event->changed, &event->lock, &deadline);
    }
    if (!event->signaled) return error == ETIMEDOUT ? kTimedOut : error;
    leave_wait(event);
    return 0;
}

}  // extern "C"
