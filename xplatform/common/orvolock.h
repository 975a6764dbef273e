/*
 * Locks of the base runtime: mutexes in memory of the caller's, read-write locks on the heap.
 *
 * Errors: a null lock logs "illegal argument!" at level 1 under the module "lock" and gives 22; a system call that
 * fails gives its errno, 16 (EBUSY) for a try that finds the lock taken. No lock is recursive.
 * Threads: every function may be called from any thread; a lock is given up by the thread that took it.
 * This header is plain C11 and compiles as C++ too.
 */
#ifndef ORVO_LOCK_H
#define ORVO_LOCK_H

#include <pthread.h>

#include "xplatform/common/orvobase.h"

#ifdef __cplusplus
extern "C" {
#endif

/* A mutex: the caller's memory, from orvolock_init() to orvolock_destroy(). */
typedef pthread_mutex_t orvolock_t;

/* Makes the memory a free mutex. Result: the mutex; NULL, with a line in the log, for NULL or when the system refuses.
 */
ORVO_API orvolock_t* orvolock_init(orvolock_t* mutex);

/* Ends a free mutex; its memory stays the caller's. */
ORVO_API int orvolock_destroy(orvolock_t* mutex);

/* Takes the mutex, waiting for it without a limit. */
ORVO_API int orvolock_lock(orvolock_t* mutex);

/* Takes the mutex if it is free. */
ORVO_API int orvolock_trylock(orvolock_t* mutex);

/* Gives the mutex up. */
ORVO_API int orvolock_unlock(orvolock_t* mutex);

/* A lock that several readers or one writer hold. */
typedef struct orvorwlock orvorwlock_t;

/* Result: a free read-write lock; NULL, with a line in the log, when there is none. Memory: orvorwlock_destroy(). */
ORVO_API orvorwlock_t* orvorwlock_alloc(void);

/* Ends and frees a lock that nobody holds. When the system refuses, that is logged and the lock lives on. */
ORVO_API int orvorwlock_destroy(orvorwlock_t* lock);

/* Takes the lock for reading, waiting for it without a limit; or if no writer has it. */
ORVO_API int orvorwlock_rdlock(orvorwlock_t* lock);
ORVO_API int orvorwlock_tryrdlock(orvorwlock_t* lock);

/* Takes the lock for writing, waiting for it without a limit; or if nobody has it. */
ORVO_API int orvorwlock_wrlock(orvorwlock_t* lock);
ORVO_API int orvorwlock_tryrwlock(orvorwlock_t* lock);

/* Gives the lock up, whichever way it was taken. */
ORVO_API int orvorwlock_unlock(orvorwlock_t* lock);

#ifdef __cplusplus
}
#endif

#endif
