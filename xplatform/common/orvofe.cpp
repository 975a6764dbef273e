// The descriptor event pump.
#include "xplatform/common/orvofe.h"

#include <poll.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <climits>
#include <cstdint>
#include <new>

#include "xplatform/common/orvobarray.h"
#include "xplatform/common/orvofailure.h"
#include "xplatform/common/orvofe_wait.h"
#include "xplatform/common/orvosys_thread.h"
#include "xplatform/common/orvoutil.h"

namespace {

using orvo::kInvalidArgument;
using orvo::log_failure;

constexpr char kModule[] = "fevent";
constexpr int kExists = 17, kOutOfSlots = 12, kNotFound = 2;
constexpr int kIdleWaitMs = 1, kWaitAfterFailureMs = 10;
// The wall clock may be set while somebody waits for a deadline on it: it is read again after this time.
constexpr uint64_t kMaxDeadlineWait = 1000000000;  // nanoseconds

constexpr std::uint64_t kNoDeadline = UINT64_MAX;

struct feitem {
    long long fd = 0;
    int flags = 0;  // watched events
    int keep = 0;   // of them, those that stay after they have fired
    orvofe_callback callback = nullptr;
    void* user = nullptr;
    orvofe_release release = nullptr;
    std::uint64_t deadline = kNoDeadline;  // wall clock, microseconds
    std::uint64_t uid = 0;                 // differs from that of a later item of the same descriptor

    constexpr long long key() const { return fd; }
};

constinit std::atomic<std::uint64_t> g_next_uid{1};

}  // namespace

struct orvofe {
    orvo::barray<feitem, long long, ORVOFE_MAX_FDS> items;
};

namespace {

// What one pass works on: the items as they were when it began, and what happened to each.
struct pass {
    pollfd polled[ORVOFE_MAX_FDS];
    std::uint64_t uids[ORVOFE_MAX_FDS];
    int events[ORVOFE_MAX_FDS];
    nfds_t count = 0;
};

int add(orvofe* pump, const feitem& item, const char* argument_error) {
    // poll takes an int: a larger number would name another descriptor.
    if (pump == nullptr || item.flags == 0 || item.callback == nullptr || item.fd != static_cast<int>(item.fd)) {
        log_failure(kModule, __LINE__, argument_error);
        return kInvalidArgument;
    }
    if (pump->items.find(item.fd) != nullptr) {
        log_failure(kModule, __LINE__, "file aready existed!");
        return kExists;
    }
    feitem added = item;
    added.uid = g_next_uid.fetch_add(1, std::memory_order_relaxed);
    if (!pump->items.insert(added)) {
        log_failure(kModule, __LINE__, "out of memory!");
        return kOutOfSlots;
    }
    return 0;
}

// An item leaves outside the loop: its release function is not called, but references to handlers are given up.
void leave_silently(orvofe* pump, const feitem& item) {
    if (item.release == CFECallbackWraper::FERelease) item.release(pump, item.fd, item.user);
}

// Microseconds until the earliest deadline; kNoDeadline without one.
std::uint64_t time_to_deadline(const orvofe& pump) {
    std::uint64_t earliest = kNoDeadline;
    for (const feitem& item : pump.items) earliest = std::min(earliest, item.deadline);
    if (earliest == kNoDeadline) return kNoDeadline;
    const std::uint64_t now = orvo_gettimeofday_microsecond();
    return earliest > now ? earliest - now : 0;
}

// Milliseconds that a pass waits: up to the earliest deadline, rounded up so that it has passed afterwards.
int wait_time(const orvofe& pump) {
    const uint64_t left = time_to_deadline(pump);
    return left == kNoDeadline ? kIdleWaitMs : static_cast<int>(std::min<uint64_t>((left + 999) / 1000, INT_MAX));
}

pollfd to_poll(const feitem& item) {
    const int wanted =
        ((item.flags & ORVOFE_READABLE) != 0 ? POLLIN : 0) | ((item.flags & ORVOFE_WRITABLE) != 0 ? POLLOUT : 0);
    return {static_cast<int>(item.fd), static_cast<short>(wanted), 0};
}

void prepare(const orvofe& pump, pass& p) {
    for (const feitem& item : pump.items) {
        p.polled[p.count] = to_poll(item);
        p.uids[p.count] = item.uid;
        p.events[p.count++] = 0;
    }
}

// False when the pass has to end without events.
bool wait(pass& p, int timeout) {
    if (poll(p.polled, p.count, timeout) >= 0) {
        for (nfds_t i = 0; i < p.count; ++i) {
            const short got = p.polled[i].revents, wanted = p.polled[i].events;
            if ((got & wanted & POLLIN) != 0) p.events[i] |= ORVOFE_READABLE;
            if ((got & wanted & POLLOUT) != 0) p.events[i] |= ORVOFE_WRITABLE;
            if ((got & (POLLERR | POLLHUP | POLLNVAL)) != 0) p.events[i] |= ORVOFE_ERROR;
        }
        return true;
    }
    if (errno != EBADF && errno != ERANGE) {
        orvo_msleep(kWaitAfterFailureMs);
        return false;
    }
    for (nfds_t i = 0; i < p.count; ++i) {  // find those to blame
        if (poll(&p.polled[i], 1, 0) < 0) p.events[i] |= ORVOFE_ERROR;
    }
    return true;
}

void add_passed_deadlines(const orvofe& pump, pass& p) {
    const std::uint64_t now = orvo_gettimeofday_microsecond();
    for (nfds_t i = 0; i < p.count; ++i) {
        const bool ready = (p.events[i] & (ORVOFE_READABLE | ORVOFE_WRITABLE)) != 0;
        if (!ready && pump.items[i].deadline <= now) p.events[i] |= ORVOFE_TIMEOUT;
    }
}

void dispatch(orvofe* pump, long long fd, std::uint64_t uid, int events) {
    feitem* item = pump->items.find(fd);
    if (item == nullptr || item->uid != uid) return;  // removed by an earlier callback, perhaps added again
    if ((events & (ORVOFE_TIMEOUT | ORVOFE_ERROR)) != 0) {
        item->flags = 0;
    } else {
        item->flags &= ~events | item->keep;
    }
    item->callback(pump, fd, events, item->user);

    item = pump->items.find(fd);  // the callback may have changed the table
    if (item == nullptr || item->flags != 0) return;
    const feitem removed = *item;
    pump->items.erase(fd);
    if (removed.release != nullptr) removed.release(pump, fd, removed.user);
}

int run_pass(orvofe* pump, int max_wait) {
    if (pump == nullptr) return 0;
    pass p;
    prepare(*pump, p);
    const int timeout = wait_time(*pump);
    if (!wait(p, timeout < max_wait ? timeout : max_wait)) return 0;
    add_passed_deadlines(*pump, p);
    int handled = 0;
    for (nfds_t i = 0; i < p.count; ++i) {
        if (p.events[i] == 0) continue;
        ++handled;
        dispatch(pump, p.polled[i].fd, p.uids[i], p.events[i]);
    }
    return handled;
}

}  // namespace

orvofe* orvofe_alloc() {
    return new (std::nothrow) orvofe;
}

void orvofe_free(orvofe* pump) {
    orvofe_clearup(pump);
    delete pump;
}

int orvofe_fdsize(const orvofe* pump) {
    return pump == nullptr ? 0 : static_cast<int>(pump->items.size());
}

void orvofe_clearup(orvofe* pump) {
    while (pump != nullptr && !pump->items.empty()) orvofe_unset(pump, pump->items[pump->items.size() - 1].fd);
}

int orvofe_add(orvofe* pump, long long fd, int flags, int keep, orvofe_callback callback, void* user,
               orvofe_release release) {
    return add(pump, {fd, flags, keep, callback, user, release}, "add illegal argument!");
}

int orvofe_addonce(orvofe* pump, long long fd, int flags, orvofe_callback callback, void* user, orvofe_release release,
                   unsigned int timeout) {
    const std::uint64_t deadline = orvo_gettimeofday_microsecond() + std::uint64_t{timeout} * 1000;
    return add(pump, {fd, flags, 0, callback, user, release, deadline}, "addonce illegal argument!");
}

int orvofe_set(orvofe* pump, long long fd, int flags) {
    if (pump == nullptr) {
        log_failure(kModule, __LINE__, "set illegal argument!");
        return kInvalidArgument;
    }
    feitem* item = pump->items.find(fd);
    if (item == nullptr) {
        log_failure(kModule, __LINE__, "file not found!");
        return kNotFound;
    }
    item->flags = flags;
    return 0;
}

int orvofe_unset(orvofe* pump, long long fd) {
    if (pump == nullptr) return kInvalidArgument;
    const feitem* item = pump->items.find(fd);
    if (item == nullptr) return kNotFound;
    const feitem removed = *item;
    pump->items.erase(fd);
    leave_silently(pump, removed);
    return 0;
}

bool orvofe_is_added(const orvofe* pump, long long fd) {
    return pump != nullptr && pump->items.find(fd) != nullptr;
}

int orvofe_loop(orvofe* pump) {
    return run_pass(pump, INT_MAX);
}

int orvofe_loop_within(orvofe* pump, unsigned int milliseconds) {
    return run_pass(pump, milliseconds > INT_MAX ? INT_MAX : static_cast<int>(milliseconds));
}

void orvo::wait_for_events(const orvofe& pump, int descriptor, uint64_t nanoseconds) {
    pollfd polled[ORVOFE_MAX_FDS + 1] = {{descriptor, POLLIN, 0}};
    const auto end = std::transform(pump.items.begin(), pump.items.end(), polled + 1, to_poll);
    const uint64_t left = time_to_deadline(pump);
    if (left != kNoDeadline) nanoseconds = std::min({nanoseconds, left * 1000, kMaxDeadlineWait});
    if (sys::poll_within(polled, static_cast<std::size_t>(end - polled), nanoseconds) < 0 && errno != EINTR)
        orvo_msleep(kWaitAfterFailureMs);
}

namespace {

// The user value of an item that CFEventPump has added.
struct route {
    CFECallbackWraper::function target;
    CRefCount* handler;
};

}  // namespace

void CFECallbackWraper::FECallback(orvofe*, long long fd, int events, void* user) {
    const route to = *static_cast<const route*>(user);  // the handler may remove its own descriptor
    to.handler->AddRef();
    to.target(to.handler, fd, events);
    to.handler->Release();
}

void CFECallbackWraper::FERelease(orvofe*, long long, void* user) {
    const route* const to = static_cast<const route*>(user);
    to->handler->Release();
    delete to;
}

CFEventPump::CFEventPump() : pump_(orvofe_alloc()), own_(true) {}
CFEventPump::CFEventPump(orvofe* pump) : pump_(pump), own_(false) {}
CFEventPump::~CFEventPump() {
    if (own_) orvofe_free(pump_);
}

namespace {

// Adds through `add` with a route to the handler, which goes again when adding fails.
template <typename Add>
int add_route(CFECallbackWraper::function target, CRefCount* handler, Add add) {
    if (target == nullptr || handler == nullptr) return add(static_cast<orvofe_callback>(nullptr), nullptr);
    handler->AddRef();
    route* const to = new route{target, handler};
    const int result = add(CFECallbackWraper::FECallback, to);
    if (result != 0) CFECallbackWraper::FERelease(nullptr, 0, to);
    return result;
}

}  // namespace

int CFEventPump::Add(long long fd, int flags, int keep, CFECallbackWraper callback, CRefCount* handler) {
    return add_route(callback.target_, handler, [&](orvofe_callback forward, void* user) {
        return orvofe_add(pump_, fd, flags, keep, forward, user, CFECallbackWraper::FERelease);
    });
}

int CFEventPump::AddOnce(long long fd, int flags, CFECallbackWraper callback, CRefCount* handler,
                         unsigned int timeout) {
    return add_route(callback.target_, handler, [&](orvofe_callback forward, void* user) {
        return orvofe_addonce(pump_, fd, flags, forward, user, CFECallbackWraper::FERelease, timeout);
    });
}

int CFEventPump::Set(long long fd, int flags) {
    return orvofe_set(pump_, fd, flags);
}
int CFEventPump::Unset(long long fd) {
    return orvofe_unset(pump_, fd);
}
int CFEventPump::Loop() {
    return orvofe_loop(pump_);
}
