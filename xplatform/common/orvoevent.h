/*
 * An event of the base runtime: a flag that threads wait for.
 *
 * Errors: a null event logs "illegal argument!" at level 1 under the module "event" and gives 22.
 * Threads: every function except orvoevent_destory() may be called from any thread at any time.
 * This header is plain C11 and compiles as C++ too.
 */
#ifndef ORVO_EVENT_H
#define ORVO_EVENT_H

#include "xplatform/common/orvobase.h"

#ifdef __cplusplus
extern "C" {
#endif

typedef struct orvoevent orvoevent;

/* Creates an event with the flag `initialState`. If `manualReset` is 0, a wait that ends clears the flag; otherwise the
 * flag stays until orvoevent_reset(). Result: the event; NULL, with a log line, if the system refuses.
 * Memory: orvoevent_destory(). */
ORVO_API orvoevent* orvoevent_create(int manualReset, int initialState);

/* Frees an event. No thread may be waiting for it. Result: 0. */
ORVO_API int orvoevent_destory(orvoevent* event);

/* Sets the flag and wakes one waiting thread, also for an event with manual reset. Result: 0. */
ORVO_API int orvoevent_signal(orvoevent* event);

/* Clears the flag. Result: 0. */
ORVO_API int orvoevent_reset(orvoevent* event);

/* Result: the flag, 0 or 1. */
ORVO_API int orvoevent_issignaled(orvoevent* event);

/* Waits without a limit until the flag is set. Result: 0. */
ORVO_API int orvoevent_wait(orvoevent* event);

/* Waits until the flag is set or `milliseconds` have passed on the wall clock; -1 waits without a limit, any other
 * negative number not at all. Result: 0 when the flag was set; 60, on every system, when the time had passed. */
ORVO_API int orvoevent_timedwait(orvoevent* event, int milliseconds);

#ifdef __cplusplus
}
#endif

#endif
