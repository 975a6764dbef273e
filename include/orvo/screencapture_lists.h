/**
 * @file
 * The lists of displays and windows, for a picker, and what a picker does with a window. orvo/screencapture.h includes
 * this.
 */
#ifndef ORVO_SCREENCAPTURE_LISTS_H
#define ORVO_SCREENCAPTURE_LISTS_H

#include "orvo/screencapture_types.h"

#ifdef __cplusplus
extern "C" {
#endif

/**
 * Lists the displays. Needs no orvo_screencapture_init.
 * @param count receives the number of items
 * @return an array, empty without a display
 * @threads any; asks the system
 * @memory the result is freed with orvo_screencapture_free_screen_list
 * @errors an empty list without a display or a server
 */
ORVO_API OrvoScreenCaptureScreenItem* orvo_screencapture_enum_screen_list(unsigned int* count);

/**
 * Frees a list of displays.
 * @param list from orvo_screencapture_enum_screen_list, or NULL
 * @threads any
 * @memory takes list
 * @errors none
 */
ORVO_API void orvo_screencapture_free_screen_list(OrvoScreenCaptureScreenItem* list);

/**
 * Lists the windows on screen, front to back, without pictures.
 * @param isIncludeIconic kept for hosts that pass it
 * @param count receives the number of items
 * @return an array, empty without windows
 * @threads any; asks the system
 * @memory the result is freed with orvo_screencapture_free_window_list
 * @errors an empty list before orvo_screencapture_init
 */
ORVO_API OrvoScreenCaptureWindowItem* orvo_screencapture_enum_window_list(int isIncludeIconic, unsigned int* count);

/**
 * Frees a plain list of windows.
 * @param list from orvo_screencapture_enum_window_list, or NULL
 * @threads any
 * @memory takes list
 * @errors none
 */
ORVO_API void orvo_screencapture_free_window_list(OrvoScreenCaptureWindowItem* list);

/**
 * Retired: writes a log line and does nothing.
 * @threads any
 * @memory none
 * @errors none
 */
ORVO_API void orvo_screencapture_get_virtual_desktop_rect(void);

/**
 * Asks where a window is.
 * @param windowID a window or a display
 * @param rect receives left, top, right, bottom in points, for a display its origin, width and height
 * @return always true
 * @threads any; asks the system
 * @memory none
 * @errors all zero for an unknown number
 */
ORVO_API bool orvo_screencapture_get_window_rect(unsigned int windowID, OrvoScreenCaptureRect* rect);

/**
 * Chooses whether orvo_windowthumbnail_find_windows takes pictures. Icons are always there.
 * @param isAsync true leaves the pictures out, false (at first) takes them
 * @threads any
 * @memory none
 * @errors none
 */
ORVO_API void orvo_windowthumbnail_find_windows_async(bool isAsync);

/**
 * Lists displays, then windows front to back, with icons and pictures.
 * @param count receives the number of items
 * @return an array
 * @threads any; asks the system, and blocks while pictures are taken
 * @memory the result is freed with orvo_windowthumbnail_free_windows and the same count
 * @errors a picture that cannot be taken is NULL; count is 0 before orvo_screencapture_init
 */
ORVO_API OrvoThumbnailWindowInfo* orvo_windowthumbnail_find_windows(int* count);

/**
 * Frees a list with its pictures.
 * @param list from orvo_windowthumbnail_find_windows or orvo_thumbnail_callback, or NULL
 * @param count as it came with the list
 * @threads any
 * @memory takes list; at most 32 MB of its pixels serve the next list, until orvo_screencapture_start_capture or
 *         orvo_screencapture_uninit
 * @errors none
 */
ORVO_API void orvo_windowthumbnail_free_windows(OrvoThumbnailWindowInfo* list, int count);

/**
 * Asks for one window's picture; it comes through orvo_thumbnail_callback.
 * @param windowID the window
 * @return 1 when the window was found, else 0
 * @threads any; asks the system
 * @memory none
 * @errors neutral before init
 */
ORVO_API int orvo_windowthumbnail_register(unsigned int windowID);

/**
 * The counterpart of orvo_windowthumbnail_register; nothing needs to be undone.
 * @param windowID the window
 * @return 1 after orvo_screencapture_init
 * @threads any
 * @memory none
 * @errors neutral before init
 */
ORVO_API int orvo_windowthumbnail_unregister(unsigned int windowID);

/**
 * Brings a window forward or hides its application.
 * @param windowID the window
 * @param cmd one of ORVO_SHOW_WINDOW_*
 * @return 1 on success, else 0
 * @threads any; asks the system
 * @memory none
 * @errors neutral before init
 */
ORVO_API int orvo_windowthumbnail_show_source_window(unsigned int windowID, OrvoThumbnailShowWindowCmd cmd);

/**
 * Asks whether a window is on screen and can be captured.
 * @param windowID the window
 * @return 1 if so, else 0
 * @threads any; asks the system
 * @memory none
 * @errors neutral before init
 */
ORVO_API int orvo_windowthumbnail_window_checkStatus(unsigned int windowID);

#ifdef __cplusplus
} /* extern "C" */
#endif

#endif /* ORVO_SCREENCAPTURE_LISTS_H */
