/*
 * The descriptor event pump: a readiness loop over at most 64 descriptors, run one pass at a time by its owner.
 *
 * The functions can be called from C; CFEventPump routes the events to counted C++ objects.
 *
 * Threads: a pump belongs to one thread, nothing in it is locked. Inside its callbacks every function may be called on
 * the same pump, except orvofe_loop, orvofe_loop_within and orvofe_free.
 * Errors: 0 is success, else 22 (bad argument), 17 (descriptor already there), 12 (table full), 2 (no such descriptor),
 * each with a log line of module "fevent", except from orvofe_unset.
 */
#ifndef ORVO_FE_H
#define ORVO_FE_H

#include <stdbool.h>

#include "xplatform/common/orvobase.h"

#ifdef __cplusplus
extern "C" {
#endif

typedef struct orvofe orvofe;

/* Events, also used as the flags of what to watch (only the middle two). */
enum {
    ORVOFE_TIMEOUT = 1,  /* the deadline has passed */
    ORVOFE_READABLE = 2, /* there is something to read, or a connection to accept */
    ORVOFE_WRITABLE = 4, /* writing would not block */
    ORVOFE_ERROR = 8,    /* error, hang-up or invalid descriptor */
};

/* The maximum number of descriptors of one pump. */
enum { ORVOFE_MAX_FDS = 64 };

/* Called on the pump's thread, inside orvofe_loop, with one or more of the events. */
typedef void (*orvofe_callback)(orvofe* pump, long long fd, int events, void* user);
/* Called when the loop has removed the descriptor: the place to free `user`. Not called for what orvofe_unset,
 * orvofe_clearup and orvofe_free remove. */
typedef void (*orvofe_release)(orvofe* pump, long long fd, void* user);

/* Creates an empty pump. Result: NULL without memory. Memory: free it with orvofe_free(). */
ORVO_API orvofe* orvofe_alloc(void);
/* Empties the pump like orvofe_clearup() and frees it. NULL is ignored. */
ORVO_API void orvofe_free(orvofe* pump);
/* Returns the number of descriptors in the pump. */
ORVO_API int orvofe_fdsize(const orvofe* pump);
/* Removes every descriptor. No callback is called, and no release function but CFECallbackWraper::FERelease, which
 * releases the reference to its handler. */
ORVO_API void orvofe_clearup(orvofe* pump);

/*
 * Watches a descriptor. The caller keeps it and closes it.
 *
 * flags     the events to watch: ORVOFE_READABLE, ORVOFE_WRITABLE or both
 * keep      those that stay watched after they have fired; the others fire once. A descriptor that watches nothing any
 *           more after its callback is removed. A deadline or an error ends all watching, whatever is kept.
 * callback  must not be NULL
 * release   may be NULL
 */
ORVO_API int orvofe_add(orvofe* pump, long long fd, int flags, int keep, orvofe_callback callback, void* user,
                        orvofe_release release);
/* Watches a descriptor for one event or until a deadline `timeout` milliseconds (of the wall clock) from now. */
ORVO_API int orvofe_addonce(orvofe* pump, long long fd, int flags, orvofe_callback callback, void* user,
                            orvofe_release release, unsigned int timeout);
/* Changes the watched events. What is kept, and the deadline, stay as they are. */
ORVO_API int orvofe_set(orvofe* pump, long long fd, int flags);
/* Removes a descriptor. Its release function is called only when it is CFECallbackWraper::FERelease. */
ORVO_API int orvofe_unset(orvofe* pump, long long fd);
ORVO_API bool orvofe_is_added(const orvofe* pump, long long fd);

/*
 * One pass: waits for events, then calls the callbacks in the order of the descriptors. It waits until the earliest
 * deadline, or 1 ms when no descriptor has one; with no descriptor at all it sleeps 1 ms.
 * Result: the number of descriptors that had events.
 */
ORVO_API int orvofe_loop(orvofe* pump);
/* The same, waiting at most `milliseconds`; 0 does not wait. For owners that have other work. */
ORVO_API int orvofe_loop_within(orvofe* pump, unsigned int milliseconds);

#ifdef __cplusplus
}

#include "xplatform/common/orvorefcount.h"

// How CFEventPump reaches a handler: a function, called as function(handler, fd, events). A member function of the
// handler's class fits through CFECallbackWraper::to<Handler, &Handler::method>().
class ORVO_API CFECallbackWraper {
  public:
    typedef void (*function)(CRefCount* handler, long long fd, int events);

    CFECallbackWraper(function target) : target_(target) {}
    template <typename Handler, void (Handler::*method)(long long fd, int events)>
    static CFECallbackWraper to() {
        const function forward = [](CRefCount* handler, long long fd, int events) {
            (static_cast<Handler*>(handler)->*method)(fd, events);
        };
        return forward;
    }

    // The pump's callback and release function: `user` is the route made by CFEventPump. FECallback forwards the events
    // to the handler, which it keeps alive meanwhile; FERelease releases the handler's reference.
    static void FECallback(orvofe* pump, long long fd, int events, void* user);
    static void FERelease(orvofe* pump, long long fd, void* user);

  private:
    friend class CFEventPump;
    function target_;
};

// A pump whose events go to counted objects. A handler is referenced from Add or AddOnce until its descriptor is
// removed, by whatever way. Results and threads as those of the functions above.
class ORVO_API CFEventPump {
  public:
    // Over a pump of its own, or over one that stays the caller's.
    CFEventPump();
    explicit CFEventPump(orvofe* pump);
    ~CFEventPump();
    CFEventPump(const CFEventPump&) = delete;
    CFEventPump& operator=(const CFEventPump&) = delete;

    int Add(long long fd, int flags, int keep, CFECallbackWraper callback, CRefCount* handler);
    // The timeout is in milliseconds.
    int AddOnce(long long fd, int flags, CFECallbackWraper callback, CRefCount* handler, unsigned int timeout);
    int Set(long long fd, int flags);
    int Unset(long long fd);
    int Loop();
    orvofe* GetPump() const { return pump_; }

  private:
    orvofe* const pump_;
    const bool own_;
};

#endif /* __cplusplus */
#endif
