/**
 * @file
 * The C interface of Orvo Screen Capture.
 *
 * A host loads the library into its process, chooses what to show (a display, a rectangle of a display, a window),
 * registers callbacks and receives one raw frame per tick. This header is plain C11 and compiles as C++ too.
 *
 * Expected order of calls: orvo_screencapture_set_log_level (optional, at any time), orvo_screencapture_init,
 * registrations, choice of a target and of the frame rate, orvo_screencapture_start_capture, ...,
 * orvo_screencapture_stop_capture, orvo_screencapture_uninit. A later orvo_screencapture_init begins with an empty
 * set of callbacks: register them again.
 *
 * Terms of the descriptions:
 * - Errors, "neutral before init": before orvo_screencapture_init the function returns false, 0, NULL or an all-zero
 *   record, usually with a log line. It does the same when the system fails unexpectedly, and in a child process that
 *   was forked after the first call.
 * - Memory, "none": no ownership changes; arguments are read or written during the call only.
 * - Threads, "any": may be called from any thread, also inside a callback. "queued": returns at once; the work runs on
 *   a queue of the library, in the order of the calls. "waits for the system": returns when the system has answered.
 */
#ifndef ORVO_SCREENCAPTURE_H
#define ORVO_SCREENCAPTURE_H

#include "orvo/screencapture_lists.h"
#include "orvo/screencapture_types.h"

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Initialisation and log ---- */

/**
 * Creates the capture objects. A second call before orvo_screencapture_uninit does nothing.
 * @errors a missing part of the system is reported when it is needed; if the objects cannot be created,
 *         orvo_screencapture_get_statistics has the reason and the next call tries again
 * @memory none
 * @threads any
 */
ORVO_API void orvo_screencapture_init(void);

/**
 * Stops the capture and destroys the capture objects. No callback begins after it has returned. It waits up to one
 * second for a callback that runs on another thread, and not at all when called inside a callback: in these two cases
 * a callback may still be running when it returns.
 * @errors none
 * @memory user data of callbacks may be freed when this has returned and no callback is running
 * @threads any
 */
ORVO_API void orvo_screencapture_uninit(void);

/**
 * Sets the level of the log and writes it to three rotating files of 5 MiB each, "orvoscreencaplog1.txt" to
 * "orvoscreencaplog3.txt". Works before orvo_screencapture_init. The log's thread writes the files;
 * orvo_screencapture_init or a registration starts it, and until then the latest megabyte of lines is kept. A normal
 * exit and orvo_screencapture_uninit wait up to 200 ms for the files. Each process needs a folder of its own: two
 * processes in one folder delete each other's lines.
 *
 * The first file that has room and can be opened is continued; if all are full, they are deleted. Another call chooses
 * a file again, and may overwrite the newest one: to change only the level, call orvo_screencapture_change_log_level.
 * @param level 0 import, 1 error, 2 warn, 3 notice, 4 debug; lines above it are dropped
 * @param logFolder UTF-8, at most 489 bytes; created if missing; one trailing slash is ignored
 * @errors if no file can be opened, the log has no files and gets an error line
 * @memory none
 * @threads any
 */
ORVO_API void orvo_screencapture_set_log_level(int level, const char* logFolder);

/* ---- Capture ---- */

/**
 * Starts to capture the chosen target.
 * @errors without a target the error callback gets ORVO_CAPTURE_ERROR_NO_SOURCE
 * @memory none
 * @threads queued
 */
ORVO_API void orvo_screencapture_start_capture(void);

/**
 * Stops the capture of the chosen target's kind (display, or window). A capture of the other kind that ran when the
 * target was chosen continues without frames until the next start. The target and all settings are kept.
 * @errors neutral before init
 * @memory none
 * @threads queued
 */
ORVO_API void orvo_screencapture_stop_capture(void);

/**
 * Returns whether the chosen target is being captured. Queued calls have no effect on the result yet.
 * @return true while a capture of the chosen target's kind runs
 * @errors neutral before init
 * @memory none
 * @threads any
 */
ORVO_API bool orvo_screencapture_is_capturing(void);

/**
 * Sets the frame rate. A display changes at once, a window target at the next start.
 * @param fps frames per second, 5 to 30; the default is 15
 * @errors any other rate is refused with a log line; neutral before init
 * @memory none
 * @threads queued
 */
ORVO_API void orvo_screencapture_set_fps(int fps);

/**
 * Adds an offset to the time of every window frame. Times of display frames are not changed.
 * @param offset milliseconds
 * @errors neutral before init
 * @memory none
 * @threads any
 */
ORVO_API void orvo_screencapture_set_timestamp_offset(unsigned long long offset);

/**
 * Sets the size of window frames. Frames of displays and rectangles are not scaled.
 * @param width pixels; 0 keeps the source's size
 * @param height pixels; 0 keeps the source's size
 * @errors no frames arrive if the width exceeds a quarter of the source's bytes per row; neutral before init
 * @memory none
 * @threads any
 */
ORVO_API void orvo_screencapture_set_resolution(int width, int height);

/**
 * Sets how a window's picture fills the size of orvo_screencapture_set_resolution. Selects window capture.
 * @param mode one of ORVO_RESOLUTION_MODE_*
 * @errors neutral before init
 * @memory none
 * @threads queued
 */
ORVO_API void orvo_screencapture_set_resolution_mode(OrvoScreenCaptureResolutionMode mode);

/**
 * Shows or hides the mouse cursor in frames. It is shown by default, and again when another display is chosen.
 * @param visible 0 hides it, any other value shows it
 * @errors neutral before init
 * @memory none
 * @threads queued
 */
ORVO_API void orvo_screencapture_set_cursor_visible(int visible);

/**
 * Draws a ring around the pointer while a button is pressed, in frames of displays. It is off by default, and again
 * when another display is chosen.
 * @param enable 0 switches it off, any other value on
 * @errors neutral before init
 * @memory none
 * @threads queued
 */
ORVO_API void orvo_screencapture_enable_click_animation(int enable);

/**
 * Sets what frame callbacks receive as data. Takes effect with the next callback.
 * @param format one of ORVO_PIXEL_FORMAT_*
 * @errors neutral before init
 * @memory none
 * @threads any
 */
ORVO_API void orvo_screencapture_set_capture_video_pixel_format(OrvoScreenCaptureVideoPixelFormat format);

/* ---- Targets ----
 * There are two kinds of capture: display capture, for displays and rectangles, and window capture, for windows and for
 * displays with excluded windows. A new target of the same kind takes effect while the capture runs. For a target of
 * the other kind stop, choose and start again: choosing alone ends the frames.
 */

/**
 * Chooses a display as the target. Choosing the current display keeps its rectangle; orvo_screencapture_set_target_rect
 * with a width of 0 removes it. With excluded windows, window capture shows the display without them.
 * @param screenID a number from orvo_screencapture_enum_screen_list; not checked
 * @return always false, also on success
 * @errors an unknown display gives no frame and no error callback, only a log line and a reason in the statistics when
 *         the capture starts; neutral before init
 * @memory none
 * @threads queued
 */
ORVO_API bool orvo_screencapture_set_target_screen(unsigned int screenID);

/**
 * Chooses a rectangle of a display as the target. A number that is not a display is taken as a window. For a window,
 * and with excluded windows, the rectangle works like that of orvo_screencapture_set_target_window_rect: it is clipped
 * to the picture, not checked, and kept for later targets of window capture.
 * @param screenID the display
 * @param left,top points from the display's top-left corner; a part with negative coordinates is clipped
 * @param width,height points; zero or less in either chooses the whole display
 * @return true after orvo_screencapture_init, also if the request fails
 * @errors a rectangle that extends past the right or bottom edge is refused with a log line. Then the current display
 *         keeps its earlier rectangle, another display is captured whole, and a running window capture gives no frames
 *         until the next start
 * @memory none
 * @threads queued; first waits for the system's list of displays
 */
ORVO_API bool orvo_screencapture_set_target_rect(unsigned int screenID, int left, int top, int width, int height);

/**
 * Chooses one window as the only target.
 * @param windowID the window; 0 is the main display
 * @return true after orvo_screencapture_init, also if the request fails
 * @errors an unknown window is reported by the error callback as ORVO_CAPTURE_ERROR_NO_CONTENT (see
 *         orvo_capture_error_callback); neutral before init
 * @memory none
 * @threads queued
 */
ORVO_API bool orvo_screencapture_set_target_window(unsigned int windowID);

/**
 * Adds windows to the targets or removes them. Takes effect at once, before queued calls: a queued
 * orvo_screencapture_set_target_window then makes its window the only target. To start with several windows, select
 * window capture with orvo_screencapture_set_target_window_mode and add all of them here.
 * @param windows window numbers
 * @param count length of windows; nothing happens below 1
 * @param add true adds, false removes
 * @return true after orvo_screencapture_init, also if the request fails
 * @errors neutral before init
 * @memory none
 * @threads any
 */
ORVO_API bool orvo_screencapture_set_extra_target_windows(unsigned int* windows, int count, bool add);

/**
 * Excludes windows from the pictures of ORVO_WINDOW_MODE_APPLICATION and of displays, or includes them again. A display
 * or rectangle that is being captured keeps showing them until it is chosen and started again.
 * @param windows window numbers
 * @param count length of windows
 * @param add true excludes, false includes
 * @errors neutral before init
 * @memory none
 * @threads any
 */
ORVO_API void orvo_screencapture_set_excluded_windows(unsigned int* windows, int count, bool add);

/**
 * Sets what the picture of a window target contains. Selects window capture.
 * @param mode one of ORVO_WINDOW_MODE_*
 * @return true after orvo_screencapture_init, also if the request fails
 * @errors neutral before init
 * @memory none
 * @threads queued
 */
ORVO_API bool orvo_screencapture_set_target_window_mode(OrvoScreenCaptureWindowMode mode);

/**
 * Crops the frames of window capture, also for targets that are chosen later. All zero removes the crop.
 * @param left,top points from the picture's top-left corner; multiplied by the main screen's scale
 * @param width,height points; multiplied by the same scale
 * @return true after orvo_screencapture_init, also if the request fails
 * @errors neutral before init
 * @memory none
 * @threads queued
 */
ORVO_API bool orvo_screencapture_set_target_window_rect(int left, int top, int width, int height);

/**
 * Deprecated: only writes a log line. Use orvo_windowthumbnail_show_source_window.
 * @param activate ignored
 * @errors none
 * @memory none
 * @threads any
 */
ORVO_API void orvo_screencapture_activate_window_when_capturing(int activate);

/* ---- Registrations ---- */

/**
 * @defgroup registrations Registrations
 *
 * Each function stores the callback of its kind and a pointer that the library passes to it and never reads.
 * @{
 */

/**
 * Sets the callback for capture errors.
 * @param callback replaces the previous one; NULL removes it
 * @param userData passed to every call
 * @errors a registration before orvo_screencapture_init is lost
 * @memory the host owns userData
 * @threads any
 */
ORVO_API void orvo_screencapture_reg_capture_error_notify(orvo_capture_error_callback callback, void* userData);

/**
 * Sets the callback for frames of every target.
 * @param callback replaces the previous one; NULL removes it
 * @param userData passed to every call
 * @errors a registration before orvo_screencapture_init is lost
 * @memory the host owns userData
 * @threads any
 */
ORVO_API void orvo_screencapture_reg_captured_frame_available_notify(orvo_frame_callback callback, void* userData);

/**
 * Sets the callback for frames of window targets that also receives the window's number.
 * @param callback replaces the previous one; NULL removes it
 * @param userData passed to every call
 * @errors a registration before orvo_screencapture_init is lost
 * @memory the host owns userData
 * @threads any
 */
ORVO_API void orvo_screencapture_reg_mutiple_captured_frame_available_notify(orvo_window_frame_callback callback,
                                                                             void* userData);

/**
 * Sets the callback for states of captured windows.
 * @param callback replaces the previous one; NULL removes it
 * @param userData passed to every call
 * @errors a registration before orvo_screencapture_init is lost
 * @memory the host owns userData
 * @threads any
 */
ORVO_API void orvo_screencapture_reg_captured_window_status_change_notify(orvo_window_status_callback callback,
                                                                          void* userData);

/**
 * Sets the callback for new windows of the captured process.
 * @param callback replaces the previous one; NULL removes it
 * @param userData passed to every call
 * @errors a registration before orvo_screencapture_init is lost
 * @memory the host owns userData
 * @threads any
 */
ORVO_API void orvo_screencapture_reg_capture_process_window_change_notify(orvo_process_window_callback callback,
                                                                          void* userData);

/**
 * Sets the callback for changes of picker entries.
 * @param callback replaces the previous one; NULL removes it
 * @param userData passed to every call
 * @errors a registration before orvo_screencapture_init is lost
 * @memory the host owns userData
 * @threads any
 */
ORVO_API void orvo_windowthumbnail_reg_window_status_change_notify(orvo_thumbnail_callback callback, void* userData);

/** @} */

#ifdef __cplusplus
} /* extern "C" */

/* ---- Functions with C++ linkage ---- */

/**
 * Sets the callback for moves of captured windows.
 * @param callback replaces the previous one; NULL removes it
 * @param userData passed to every call
 * @errors a registration before orvo_screencapture_init is lost
 * @memory the host owns userData
 * @threads any
 */
ORVO_API void orvo_screencapture_reg_captured_window_moved_notify(orvo_window_moved_callback callback, void* userData);

/**
 * Returns the windows with their icons, without pictures.
 * @param isIncludeIconic ignored
 * @param count receives the number of items
 * @return an array of count items
 * @errors count is 0 before orvo_screencapture_init
 * @memory the caller frees the result with orvo_windowthumbnail_free_windows and the same count
 * @threads any; waits for the system
 */
ORVO_API OrvoThumbnailWindowInfo* orvo_screencapture_enum_window_list(int isIncludeIconic, int* count);

/**
 * Frees a list and the pictures of its first item only; orvo_windowthumbnail_free_windows frees all of them.
 * @param list from orvo_screencapture_enum_window_list, or NULL
 * @errors none
 * @memory frees list
 * @threads any
 */
ORVO_API void orvo_screencapture_free_window_list(OrvoThumbnailWindowInfo* list);

/**
 * Deprecated: only writes a log line.
 * @param windowID,state,rect ignored
 * @return 0
 * @errors none
 * @memory none
 * @threads any
 */
ORVO_API int orvo_windowthumbnail_register(unsigned int windowID, int state, OrvoScreenCaptureRect* rect);

/**
 * Deprecated: only writes a log line.
 * @param state,rect ignored
 * @return 0
 * @errors none
 * @memory none
 * @threads any
 */
ORVO_API int orvo_windowthumbnail_update(int state, OrvoScreenCaptureRect* rect);

#endif

#if !defined(__cplusplus) || defined(ORVO_DOXYGEN)
/* ---- The same for C, under other names where C++ overloads ---- */

#ifndef __cplusplus
/**
 * Sets the callback for moves of captured windows.
 * @param callback replaces the previous one; NULL removes it
 * @param userData passed to every call
 * @errors a registration before orvo_screencapture_init is lost
 * @memory the host owns userData
 * @threads any
 */
ORVO_API void orvo_screencapture_reg_captured_window_moved_notify(orvo_window_moved_callback callback, void* userData)
    ORVO_SYMBOL("_Z51orvo_screencapture_reg_captured_window_moved_notifyPFvjiiiiPvES_");
#endif

/**
 * Returns the windows with their icons, without pictures.
 * @param isIncludeIconic ignored
 * @param count receives the number of items
 * @return an array of count items
 * @errors count is 0 before orvo_screencapture_init
 * @memory the caller frees the result with orvo_windowthumbnail_free_windows and the same count
 * @threads any; waits for the system
 */
ORVO_API OrvoThumbnailWindowInfo* orvo_screencapture_enum_window_info(int isIncludeIconic, int* count)
    ORVO_SYMBOL("_Z35orvo_screencapture_enum_window_listiPi");

/**
 * Frees a list and the pictures of its first item only; orvo_windowthumbnail_free_windows frees all of them.
 * @param list from orvo_screencapture_enum_window_info, or NULL
 * @errors none
 * @memory frees list
 * @threads any
 */
ORVO_API void orvo_screencapture_free_window_info(OrvoThumbnailWindowInfo* list)
    ORVO_SYMBOL("_Z35orvo_screencapture_free_window_listP23OrvoThumbnailWindowInfo");

#endif

#endif /* ORVO_SCREENCAPTURE_H */
