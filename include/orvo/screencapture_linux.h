/**
 * @file
 * What Orvo Screen Capture offers on Linux beside the common interface.
 */
#ifndef ORVO_SCREENCAPTURE_LINUX_H
#define ORVO_SCREENCAPTURE_LINUX_H

#include "orvo/screencapture.h"

#ifdef __cplusplus
extern "C" {
#endif

/**
 * Runs the main queue on the calling thread, for hosts without a GLib main loop. Callbacks run in here.
 * @param milliseconds how long to go on; 0 runs what is ready and returns, below 0 runs until the process ends
 * @return how many jobs ran
 * @threads one at a time; may be called from inside a callback
 * @memory none
 * @errors 0 at once while another thread, or a GLib loop of the host, runs the default main context
 */
ORVO_API int orvo_screencapture_run_main_queue(int milliseconds);

/**
 * A captured frame's memory, counted. With ORVO_PIXEL_FORMAT_BUFFER the frame callbacks receive one as `data`.
 * A host that wants the frame beyond the callback retains it and releases it later, in time: while all buffers of a
 * capture are retained, ticks are dropped.
 */
typedef struct OrvoPixelBuffer* OrvoPixelBufferRef;

/**
 * Keeps a buffer beyond the callback.
 * @param buffer a frame's buffer, or NULL
 * @return buffer
 * @threads any
 * @memory adds a reference, let go with orvo_pixelbuffer_release
 * @errors a null buffer answers 0 or NULL
 */
ORVO_API OrvoPixelBufferRef orvo_pixelbuffer_retain(OrvoPixelBufferRef buffer);

/**
 * Lets go of a buffer.
 * @param buffer a frame's buffer, or NULL
 * @threads any
 * @memory takes a reference
 * @errors a null buffer answers 0 or NULL
 */
ORVO_API void orvo_pixelbuffer_release(OrvoPixelBufferRef buffer);

/**
 * Asks for the width.
 * @param buffer a frame's buffer, or NULL
 * @return pixels
 * @threads any
 * @memory none
 * @errors a null buffer answers 0 or NULL
 */
ORVO_API size_t orvo_pixelbuffer_get_width(OrvoPixelBufferRef buffer);

/**
 * Asks for the height.
 * @param buffer a frame's buffer, or NULL
 * @return pixels
 * @threads any
 * @memory none
 * @errors a null buffer answers 0 or NULL
 */
ORVO_API size_t orvo_pixelbuffer_get_height(OrvoPixelBufferRef buffer);

/**
 * Asks for the distance of rows.
 * @param buffer a frame's buffer, or NULL
 * @return bytes, padding included
 * @threads any
 * @memory none
 * @errors a null buffer answers 0 or NULL
 */
ORVO_API size_t orvo_pixelbuffer_get_bytes_per_row(OrvoPixelBufferRef buffer);

/**
 * Locks the pixels for reading; each lock is paired with one unlock.
 * @param buffer a frame's buffer, or NULL
 * @return 0
 * @threads any
 * @memory none
 * @errors a null buffer answers 0 or NULL
 */
ORVO_API int orvo_pixelbuffer_lock(OrvoPixelBufferRef buffer);

/**
 * Undoes one lock.
 * @param buffer a frame's buffer, or NULL
 * @return 0
 * @threads any
 * @memory none
 * @errors a null buffer answers 0 or NULL
 */
ORVO_API int orvo_pixelbuffer_unlock(OrvoPixelBufferRef buffer);

/**
 * Asks for the pixels, 32-bit BGRA.
 * @param buffer a frame's buffer, or NULL
 * @return the first byte of the top row
 * @threads any
 * @memory the result lives as long as the buffer is retained
 * @errors a null buffer answers 0 or NULL
 */
ORVO_API const void* orvo_pixelbuffer_get_base_address(OrvoPixelBufferRef buffer);

#ifdef __cplusplus
} /* extern "C" */
#endif

#endif /* ORVO_SCREENCAPTURE_LINUX_H */
