/*
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
 * Unless a function says otherwise:
 *  Threads  every function may be called from any thread, also from inside a callback. Calls that change the capture
 *           return at once; their work runs, in the order of the calls, on a queue of the library.
 *  Errors   before orvo_screencapture_init a call writes a log line and answers false, 0, NULL or an all-zero record.
 */
#ifndef ORVO_SCREENCAPTURE_H
#define ORVO_SCREENCAPTURE_H

#include <stdbool.h>
#include <stddef.h>
#include <stdint.h>

#if defined(_WIN32)
#error "Orvo Screen Capture runs on macOS and on Linux"
#endif
#define ORVO_API __attribute__((visibility("default")))

/* The name of a symbol as the assembler spells it: C hosts reach the exports with C++ linkage through it. */
#if defined(__APPLE__)
#define ORVO_SYMBOL(name) __asm__("_" name)
#else
#define ORVO_SYMBOL(name) __asm__(name)
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Values that cross the boundary: always 32 bits wide ----------------------------------------------------------
 */

/* What a window target's picture contains. Any other value works like ORVO_WINDOW_MODE_WINDOW. */
typedef int32_t OrvoScreenCaptureWindowMode;
enum {
    ORVO_WINDOW_MODE_WINDOW = 1, /* the window alone, whatever covers it (the default) */
    ORVO_WINDOW_MODE_AREA = 3,   /* the screen area under the window, with every window there */
    ORVO_WINDOW_MODE_APPLICATION =
        5, /* the window's rectangle with the windows of its application, less the excluded */
};

/* How a window target's picture is placed in the size of orvo_screencapture_set_resolution. Any other value stretches.
 */
typedef int32_t OrvoScreenCaptureResolutionMode;
enum {
    ORVO_RESOLUTION_MODE_FIT = 0,     /* scaled by the smaller ratio, centred, bars left empty (the default) */
    ORVO_RESOLUTION_MODE_FILL = 1,    /* scaled by the larger ratio, centred, what overflows is cut off */
    ORVO_RESOLUTION_MODE_STRETCH = 2, /* stretched to the size */
};

/* What the frame callbacks receive as `data`. Any other value works, and is reported, as ORVO_PIXEL_FORMAT_BGRA. */
typedef int32_t OrvoScreenCaptureVideoPixelFormat;
enum {
    ORVO_PIXEL_FORMAT_BGRA = 4,     /* the first byte of packed 32-bit BGRA pixels (the default) */
    ORVO_PIXEL_FORMAT_BUFFER = 100, /* the system's own buffer: CVPixelBufferRef, on Linux OrvoPixelBufferRef */
};

/* What orvo_windowthumbnail_show_source_window does. Any other value does nothing. */
typedef int32_t OrvoThumbnailShowWindowCmd;
enum {
    ORVO_SHOW_WINDOW_FRONT = 1, /* bring the window forward and activate its application */
    ORVO_SHOW_WINDOW_HIDE = 2,  /* hide the window's application */
};

/* Codes of orvo_capture_error_callback. */
enum {
    ORVO_CAPTURE_ERROR_NO_SOURCE = 2,   /* capture was started with no target chosen */
    ORVO_CAPTURE_ERROR_NO_CONTENT = 3,  /* the target gave no usable picture for more than three seconds, or is gone */
    ORVO_CAPTURE_ERROR_INTERRUPTED = 4, /* the capture device failed or was interrupted; start again */
};

/* Values of `status` of orvo_window_status_callback. */
enum {
    ORVO_WINDOW_STATUS_NORMAL = 0,    /* found, not minimised, in its place; sent on every tick */
    ORVO_WINDOW_STATUS_MISSING = 1,   /* the window or its application is gone; at most once in three seconds */
    ORVO_WINDOW_STATUS_MINIMIZED = 3, /* minimised; sent on every tick */
    ORVO_WINDOW_STATUS_ACTIVE = 4,    /* its application became active */
    ORVO_WINDOW_STATUS_INACTIVE = 5,  /* its application became inactive */
    ORVO_WINDOW_STATUS_SHOWN = 6,     /* its application was shown again */
    ORVO_WINDOW_STATUS_HIDDEN = 7,    /* its application was hidden */
    ORVO_WINDOW_STATUS_MOVED = 8,     /* it moved or changed its size */
};

/* Values of `status` of orvo_thumbnail_callback. */
enum {
    ORVO_THUMBNAIL_HIDDEN_OR_GONE = 2, /* the owning application is hidden or cannot be found; no pictures */
    ORVO_THUMBNAIL_PICTURE = 5,        /* the picture asked for with orvo_windowthumbnail_register */
};

/* ---- Records ------------------------------------------------------------------------------------------------------
 */

/* Describes one frame. It lives for the duration of the callback only. */
typedef struct OrvoScreenCaptureFrameFormat {
    int32_t width;       /* pixels */
    int32_t height;      /* pixels */
    int32_t strides[4];  /* strides[0]: bytes from one row to the next, at least 4 * width; the others are 0 */
    int32_t reserved;    /* always 0 */
    int32_t pixelFormat; /* 100 when the host asked for the system's buffer, else 4 */
} OrvoScreenCaptureFrameFormat;

/* Four edges in points of the global display space, origin at the main display's top-left corner, y downwards. */
typedef struct OrvoScreenCaptureRect {
    int32_t left;
    int32_t top;
    int32_t right;
    int32_t bottom;
} OrvoScreenCaptureRect;

/* One display. */
typedef struct OrvoScreenCaptureScreenItem {
    uint32_t screenID;  /* the display's number, a target for orvo_screencapture_set_target_screen */
    uint32_t isPrimary; /* 1 for the main display, else 0 */
} OrvoScreenCaptureScreenItem;

/* One window of the plain list. */
typedef struct OrvoScreenCaptureWindowItem {
    uint32_t windowID;
    char title[256];   /* UTF-8, zero-terminated */
    char appName[256]; /* always all zero */
} OrvoScreenCaptureWindowItem;

/* A picture of 32-bit pixels, the top row first. Owned by the list or item that it hangs on. */
typedef struct OrvoThumbnailBitmapItem {
    uint32_t width;        /* pixels */
    uint32_t height;       /* pixels */
    uint32_t bitsPerPixel; /* always 32 */
    uint32_t length;       /* bytes at data: width * height * 4 */
    unsigned char* data;
    uint32_t stride;      /* bytes per row of the picture that data was taken from */
    uint8_t reserved[12]; /* not written */
} OrvoThumbnailBitmapItem;

/* One display or window of the picker's list. */
typedef struct OrvoThumbnailWindowInfo {
    uint32_t itemID;                         /* window number, or display number for a display */
    uint32_t windowID;                       /* the same number again */
    char title[256];                         /* UTF-8, zero-terminated; "desk 1", "desk 2", ... for displays */
    OrvoThumbnailBitmapItem* iconThumbnail;  /* the owning application's icon, 100 pixels wide, or NULL */
    OrvoThumbnailBitmapItem* imageThumbnail; /* a picture 400 pixels wide, or NULL */
    uint8_t isScreen;                        /* 1 for a display, 0 for a window */
    uint8_t padding[7];
} OrvoThumbnailWindowInfo;

/* A new window of the captured process, passed by value. */
typedef struct OrvoScreenCaptureProcessWindow {
    char reserved[256]; /* zeros */
    char title[256];    /* UTF-8, zero-terminated */
    uint32_t windowID;
} OrvoScreenCaptureProcessWindow;

/* ---- Callbacks ----------------------------------------------------------------------------------------------------
 */
/*
 * One callback of each kind; registering again replaces it, registering NULL silences the kind. A callback that is
 * replaced may still be called once more by a thread that has just fetched it: keep it and its user data valid until
 * the capture has stopped. No lock of the library is held during a callback. A callback must not block, and no
 * exception may leave it. "Main queue" is the dispatch main queue on macOS and GLib's default main context on Linux;
 * a Linux host without a GLib loop calls orvo_screencapture_run_main_queue (orvo/screencapture_linux.h).
 */

/* A capture error, one of ORVO_CAPTURE_ERROR_*. Threads: the starting thread (2), the capture queue (3), the main
 * queue (3 and 4). */
typedef void (*orvo_capture_error_callback)(int errorCode, void* userData);

/* A captured window moved or changed its size: its bounds in points, origin top-left. All zero while it is minimised.
 * Threads: the main queue. */
typedef void (*orvo_window_moved_callback)(unsigned int windowID, int left, int top, int width, int height,
                                           void* userData);

/* One frame. data and length: the pixels, format->strides[0] * format->height bytes (or the buffer object, see
 * OrvoScreenCaptureVideoPixelFormat); valid during the call only. referenceTime counts referenceTimeScale (always
 * 1000) to the second: the monotonic capture clock for displays, the wall clock since 1970 plus the offset of
 * orvo_screencapture_set_timestamp_offset for windows. Threads: the main queue for displays, the capture queue for
 * windows. */
typedef void (*orvo_frame_callback)(const char* data, unsigned int length, const OrvoScreenCaptureFrameFormat* format,
                                    unsigned long long referenceTime, unsigned int referenceTimeScale, void* userData);

/* The same frame of a window target, with the number of the window (or display) that it shows. Called after
 * orvo_frame_callback, for window targets only. Threads: the capture queue. */
typedef void (*orvo_window_frame_callback)(const char* data, unsigned int length,
                                           const OrvoScreenCaptureFrameFormat* format, unsigned long long referenceTime,
                                           unsigned int referenceTimeScale, unsigned int windowID, void* userData);

/* News of a picker entry, ORVO_THUMBNAIL_*. Memory: info and its pictures pass to the host, which frees them with
 * orvo_windowthumbnail_free_windows(info, 1). Threads: the main queue. */
typedef void (*orvo_thumbnail_callback)(int status, OrvoThumbnailWindowInfo* info, void* userData);

/* The state of a captured window, ORVO_WINDOW_STATUS_*, and its bounds. Threads: the main queue. */
typedef void (*orvo_window_status_callback)(int status, unsigned int windowID, OrvoScreenCaptureRect rect,
                                            void* userData);

/* The captured process shows a new window to follow, such as a slide show. change is 4. Threads: the main queue. */
typedef void (*orvo_process_window_callback)(int change, OrvoScreenCaptureProcessWindow window, void* userData);

/* ---- Life and log -------------------------------------------------------------------------------------------------
 */

/* Makes the capture objects. A second call does nothing until orvo_screencapture_uninit. */
ORVO_API void orvo_screencapture_init(void);

/* Stops the capture and drops the capture objects. Nothing is called back once it has returned and calls that were
 * under way have ended; one that runs on another thread is awaited for a bounded time. */
ORVO_API void orvo_screencapture_uninit(void);

/* Opens the three rotating log files "orvoscreencaplog1.txt" to "orvoscreencaplog3.txt" in a folder.
 * level: 0 import, 1 error, 2 warn, 3 notice, 4 debug; lines above it are dropped. logFolder: UTF-8, made when missing;
 * one trailing slash is ignored. Needs no orvo_screencapture_init. */
ORVO_API void orvo_screencapture_set_log_level(int level, const char* logFolder);

/* ---- Capture ------------------------------------------------------------------------------------------------------
 */

/* Starts capturing the chosen target. Without one: error callback with code 2. */
ORVO_API void orvo_screencapture_start_capture(void);

/* Stops capturing. The target and all settings stay. */
ORVO_API void orvo_screencapture_stop_capture(void);

/* Result: whether frames are being captured now; calls that are still queued do not count yet. */
ORVO_API bool orvo_screencapture_is_capturing(void);

/* Sets the frame rate. fps: 5 to 30; anything else is refused with a log line. 15 at first. Displays change at once,
 * window targets at the next start. */
ORVO_API void orvo_screencapture_set_fps(int fps);

/* Adds to the time of every window frame. offset: milliseconds. Display frames are not shifted. */
ORVO_API void orvo_screencapture_set_timestamp_offset(unsigned long long offset);

/* Sets the size of window frames. width, height: pixels; 0 in either keeps the source's size. A width above a quarter
 * of the source's bytes per row gives no frames. Displays captured whole or by rectangle are not scaled. */
ORVO_API void orvo_screencapture_set_resolution(int width, int height);

/* Sets how a window's picture fills the size of orvo_screencapture_set_resolution. Chooses the window path. */
ORVO_API void orvo_screencapture_set_resolution_mode(OrvoScreenCaptureResolutionMode mode);

/* Shows or leaves out the mouse cursor. visible: 0 or not 0. Shown at first. */
ORVO_API void orvo_screencapture_set_cursor_visible(int visible);

/* Draws a ring around the pointer while a button is down, on displays. enable: 0 or not 0. Off at first. */
ORVO_API void orvo_screencapture_enable_click_animation(int enable);

/* Chooses what the frame callbacks get as data. Takes effect with the next callback. */
ORVO_API void orvo_screencapture_set_capture_video_pixel_format(OrvoScreenCaptureVideoPixelFormat format);

/* ---- Targets ------------------------------------------------------------------------------------------------------
 */

/* Captures a whole display. screenID: from orvo_screencapture_enum_screen_list; it is not checked. With excluded
 * windows the display is captured on the window path without them. Result: always false, also on success. */
ORVO_API bool orvo_screencapture_set_target_screen(unsigned int screenID);

/* Captures a rectangle of a display. left, top, width, height: points from the display's top-left corner. A rectangle
 * that reaches beyond the display is refused with a log line and the earlier one stays. An id that is no display is
 * taken as a window. Result: true after orvo_screencapture_init. */
ORVO_API bool orvo_screencapture_set_target_rect(unsigned int screenID, int left, int top, int width, int height);

/* Captures one window as the only window target; 0 means the main display. Result: true after
 * orvo_screencapture_init. */
ORVO_API bool orvo_screencapture_set_target_window(unsigned int windowID);

/* Adds windows to, or removes them from, the window targets. windows: count numbers, read during the call; nothing is
 * done when count is below 1. Takes effect at once, before calls that are still queued: an
 * orvo_screencapture_set_target_window among them then leaves its window as the only target. To begin with several
 * windows choose the window path with orvo_screencapture_set_target_window_mode and add them all here. Result: true
 * after orvo_screencapture_init. */
ORVO_API bool orvo_screencapture_set_extra_target_windows(unsigned int* windows, int count, bool add);

/* Leaves windows out of composed pictures, or lets them in again. windows: count numbers, read during the call. */
ORVO_API void orvo_screencapture_set_excluded_windows(unsigned int* windows, int count, bool add);

/* Chooses what a window target's picture contains. Result: true after orvo_screencapture_init. */
ORVO_API bool orvo_screencapture_set_target_window_mode(OrvoScreenCaptureWindowMode mode);

/* Crops window frames. left, top, width, height: points from the picture's top-left corner, multiplied by the main
 * screen's scale; all zero means no cropping. Result: true after orvo_screencapture_init. */
ORVO_API bool orvo_screencapture_set_target_window_rect(int left, int top, int width, int height);

/* Retired: writes a log line and does nothing. Use orvo_windowthumbnail_show_source_window. */
ORVO_API void orvo_screencapture_activate_window_when_capturing(int activate);

/* ---- Registrations ------------------------------------------------------------------------------------------------
 */
/* userData: handed back with every call, never read. A registration before orvo_screencapture_init is lost. */

ORVO_API void orvo_screencapture_reg_capture_error_notify(orvo_capture_error_callback callback, void* userData);
ORVO_API void orvo_screencapture_reg_captured_frame_available_notify(orvo_frame_callback callback, void* userData);
ORVO_API void orvo_screencapture_reg_mutiple_captured_frame_available_notify(orvo_window_frame_callback callback,
                                                                             void* userData);
ORVO_API void orvo_screencapture_reg_captured_window_status_change_notify(orvo_window_status_callback callback,
                                                                          void* userData);
ORVO_API void orvo_screencapture_reg_capture_process_window_change_notify(orvo_process_window_callback callback,
                                                                          void* userData);
ORVO_API void orvo_windowthumbnail_reg_window_status_change_notify(orvo_thumbnail_callback callback, void* userData);

/* ---- Lists --------------------------------------------------------------------------------------------------------
 */

/* Lists the displays. Needs no orvo_screencapture_init. count: receives the number of items. Result: an array, empty
 * without a display. Memory: freed with orvo_screencapture_free_screen_list. */
ORVO_API OrvoScreenCaptureScreenItem* orvo_screencapture_enum_screen_list(unsigned int* count);
ORVO_API void orvo_screencapture_free_screen_list(OrvoScreenCaptureScreenItem* list);

/* Lists the windows on screen, front to back, without pictures. isIncludeIconic: kept for hosts that pass it. count:
 * receives the number of items. Memory: freed with orvo_screencapture_free_window_list. */
ORVO_API OrvoScreenCaptureWindowItem* orvo_screencapture_enum_window_list(int isIncludeIconic, unsigned int* count);
ORVO_API void orvo_screencapture_free_window_list(OrvoScreenCaptureWindowItem* list);

/* Retired: writes a log line and does nothing. */
ORVO_API void orvo_screencapture_get_virtual_desktop_rect(void);

/* Asks where a window is. rect: receives left, top, right, bottom in points, for a display its origin, width and
 * height; all zero for an unknown number. Result: always true. */
ORVO_API bool orvo_screencapture_get_window_rect(unsigned int windowID, OrvoScreenCaptureRect* rect);

/* Chooses whether orvo_windowthumbnail_find_windows leaves the pictures out (true) or takes them (false, at first).
 * Icons are always there. */
ORVO_API void orvo_windowthumbnail_find_windows_async(bool isAsync);

/* Lists displays, then windows front to back, with icons and pictures. count: receives the number of items. Blocks
 * while pictures are taken. Memory: freed with orvo_windowthumbnail_free_windows and the same count. */
ORVO_API OrvoThumbnailWindowInfo* orvo_windowthumbnail_find_windows(int* count);
ORVO_API void orvo_windowthumbnail_free_windows(OrvoThumbnailWindowInfo* list, int count);

/* Asks for one window's picture; it comes through orvo_thumbnail_callback. Result: 1 when the window was found. */
ORVO_API int orvo_windowthumbnail_register(unsigned int windowID);

/* Result: 1 after orvo_screencapture_init; nothing needs to be undone. */
ORVO_API int orvo_windowthumbnail_unregister(unsigned int windowID);

/* Brings a window forward or hides its application. Result: 1 on success. */
ORVO_API int orvo_windowthumbnail_show_source_window(unsigned int windowID, OrvoThumbnailShowWindowCmd cmd);

/* Result: 1 when the window is on screen and can be captured. */
ORVO_API int orvo_windowthumbnail_window_checkStatus(unsigned int windowID);

#ifdef __cplusplus
} /* extern "C" */

/* The exports with C++ linkage. */
ORVO_API void orvo_screencapture_reg_captured_window_moved_notify(orvo_window_moved_callback callback, void* userData);
ORVO_API OrvoThumbnailWindowInfo* orvo_screencapture_enum_window_list(int isIncludeIconic, int* count);
ORVO_API void orvo_screencapture_free_window_list(OrvoThumbnailWindowInfo* list);
ORVO_API int orvo_windowthumbnail_register(unsigned int windowID, int, OrvoScreenCaptureRect*);
ORVO_API int orvo_windowthumbnail_update(int, OrvoScreenCaptureRect*);
#else
/* A captured window's moves; see orvo_window_moved_callback. */
ORVO_API void orvo_screencapture_reg_captured_window_moved_notify(orvo_window_moved_callback callback, void* userData)
    ORVO_SYMBOL("_Z51orvo_screencapture_reg_captured_window_moved_notifyPFvjiiiiPvES_");
/* The windows with their icons, without pictures. Memory: freed with orvo_windowthumbnail_free_windows and the same
 * count; orvo_screencapture_free_window_info frees the pictures of the first item only. */
ORVO_API OrvoThumbnailWindowInfo* orvo_screencapture_enum_window_info(int isIncludeIconic, int* count)
    ORVO_SYMBOL("_Z35orvo_screencapture_enum_window_listiPi");
ORVO_API void orvo_screencapture_free_window_info(OrvoThumbnailWindowInfo* list)
    ORVO_SYMBOL("_Z35orvo_screencapture_free_window_listP23OrvoThumbnailWindowInfo");
#endif

#endif /* ORVO_SCREENCAPTURE_H */
