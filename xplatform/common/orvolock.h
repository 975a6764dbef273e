/*
 * Locks of the base runtime: mutexes in the caller's memory, read-write locks on the heap.
 *
 * Errors: a null lock logs "illegal argument!" at level 1 under the module "lock" and gives 22; a system call that
 * fails gives its errno, 16 (EBUSY) for a try that finds the lock taken. No lock is recursive.
 * Threads: every function may be called from any thread; the thread that locked a lock must unlock it.
 * This header is plain C11 and compiles as C++ too.
 */
#ifndef ORVO_LOCK_H
#define ORVO_LOCK_H

#include <pthread.h>

#include "xplatform/common/orvobase.h"

#ifdef __cplusplus
extern "C" {
#endif

/* A mutex in the caller's memory, valid from orvolock_init() to orvolock_destroy(). */
typedef pthread_mutex_t orvolock_t;

/* Initialises an unlocked mutex. Result: the mutex; NULL, with a log line, for NULL or if the system refuses.
 */
ORVO_API orvolock_t* orvolock_init(orvolock_t* mutex);

/* Destroys an unlocked mutex. The caller keeps its memory. */
ORVO_API int orvolock_destroy(orvolock_t* mutex);

/* Locks the mutex and waits without a limit. */
ORVO_API int orvolock_lock(orvolock_t* mutex);

/* Locks the mutex if it is unlocked. */
ORVO_API int orvolock_trylock(orvolock_t* mutex);

/* Unlocks the mutex. */
ORVO_API int orvolock_unlock(orvolock_t* mutex);

/* A lock that several readers or one writer hold. */
typedef struct orvorwlock orvorwlock_t;

/* Creates an unlocked read-write lock. Result: NULL, with a log line, on failure. Memory: orvorwlock_destroy(). */
ORVO_API orvorwlock_t* orvorwlock_alloc(void);

/* Destroys and frees an unlocked lock. If the system refuses, a line is logged and the lock is kept. */
ORVO_API int orvorwlock_destroy(orvorwlock_t* lock);

/* Locks for reading: waits without a limit, or only tries. */
ORVO_API int orvorwlock_rdlock(orvorwlock_t* lock);
ORVO_API int orvorwlock_tryrdlock(orvorwlock_t* lock);

/* Locks for writing: waits without a limit, or only tries. */
ORVO_API int orvorwlock_wrlock(orvorwlock_t* lock);
ORVO_API int orvorwlock_tryrwlock(orvorwlock_t* lock);

/* Unlocks a lock that is held for reading or for writing. */
ORVO_API int orvorwlock_unlock(orvorwlock_t* lock);

#ifdef __cplusplus
}
#endif

#endif
