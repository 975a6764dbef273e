/**
 * @file
 * Values, records and callbacks. orvo/screencapture.h includes this header.
 */
#ifndef ORVO_SCREENCAPTURE_TYPES_H
#define ORVO_SCREENCAPTURE_TYPES_H

#include <stdbool.h>
#include <stddef.h>
#include <stdint.h>

#if defined(_WIN32)
#error "Orvo Screen Capture runs on macOS and on Linux"
#endif

/** Marks an exported function. */
#define ORVO_API __attribute__((visibility("default")))

/** Gives a declaration the symbol name that the assembler uses, so that C hosts can call functions with C++ linkage. */
#if defined(__APPLE__)
#define ORVO_SYMBOL(name) __asm__("_" name)
#else
#define ORVO_SYMBOL(name) __asm__(name)
#endif

/** Fails to compile when a record has another size than hosts were compiled for, on systems with 64 bits. */
#ifdef __cplusplus
#define ORVO_RECORD_SIZE(record, size) \
    static_assert(sizeof(void*) != 8 || sizeof(record) == (size), "the size of " #record)
#else
#define ORVO_RECORD_SIZE(record, size) \
    _Static_assert(sizeof(void*) != 8 || sizeof(record) == (size), "the size of " #record)
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Values: always 32 bits wide ---- */

/** What the picture of a window target contains. Any other value works like ORVO_WINDOW_MODE_WINDOW. */
typedef int32_t OrvoScreenCaptureWindowMode;
/** Values of OrvoScreenCaptureWindowMode. */
enum {
    ORVO_WINDOW_MODE_WINDOW = 1,      /**< the window alone, whatever covers it (the default) */
    ORVO_WINDOW_MODE_AREA = 3,        /**< the screen area under the window, with every window there */
    ORVO_WINDOW_MODE_APPLICATION = 5, /**< its rectangle with the windows of its application, without excluded ones */
};

/** How the picture of a window target fills the size of orvo_screencapture_set_resolution. Any other value stretches.
 */
typedef int32_t OrvoScreenCaptureResolutionMode;
/** Values of OrvoScreenCaptureResolutionMode. */
enum {
    ORVO_RESOLUTION_MODE_FIT = 0,     /**< scaled by the smaller ratio, centred, bars left empty (the default) */
    ORVO_RESOLUTION_MODE_FILL = 1,    /**< scaled by the larger ratio, centred, clipped */
    ORVO_RESOLUTION_MODE_STRETCH = 2, /**< stretched to the size */
};

/** What frame callbacks receive as `data`. Any other value works, and is reported, as ORVO_PIXEL_FORMAT_BGRA. */
typedef int32_t OrvoScreenCaptureVideoPixelFormat;
/** Values of OrvoScreenCaptureVideoPixelFormat. */
enum {
    ORVO_PIXEL_FORMAT_BGRA = 4,     /**< the first byte of packed 32-bit BGRA pixels (the default) */
    ORVO_PIXEL_FORMAT_BUFFER = 100, /**< the system's own buffer: CVPixelBufferRef, on Linux OrvoPixelBufferRef */
};

/** Actions of orvo_windowthumbnail_show_source_window. Any other value does nothing. */
typedef int32_t OrvoThumbnailShowWindowCmd;
/** Values of OrvoThumbnailShowWindowCmd. */
enum {
    ORVO_SHOW_WINDOW_FRONT = 1, /**< bring the window forward and activate its application */
    ORVO_SHOW_WINDOW_HIDE = 2,  /**< hide the window's application */
};

/** Codes of orvo_capture_error_callback. */
enum {
    ORVO_CAPTURE_ERROR_NO_SOURCE = 2,   /**< the capture was started without a target */
    ORVO_CAPTURE_ERROR_NO_CONTENT = 3,  /**< no picture for three seconds, or a display of window capture is gone */
    ORVO_CAPTURE_ERROR_INTERRUPTED = 4, /**< the capture device failed or was interrupted; start again */
};

/** Values of `status` of orvo_window_status_callback. */
enum {
    ORVO_WINDOW_STATUS_NORMAL = 0,    /**< on screen and not moved; sent with every tick */
    ORVO_WINDOW_STATUS_MISSING = 1,   /**< the window or its application is gone; sent at most once in three seconds */
    ORVO_WINDOW_STATUS_MINIMIZED = 3, /**< minimised; sent with every tick */
    ORVO_WINDOW_STATUS_ACTIVE = 4,    /**< its application became active */
    ORVO_WINDOW_STATUS_INACTIVE = 5,  /**< its application became inactive */
    ORVO_WINDOW_STATUS_SHOWN = 6,     /**< its application was shown again */
    ORVO_WINDOW_STATUS_HIDDEN = 7,    /**< its application was hidden */
    ORVO_WINDOW_STATUS_MOVED = 8,     /**< it moved or changed its size */
};

/** Values of `status` of orvo_thumbnail_callback. */
enum {
    ORVO_THUMBNAIL_HIDDEN_OR_GONE = 2, /**< the owning application is hidden or cannot be found; no pictures */
    ORVO_THUMBNAIL_PICTURE = 5,        /**< the picture that orvo_windowthumbnail_register requested */
};

/* ---- Records ---- */

/** Describes one frame. Valid during the callback only. */
typedef struct OrvoScreenCaptureFrameFormat {
    int32_t width;       /**< pixels */
    int32_t height;      /**< pixels */
    int32_t strides[4];  /**< strides[0]: bytes from one row to the next, at least 4 * width; the others are 0 */
    int32_t reserved;    /**< always 0 */
    int32_t pixelFormat; /**< 100 when the host asked for the system's buffer, else 4 */
} OrvoScreenCaptureFrameFormat;
ORVO_RECORD_SIZE(OrvoScreenCaptureFrameFormat, 32);

/** A window: four edges in points, origin at the main display's top-left corner, y downwards.
 *  A display: its bottom-left corner in points, y upwards from that of the main display, then width and height. */
typedef struct OrvoScreenCaptureRect {
    int32_t left;   /**< points */
    int32_t top;    /**< points; of a display the bottom edge */
    int32_t right;  /**< points; of a display the width */
    int32_t bottom; /**< points; of a display the height */
} OrvoScreenCaptureRect;
ORVO_RECORD_SIZE(OrvoScreenCaptureRect, 16);

/** One display. */
typedef struct OrvoScreenCaptureScreenItem {
    uint32_t screenID;  /**< the display's number, a target for orvo_screencapture_set_target_screen */
    uint32_t isPrimary; /**< 1 for the main display, else 0 */
} OrvoScreenCaptureScreenItem;
ORVO_RECORD_SIZE(OrvoScreenCaptureScreenItem, 8);

/** One window of the plain list. */
typedef struct OrvoScreenCaptureWindowItem {
    uint32_t windowID; /**< a target for orvo_screencapture_set_target_window */
    char title[256];   /**< UTF-8, zero-terminated */
    char appName[256]; /**< always all zero */
} OrvoScreenCaptureWindowItem;
ORVO_RECORD_SIZE(OrvoScreenCaptureWindowItem, 516);

/** A picture of 32-bit pixels, the top row first. Owned by the list or item that it hangs on. */
typedef struct OrvoThumbnailBitmapItem {
    uint32_t width;        /**< pixels */
    uint32_t height;       /**< pixels */
    uint32_t bitsPerPixel; /**< always 32 */
    uint32_t length;       /**< bytes at data: width * height * 4 */
    unsigned char* data;   /**< the first byte of the top row */
    uint32_t stride;       /**< bytes per row of the picture that data was taken from */
    uint8_t reserved[12];  /**< not written */
} OrvoThumbnailBitmapItem;
ORVO_RECORD_SIZE(OrvoThumbnailBitmapItem, 40);

/** One display or window of the picker's list. */
typedef struct OrvoThumbnailWindowInfo {
    uint32_t itemID;                         /**< window number, or display number for a display */
    uint32_t windowID;                       /**< the same number again */
    char title[256];                         /**< UTF-8, zero-terminated; "desk 1", "desk 2", ... for displays */
    OrvoThumbnailBitmapItem* iconThumbnail;  /**< the owning application's icon, 100 pixels wide, or NULL */
    OrvoThumbnailBitmapItem* imageThumbnail; /**< a picture 400 pixels wide, or NULL */
    uint8_t isScreen;                        /**< 1 for a display, 0 for a window */
    uint8_t padding[7];                      /**< not written */
} OrvoThumbnailWindowInfo;
ORVO_RECORD_SIZE(OrvoThumbnailWindowInfo, 288);

/** A new window of the captured process, passed by value. */
typedef struct OrvoScreenCaptureProcessWindow {
    char reserved[256]; /**< zeros */
    char title[256];    /**< UTF-8, zero-terminated */
    uint32_t windowID;  /**< the new window */
} OrvoScreenCaptureProcessWindow;
ORVO_RECORD_SIZE(OrvoScreenCaptureProcessWindow, 516);

/* ---- Callbacks ---- */
/**
 * @defgroup callbacks Callbacks
 *
 * There is one callback of each kind. A replaced callback may be called once more by a thread that has just read it:
 * keep it and its user data valid until the capture has stopped. The library holds no lock during a callback. A
 * callback must not block and must not throw. The main queue is the dispatch main queue on macOS and GLib's default
 * main context on Linux; a Linux host without a GLib loop calls orvo_screencapture_run_main_queue
 * (orvo/screencapture_linux.h).
 * @{
 */

/**
 * Reports a capture error. ORVO_CAPTURE_ERROR_NO_CONTENT is reported three seconds after the last picture, or at once
 * if there never was one, and then with every tick until there is a picture. All window targets share that time: while
 * one of them has pictures, a target without any is no error, but its reason is in the log and in the statistics. A
 * display with excluded windows that is gone is reported once and ends the capture. The other codes are reported once.
 * @param errorCode one of ORVO_CAPTURE_ERROR_*
 * @param userData the pointer that was registered
 * @memory none
 * @threads for 2 the thread that started the capture; for 3 the capture queue or the main queue; for 4 the main queue
 */
typedef void (*orvo_capture_error_callback)(int errorCode, void* userData);

/**
 * Reports that a captured window moved or changed its size. All bounds are zero while it is minimised.
 * @param windowID the window
 * @param left,top points, origin at the main display's top-left corner
 * @param width,height points
 * @param userData the pointer that was registered
 * @memory none
 * @threads the main queue
 */
typedef void (*orvo_window_moved_callback)(unsigned int windowID, int left, int top, int width, int height,
                                           void* userData);

/**
 * Delivers one frame.
 * @param data the first pixel, or the buffer object (see OrvoScreenCaptureVideoPixelFormat)
 * @param length bytes of the picture: strides[0] * height
 * @param format size, row bytes and pixel format
 * @param referenceTime the time of the frame in units of 1/referenceTimeScale seconds: the monotonic capture clock for
 *        displays, the wall clock since 1970 plus the offset of orvo_screencapture_set_timestamp_offset for windows
 * @param referenceTimeScale units per second, always 1000
 * @param userData the pointer that was registered
 * @memory the library owns data and format; they are valid during the call only
 * @threads the main queue for displays, the capture queue for windows
 */
typedef void (*orvo_frame_callback)(const char* data, unsigned int length, const OrvoScreenCaptureFrameFormat* format,
                                    unsigned long long referenceTime, unsigned int referenceTimeScale, void* userData);

/**
 * Delivers a frame of a window target with the window's number, right after orvo_frame_callback.
 * @param data,length,format,referenceTime,referenceTimeScale as for orvo_frame_callback
 * @param windowID the window, or the display with excluded windows
 * @param userData the pointer that was registered
 * @memory as for orvo_frame_callback
 * @threads the capture queue
 */
typedef void (*orvo_window_frame_callback)(const char* data, unsigned int length,
                                           const OrvoScreenCaptureFrameFormat* format, unsigned long long referenceTime,
                                           unsigned int referenceTimeScale, unsigned int windowID, void* userData);

/**
 * Reports a change of a picker entry.
 * @param status one of ORVO_THUMBNAIL_*
 * @param info the entry
 * @param userData the pointer that was registered
 * @memory the host frees info and its pictures with orvo_windowthumbnail_free_windows(info, 1)
 * @threads the main queue
 */
typedef void (*orvo_thumbnail_callback)(int status, OrvoThumbnailWindowInfo* info, void* userData);

/**
 * Reports the state of a captured window.
 * @param status one of ORVO_WINDOW_STATUS_*
 * @param windowID the window
 * @param rect its bounds in points
 * @param userData the pointer that was registered
 * @memory none
 * @threads the main queue
 */
typedef void (*orvo_window_status_callback)(int status, unsigned int windowID, OrvoScreenCaptureRect rect,
                                            void* userData);

/**
 * Reports a new window of the captured process to follow, such as a slide show.
 * @param change always 4
 * @param window the new window
 * @param userData the pointer that was registered
 * @memory none: window is a copy
 * @threads the main queue
 */
typedef void (*orvo_process_window_callback)(int change, OrvoScreenCaptureProcessWindow window, void* userData);

/** @} */

#ifdef __cplusplus
} /* extern "C" */
#endif

#endif /* ORVO_SCREENCAPTURE_TYPES_H */
