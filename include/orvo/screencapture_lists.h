/**
 * @file
 * Lists of displays and windows for a picker, and actions on a window. orvo/screencapture.h includes this header.
 */
#ifndef ORVO_SCREENCAPTURE_LISTS_H
#define ORVO_SCREENCAPTURE_LISTS_H

#include "orvo/screencapture_types.h"

#ifdef __cplusplus
extern "C" {
#endif

/**
 * Returns the displays. Works before orvo_screencapture_init.
 * @param count receives the number of items
 * @return an array of count items
 * @errors an empty list without a display or a window server
 * @memory the caller frees the result with orvo_screencapture_free_screen_list
 * @threads any; waits for the system
 */
ORVO_API OrvoScreenCaptureScreenItem* orvo_screencapture_enum_screen_list(unsigned int* count);

/**
 * Frees a list of displays.
 * @param list from orvo_screencapture_enum_screen_list, or NULL
 * @errors none
 * @memory frees list
 * @threads any
 */
ORVO_API void orvo_screencapture_free_screen_list(OrvoScreenCaptureScreenItem* list);

/**
 * Returns the windows on screen, front to back, without pictures.
 * @param isIncludeIconic ignored
 * @param count receives the number of items
 * @return an array of count items
 * @errors an empty list before orvo_screencapture_init
 * @memory the caller frees the result with orvo_screencapture_free_window_list
 * @threads any; waits for the system
 */
ORVO_API OrvoScreenCaptureWindowItem* orvo_screencapture_enum_window_list(int isIncludeIconic, unsigned int* count);

/**
 * Frees a list of windows.
 * @param list from orvo_screencapture_enum_window_list, or NULL
 * @errors none
 * @memory frees list
 * @threads any
 */
ORVO_API void orvo_screencapture_free_window_list(OrvoScreenCaptureWindowItem* list);

/**
 * Deprecated: only writes a log line.
 * @errors none
 * @memory none
 * @threads any
 */
ORVO_API void orvo_screencapture_get_virtual_desktop_rect(void);

/**
 * Returns the bounds of a window or display.
 * @param windowID a window or a display
 * @param rect receives them in points; see OrvoScreenCaptureRect
 * @return always true
 * @errors all zero for an unknown number
 * @memory none
 * @threads any; waits for the system
 */
ORVO_API bool orvo_screencapture_get_window_rect(unsigned int windowID, OrvoScreenCaptureRect* rect);

/**
 * Sets whether orvo_windowthumbnail_find_windows takes pictures. It always returns icons.
 * @param isAsync true omits the pictures, false takes them; the default is false
 * @errors none
 * @memory none
 * @threads any
 */
ORVO_API void orvo_windowthumbnail_find_windows_async(bool isAsync);

/**
 * Returns the displays, then the windows front to back, with icons and pictures.
 * @param count receives the number of items
 * @return an array of count items
 * @errors a picture that cannot be taken is NULL; count is 0 before orvo_screencapture_init
 * @memory the caller frees the result with orvo_windowthumbnail_free_windows and the same count
 * @threads any; waits for the system and for the pictures
 */
ORVO_API OrvoThumbnailWindowInfo* orvo_windowthumbnail_find_windows(int* count);

/**
 * Frees a list and its pictures.
 * @param list from orvo_windowthumbnail_find_windows or orvo_thumbnail_callback, or NULL
 * @param count the count that came with the list
 * @errors none
 * @memory frees list; up to 32 MB of its pixels are kept for the next list, until orvo_screencapture_start_capture or
 *         orvo_screencapture_uninit
 * @threads any
 */
ORVO_API void orvo_windowthumbnail_free_windows(OrvoThumbnailWindowInfo* list, int count);

/**
 * Requests the picture of one window, which arrives through orvo_thumbnail_callback.
 * @param windowID the window
 * @return 1 if the window was found, else 0
 * @errors neutral before init
 * @memory none
 * @threads any; waits for the system
 */
ORVO_API int orvo_windowthumbnail_register(unsigned int windowID);

/**
 * Does nothing; the counterpart of orvo_windowthumbnail_register.
 * @param windowID the window
 * @return 1 after orvo_screencapture_init
 * @errors neutral before init
 * @memory none
 * @threads any
 */
ORVO_API int orvo_windowthumbnail_unregister(unsigned int windowID);

/**
 * Brings a window to the front, or hides its application.
 * @param windowID the window
 * @param cmd one of ORVO_SHOW_WINDOW_*
 * @return 1 on success, else 0
 * @errors neutral before init
 * @memory none
 * @threads any; waits for the system
 */
ORVO_API int orvo_windowthumbnail_show_source_window(unsigned int windowID, OrvoThumbnailShowWindowCmd cmd);

/**
 * Returns whether a window is on screen and can be captured.
 * @param windowID the window
 * @return 1 if so, else 0
 * @errors neutral before init
 * @memory none
 * @threads any; waits for the system
 */
ORVO_API int orvo_windowthumbnail_window_checkStatus(unsigned int windowID);

#ifdef __cplusplus
} /* extern "C" */
#endif

#endif /* ORVO_SCREENCAPTURE_LISTS_H */
