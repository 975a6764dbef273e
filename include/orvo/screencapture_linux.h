/**
 * @file
 * The part of the interface that exists on Linux only.
 */
#ifndef ORVO_SCREENCAPTURE_LINUX_H
#define ORVO_SCREENCAPTURE_LINUX_H

#include "orvo/screencapture.h"

#ifdef __cplusplus
extern "C" {
#endif

/**
 * Runs the main queue, and so its callbacks, on the calling thread, for hosts without a GLib main loop.
 * @param milliseconds how long to run; 0 runs what is ready, a negative value runs until the process ends
 * @return the number of jobs that ran
 * @errors returns 0 at once while another thread or a GLib loop of the host runs the default main context
 * @memory none
 * @threads one thread at a time; may be called inside a callback
 */
ORVO_API int orvo_screencapture_run_main_queue(int milliseconds);

/**
 * The memory of a frame, with a reference count. With ORVO_PIXEL_FORMAT_BUFFER frame callbacks receive one as `data`.
 * To use a frame after the callback, retain its buffer and release it soon: while all buffers of a capture are
 * retained, ticks are dropped.
 */
typedef struct OrvoPixelBuffer* OrvoPixelBufferRef;

/**
 * Adds a reference, which keeps the buffer after the callback.
 * @param buffer a frame's buffer, or NULL
 * @return buffer
 * @errors 0 or NULL for a NULL buffer
 * @memory the caller releases the reference with orvo_pixelbuffer_release
 * @threads any
 */
ORVO_API OrvoPixelBufferRef orvo_pixelbuffer_retain(OrvoPixelBufferRef buffer);

/**
 * Releases a reference. NULL is ignored.
 * @param buffer a frame's buffer, or NULL
 * @errors none
 * @memory frees the buffer with its last reference
 * @threads any
 */
ORVO_API void orvo_pixelbuffer_release(OrvoPixelBufferRef buffer);

/**
 * Returns the width.
 * @param buffer a frame's buffer, or NULL
 * @return pixels
 * @errors 0 or NULL for a NULL buffer
 * @memory none
 * @threads any
 */
ORVO_API size_t orvo_pixelbuffer_get_width(OrvoPixelBufferRef buffer);

/**
 * Returns the height.
 * @param buffer a frame's buffer, or NULL
 * @return pixels
 * @errors 0 or NULL for a NULL buffer
 * @memory none
 * @threads any
 */
ORVO_API size_t orvo_pixelbuffer_get_height(OrvoPixelBufferRef buffer);

/**
 * Returns the distance between the starts of two rows.
 * @param buffer a frame's buffer, or NULL
 * @return bytes, with padding
 * @errors 0 or NULL for a NULL buffer
 * @memory none
 * @threads any
 */
ORVO_API size_t orvo_pixelbuffer_get_bytes_per_row(OrvoPixelBufferRef buffer);

/**
 * Locks the pixels for reading. Each lock needs one unlock.
 * @param buffer a frame's buffer, or NULL
 * @return 0
 * @errors 0 or NULL for a NULL buffer
 * @memory none
 * @threads any
 */
ORVO_API int orvo_pixelbuffer_lock(OrvoPixelBufferRef buffer);

/**
 * Unlocks the pixels once.
 * @param buffer a frame's buffer, or NULL
 * @return 0
 * @errors 0 or NULL for a NULL buffer
 * @memory none
 * @threads any
 */
ORVO_API int orvo_pixelbuffer_unlock(OrvoPixelBufferRef buffer);

/**
 * Returns the pixels, 32-bit BGRA.
 * @param buffer a frame's buffer, or NULL
 * @return the first byte of the top row
 * @errors 0 or NULL for a NULL buffer
 * @memory the result is valid while the buffer is retained
 * @threads any
 */
ORVO_API const void* orvo_pixelbuffer_get_base_address(OrvoPixelBufferRef buffer);

#ifdef __cplusplus
} /* extern "C" */
#endif

#endif /* ORVO_SCREENCAPTURE_LINUX_H */
