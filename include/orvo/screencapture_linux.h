/*
 * What Orvo Screen Capture offers on Linux beside the common interface.
 */
#ifndef ORVO_SCREENCAPTURE_LINUX_H
#define ORVO_SCREENCAPTURE_LINUX_H

#include "orvo/screencapture.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Runs the main queue on the calling thread, for hosts without a GLib main loop.
 * milliseconds: how long to go on; 0 runs what is ready and returns, below 0 runs until the process ends.
 * Result: how many jobs ran. Threads: one thread at a time; answers 0 at once while another thread, or a GLib loop of
 * the host, runs the default main context. May be called from inside a callback. */
ORVO_API int orvo_screencapture_run_main_queue(int milliseconds);

/* A captured frame's memory, counted. With ORVO_PIXEL_FORMAT_BUFFER the frame callbacks receive one as `data`.
 * A host that wants the frame beyond the callback retains it and releases it later, in time: while all buffers of a
 * capture are retained, ticks are dropped. Threads: any. A null buffer answers 0 and NULL. */
typedef struct OrvoPixelBuffer* OrvoPixelBufferRef;

ORVO_API OrvoPixelBufferRef orvo_pixelbuffer_retain(OrvoPixelBufferRef buffer);
ORVO_API void orvo_pixelbuffer_release(OrvoPixelBufferRef buffer);
ORVO_API size_t orvo_pixelbuffer_get_width(OrvoPixelBufferRef buffer);         /* pixels */
ORVO_API size_t orvo_pixelbuffer_get_height(OrvoPixelBufferRef buffer);        /* pixels */
ORVO_API size_t orvo_pixelbuffer_get_bytes_per_row(OrvoPixelBufferRef buffer); /* bytes, padding included */

/* Locks the pixels for reading. Result: 0. Each lock is paired with one unlock. */
ORVO_API int orvo_pixelbuffer_lock(OrvoPixelBufferRef buffer);
ORVO_API int orvo_pixelbuffer_unlock(OrvoPixelBufferRef buffer);

/* Result: the first byte of the top row of 32-bit BGRA pixels. Memory: lives as long as the buffer is retained. */
ORVO_API const void* orvo_pixelbuffer_get_base_address(OrvoPixelBufferRef buffer);

#ifdef __cplusplus
} /* extern "C" */
#endif

#endif /* ORVO_SCREENCAPTURE_LINUX_H */
