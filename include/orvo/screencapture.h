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
 * Words that every function uses:
 * - Threads, "any": any thread may call it, also from inside a callback. "Queued": it returns at once, and its work
 *   runs, in the order of the calls, on a queue of the library. "Asks the system": it waits for the system's answers.
 * - Memory, "none": nothing changes its owner; what an argument points to is read or written during the call only.
 * - Errors, "neutral before init": before orvo_screencapture_init the call answers false, 0, NULL or an all-zero
 *   record, and mostly writes a log line. So it does when the system fails in a way that was not foreseen.
 * - In a child process that is forked after the first call every function answers like that.
 */
#ifndef ORVO_SCREENCAPTURE_H
#define ORVO_SCREENCAPTURE_H

#include "orvo/screencapture_lists.h"
#include "orvo/screencapture_types.h"

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Life and log ---- */

/**
 * Makes the capture objects. A second call does nothing until orvo_screencapture_uninit.
 * @threads any
 * @memory none
 * @errors what the system lacks shows when it is needed; when the objects themselves cannot be made,
 *         orvo_screencapture_get_statistics tells why, and the next call tries again
 */
ORVO_API void orvo_screencapture_init(void);

/**
 * Stops the capture and drops the capture objects. No callback begins afterwards. One that runs on another thread is
 * awaited for a second at most, and not at all when the call comes from inside a callback: such a callback may still
 * run when this has returned.
 * @threads any
 * @memory what callbacks use, their user data too, may be freed once this has returned and no callback is still running
 * @errors none
 */
ORVO_API void orvo_screencapture_uninit(void);

/**
 * Sets the log's level, and logs to the three rotating files "orvoscreencaplog1.txt" to "orvoscreencaplog3.txt" of a
 * folder, 5 MiB each. Needs no orvo_screencapture_init, but it is the log's thread that writes, which
 * orvo_screencapture_init or a registration starts; of the lines before, the latest megabyte waits. At a normal exit of
 * the process, and in orvo_screencapture_uninit, what is logged so far is waited for, at most 200 ms. A folder is for
 * one process: two that log to the same one delete each other's lines.
 *
 * The first file that has room and can be opened is continued; when all are full, they are deleted. A second call
 * chooses again. It may choose a file that is almost full, and when that one is, the next one begins anew, though it
 * may be the newest: to change the level alone, call orvo_screencapture_change_log_level.
 * @param level 0 import, 1 error, 2 warn, 3 notice, 4 debug; lines above it are dropped
 * @param logFolder UTF-8, at most 489 bytes, made when missing; one trailing slash is ignored
 * @threads any
 * @memory none
 * @errors a folder in which no file can be opened leaves the log without files; an error line in the log says so
 */
ORVO_API void orvo_screencapture_set_log_level(int level, const char* logFolder);

/* ---- Capture ---- */

/**
 * Starts capturing the chosen target.
 * @threads queued
 * @memory none
 * @errors without a target the error callback gets ORVO_CAPTURE_ERROR_NO_SOURCE
 */
ORVO_API void orvo_screencapture_start_capture(void);

/**
 * Stops capturing, on the path of the chosen target. A capture on the other path, which ran when the target was chosen,
 * goes on without frames until the next start. The target and all settings stay.
 * @threads queued
 * @memory none
 * @errors neutral before init
 */
ORVO_API void orvo_screencapture_stop_capture(void);

/**
 * Asks whether the path of the chosen target captures; calls that are still queued do not count yet.
 * @return whether it runs now; a capture on the other path does not count
 * @threads any
 * @memory none
 * @errors neutral before init
 */
ORVO_API bool orvo_screencapture_is_capturing(void);

/**
 * Sets the frame rate, 15 at first. Displays change at once, window targets at the next start.
 * @param fps 5 to 30
 * @threads queued
 * @memory none
 * @errors another rate is refused with a log line; neutral before init
 */
ORVO_API void orvo_screencapture_set_fps(int fps);

/**
 * Adds to the time of every window frame. Display frames are not shifted.
 * @param offset milliseconds
 * @threads any
 * @memory none
 * @errors neutral before init
 */
ORVO_API void orvo_screencapture_set_timestamp_offset(unsigned long long offset);

/**
 * Sets the size of window frames. Displays captured whole or by rectangle are not scaled.
 * @param width pixels
 * @param height pixels; 0 in either keeps the source's size
 * @threads any
 * @memory none
 * @errors a width above a quarter of the source's bytes per row gives no frames; neutral before init
 */
ORVO_API void orvo_screencapture_set_resolution(int width, int height);

/**
 * Sets how a window's picture fills the size of orvo_screencapture_set_resolution. Chooses the window path.
 * @param mode one of ORVO_RESOLUTION_MODE_*
 * @threads queued
 * @memory none
 * @errors neutral before init
 */
ORVO_API void orvo_screencapture_set_resolution_mode(OrvoScreenCaptureResolutionMode mode);

/**
 * Shows or leaves out the mouse cursor. Shown at first, and on displays again whenever another display is chosen.
 * @param visible 0 or not 0
 * @threads queued
 * @memory none
 * @errors neutral before init
 */
ORVO_API void orvo_screencapture_set_cursor_visible(int visible);

/**
 * Draws a ring around the pointer while a button is down, on displays. Off at first, and again whenever another display
 * is chosen.
 * @param enable 0 or not 0
 * @threads queued
 * @memory none
 * @errors neutral before init
 */
ORVO_API void orvo_screencapture_enable_click_animation(int enable);

/**
 * Chooses what the frame callbacks get as data. Takes effect with the next callback.
 * @param format one of ORVO_PIXEL_FORMAT_*
 * @threads any
 * @memory none
 * @errors neutral before init
 */
ORVO_API void orvo_screencapture_set_capture_video_pixel_format(OrvoScreenCaptureVideoPixelFormat format);

/* ---- Targets ----
 * A new target of the same path is taken over while the capture runs. Between the two paths, displays and rectangles on
 * one side and windows and displays without some windows on the other, stop, choose and start again: a choice alone
 * ends the frames.
 */

/**
 * Captures a display. The one that is chosen already keeps its rectangle: orvo_screencapture_set_target_rect with a
 * width of 0 shows all of it again. With excluded windows the display is captured on the window path without them.
 * @param screenID from orvo_screencapture_enum_screen_list; it is not checked
 * @return always false, also on success
 * @threads queued
 * @memory none
 * @errors of an unknown display no frame and no error comes, only a log line and the reason in the statistics at the
 *         start; neutral before init
 */
ORVO_API bool orvo_screencapture_set_target_screen(unsigned int screenID);

/**
 * Captures a rectangle of a display. An id that is no display is taken as a window. With excluded windows, and for a
 * window, the rectangle becomes that of orvo_screencapture_set_target_window_rect: it is not checked but cut to the
 * picture, and stays for later targets of the window path.
 * @param screenID the display
 * @param left,top points from the display's top-left corner; where they are negative the rectangle is cut
 * @param width,height points; zero or less in either means the whole display
 * @return true after orvo_screencapture_init, whatever becomes of the request
 * @threads queued; asks the system for its displays first
 * @memory none
 * @errors a rectangle that reaches beyond the right or bottom edge is refused with a log line: on the display that was
 *         chosen before, its earlier rectangle stays; another display is captured whole; and where windows are
 *         captured, their frames end until the next start
 */
ORVO_API bool orvo_screencapture_set_target_rect(unsigned int screenID, int left, int top, int width, int height);

/**
 * Captures one window as the only window target.
 * @param windowID the window; 0 means the main display
 * @return true after orvo_screencapture_init, whatever becomes of the request
 * @threads queued
 * @memory none
 * @errors an unknown window shows in the error callback only, as ORVO_CAPTURE_ERROR_NO_CONTENT: at once when no picture
 *         was ever good, else after three seconds, and then with every tick; neutral before init
 */
ORVO_API bool orvo_screencapture_set_target_window(unsigned int windowID);

/**
 * Adds windows to, or removes them from, the window targets. Takes effect at once, before calls that are still queued:
 * an orvo_screencapture_set_target_window among them then leaves its window as the only target. To begin with several
 * windows choose the window path with orvo_screencapture_set_target_window_mode and add them all here.
 * @param windows the numbers
 * @param count how many; nothing is done below 1
 * @param add true adds, false removes
 * @return true after orvo_screencapture_init, whatever becomes of the request
 * @threads any
 * @memory none
 * @errors neutral before init
 */
ORVO_API bool orvo_screencapture_set_extra_target_windows(unsigned int* windows, int count, bool add);

/**
 * Leaves windows out of composed pictures, those of ORVO_WINDOW_MODE_APPLICATION and of displays on the window path,
 * or lets them in again. A display or rectangle that is captured already goes on with them: choose it again, and start
 * again.
 * @param windows the numbers
 * @param count how many
 * @param add true leaves out, false lets in
 * @threads any
 * @memory none
 * @errors neutral before init
 */
ORVO_API void orvo_screencapture_set_excluded_windows(unsigned int* windows, int count, bool add);

/**
 * Chooses what a window target's picture contains, and the window path.
 * @param mode one of ORVO_WINDOW_MODE_*
 * @return true after orvo_screencapture_init, whatever becomes of the request
 * @threads queued
 * @memory none
 * @errors neutral before init
 */
ORVO_API bool orvo_screencapture_set_target_window_mode(OrvoScreenCaptureWindowMode mode);

/**
 * Crops the frames of the window path, also of targets that are chosen later. All zero means no cropping.
 * @param left,top points from the picture's top-left corner, multiplied by the main screen's scale
 * @param width,height points, multiplied likewise
 * @return true after orvo_screencapture_init, whatever becomes of the request
 * @threads queued
 * @memory none
 * @errors neutral before init
 */
ORVO_API bool orvo_screencapture_set_target_window_rect(int left, int top, int width, int height);

/**
 * Retired: writes a log line and does nothing. Use orvo_windowthumbnail_show_source_window.
 * @param activate not used
 * @threads any
 * @memory none
 * @errors none
 */
ORVO_API void orvo_screencapture_activate_window_when_capturing(int activate);

/* ---- Registrations ---- */

/**
 * @defgroup registrations Registrations
 *
 * Each stores the callback of its kind and the pointer that it is handed with every call, which is never read here.
 * @{
 */

/**
 * Registers for errors of the capture.
 * @param callback replaces the one before; NULL silences the kind
 * @param userData handed back with every call
 * @threads any
 * @memory userData stays the host's
 * @errors a registration before orvo_screencapture_init is lost
 */
ORVO_API void orvo_screencapture_reg_capture_error_notify(orvo_capture_error_callback callback, void* userData);

/**
 * Registers for frames of every target.
 * @param callback replaces the one before; NULL silences the kind
 * @param userData handed back with every call
 * @threads any
 * @memory userData stays the host's
 * @errors a registration before orvo_screencapture_init is lost
 */
ORVO_API void orvo_screencapture_reg_captured_frame_available_notify(orvo_frame_callback callback, void* userData);

/**
 * Registers for frames of window targets, with their numbers.
 * @param callback replaces the one before; NULL silences the kind
 * @param userData handed back with every call
 * @threads any
 * @memory userData stays the host's
 * @errors a registration before orvo_screencapture_init is lost
 */
ORVO_API void orvo_screencapture_reg_mutiple_captured_frame_available_notify(orvo_window_frame_callback callback,
                                                                             void* userData);

/**
 * Registers for states of captured windows.
 * @param callback replaces the one before; NULL silences the kind
 * @param userData handed back with every call
 * @threads any
 * @memory userData stays the host's
 * @errors a registration before orvo_screencapture_init is lost
 */
ORVO_API void orvo_screencapture_reg_captured_window_status_change_notify(orvo_window_status_callback callback,
                                                                          void* userData);

/**
 * Registers for new windows of the captured process.
 * @param callback replaces the one before; NULL silences the kind
 * @param userData handed back with every call
 * @threads any
 * @memory userData stays the host's
 * @errors a registration before orvo_screencapture_init is lost
 */
ORVO_API void orvo_screencapture_reg_capture_process_window_change_notify(orvo_process_window_callback callback,
                                                                          void* userData);

/**
 * Registers for picker entries.
 * @param callback replaces the one before; NULL silences the kind
 * @param userData handed back with every call
 * @threads any
 * @memory userData stays the host's
 * @errors a registration before orvo_screencapture_init is lost
 */
ORVO_API void orvo_windowthumbnail_reg_window_status_change_notify(orvo_thumbnail_callback callback, void* userData);

/** @} */

#ifdef __cplusplus
} /* extern "C" */

/* ---- The exports with C++ linkage ---- */

/**
 * Registers for moves of captured windows.
 * @param callback replaces the one before; NULL silences the kind
 * @param userData handed back with every call
 * @threads any
 * @memory userData stays the host's
 * @errors a registration before orvo_screencapture_init is lost
 */
ORVO_API void orvo_screencapture_reg_captured_window_moved_notify(orvo_window_moved_callback callback, void* userData);

/**
 * Lists the windows with their icons, without pictures.
 * @param isIncludeIconic kept for hosts that pass it
 * @param count receives the number of items
 * @return an array
 * @threads any; asks the system
 * @memory the result is freed with orvo_windowthumbnail_free_windows and the same count
 * @errors count is 0 before orvo_screencapture_init
 */
ORVO_API OrvoThumbnailWindowInfo* orvo_screencapture_enum_window_list(int isIncludeIconic, int* count);

/**
 * Frees a list with the pictures of its first item only: orvo_windowthumbnail_free_windows frees them all.
 * @param list from orvo_screencapture_enum_window_list, or NULL
 * @threads any
 * @memory takes list
 * @errors none
 */
ORVO_API void orvo_screencapture_free_window_list(OrvoThumbnailWindowInfo* list);

/**
 * Retired: writes a log line.
 * @param windowID,state,rect not used
 * @return 0
 * @threads any
 * @memory none
 * @errors none
 */
ORVO_API int orvo_windowthumbnail_register(unsigned int windowID, int state, OrvoScreenCaptureRect* rect);

/**
 * Retired: writes a log line.
 * @param state,rect not used
 * @return 0
 * @threads any
 * @memory none
 * @errors none
 */
ORVO_API int orvo_windowthumbnail_update(int state, OrvoScreenCaptureRect* rect);

#endif

#if !defined(__cplusplus) || defined(ORVO_DOXYGEN)
/* ---- The same for C, under names of its own where C++ overloads ---- */

#ifndef __cplusplus
/**
 * Registers for moves of captured windows.
 * @param callback replaces the one before; NULL silences the kind
 * @param userData handed back with every call
 * @threads any
 * @memory userData stays the host's
 * @errors a registration before orvo_screencapture_init is lost
 */
ORVO_API void orvo_screencapture_reg_captured_window_moved_notify(orvo_window_moved_callback callback, void* userData)
    ORVO_SYMBOL("_Z51orvo_screencapture_reg_captured_window_moved_notifyPFvjiiiiPvES_");
#endif

/**
 * Lists the windows with their icons, without pictures.
 * @param isIncludeIconic kept for hosts that pass it
 * @param count receives the number of items
 * @return an array
 * @threads any; asks the system
 * @memory the result is freed with orvo_windowthumbnail_free_windows and the same count
 * @errors count is 0 before orvo_screencapture_init
 */
ORVO_API OrvoThumbnailWindowInfo* orvo_screencapture_enum_window_info(int isIncludeIconic, int* count)
    ORVO_SYMBOL("_Z35orvo_screencapture_enum_window_listiPi");

/**
 * Frees a list with the pictures of its first item only: orvo_windowthumbnail_free_windows frees them all.
 * @param list from orvo_screencapture_enum_window_info, or NULL
 * @threads any
 * @memory takes list
 * @errors none
 */
ORVO_API void orvo_screencapture_free_window_info(OrvoThumbnailWindowInfo* list)
    ORVO_SYMBOL("_Z35orvo_screencapture_free_window_listP23OrvoThumbnailWindowInfo");

#endif

#endif /* ORVO_SCREENCAPTURE_H */
