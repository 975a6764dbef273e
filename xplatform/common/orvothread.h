/*
 * Threads of the base runtime: creation with a priority, joining, names, and values kept by thread.
 *
 * Errors: a function that returns an int returns 0 or an errno value: 22 invalid argument, 12 out of
 * slots, 34 out of range. Threads: every function may be called from any thread.
 * This header is plain C11 and compiles as C++ too.
 */
#ifndef ORVO_THREAD_H
#define ORVO_THREAD_H

#include "xplatform/common/orvobase.h"

#ifdef __cplusplus
extern "C" {
#endif

/* How a thread is scheduled: the minimum, the middle and the maximum of the default policy's range. Linux' default
 * policy has one priority for all, so the three run alike there and no privilege is needed. */
typedef enum ethread_priority {
    ETHREAD_PRIORITY_LOW = 0,
    ETHREAD_PRIORITY_NORMAL = 1,
    ETHREAD_PRIORITY_HIGH = 2,
} ethread_priority;

/* A thread that orvothread_create() has started. */
typedef struct orvothread orvothread;

/* What a thread runs. */
typedef void (*orvothread_function)(void* argument);

/* Starts a thread that runs function(argument). A priority outside the enumeration counts as normal.
 * Result: its handle; NULL with errno 22 for a null function, NULL when the system refuses a thread.
 * Memory: the handle lives until orvothread_terminate(), which has to be called for each thread. */
ORVO_API orvothread* orvothread_create(orvothread_function function, void* argument, ethread_priority priority);

/* Sets the thread's signalled flag, which tells it to end, waits without a limit and frees the handle.
 * `timeout` is not used. Result: 0; 22 for NULL; 35 or 11 (the system's EDEADLK), with the handle kept, when a thread
 * calls it for itself. */
ORVO_API int orvothread_terminate(orvothread* thread, int timeout);

/* The calling thread's signalled flag: 0, or 1 once it was asked to end; 22 when orvothread_create() did not make it.
 */
ORVO_API int orvothread_signaled(void);

/* A thread's signalled flag: 0, or 1 once it was asked to end or its function has returned; 22 for NULL. */
ORVO_API int orvothread_signaled2(orvothread* thread);

/* Waits for the thread's end; the handle stays. Result: 0, once for each thread; 22 for a second call, which waits too,
 * and for NULL; EDEADLK when a thread calls it for itself. */
ORVO_API int orvothread_waitfor(orvothread* thread);

/* The priority that the thread was created with; normal for NULL. */
ORVO_API ethread_priority orvothread_priority(const orvothread* thread);

/* The calling thread's identity as an integer: on Linux the kernel's number that ps and debuggers show, on macOS the
 * low half of the POSIX identity. */
ORVO_API int orvothread_selfid(void);

/* Names the calling thread. The pointer is kept, not a copy: the text has to outlive the thread or its next name. The
 * system's own copy is cut to what the system takes (15 bytes on Linux). NULL removes the name from the log lines.
 * Result: 0, 12 or the system's errno. */
ORVO_API int orvothread_setname(const char* name);

/* The pointer that the calling thread's orvothread_setname() stored; NULL without one. */
ORVO_API const char* orvothread_getname(void);

/* Stores a value of the calling thread under a slot number from 0 to 0x7FFFFFFF. A process has 1024 distinct numbers,
 * three of them reserved. Nothing is done with a value when its thread ends.
 * Result: 0; 34, also in errno, for a negative number; 12 for a number beyond the 1024. */
ORVO_API int orvothread_setspecific(int slot, void* value);

/* As orvothread_setspecific() for any slot number. Those with the top bit set are the runtime's own: 0x80000000 holds
 * the thread's name, 0x80000001 its handle, 0x80000002 its current task. */
ORVO_API int orvothread_setspecific_private(unsigned int slot, void* value);

/* Returns the calling thread's value of a slot; NULL for a slot that it has not set. */
ORVO_API void* orvothread_getspecific(unsigned int slot);

#ifdef __cplusplus
}
#endif

#endif
