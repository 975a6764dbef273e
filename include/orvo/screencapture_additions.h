/**
 * @file
 * Additions to the capture interface, on every system: version, permissions, owner of a window, statistics, level of
 * the log. Nothing here changes how the capture works. This header is plain C11 and compiles as C++ too.
 *
 * The records of this header grow at their end. Each begins with structSize, the size that the host was compiled with;
 * its initialiser (ORVO_SCREENCAPTURE_..._INIT) sets it. The library writes no byte beyond structSize, and zero into
 * fields that it does not know: a host runs with older and with newer libraries.
 */
#ifndef ORVO_SCREENCAPTURE_ADDITIONS_H
#define ORVO_SCREENCAPTURE_ADDITIONS_H

#include "orvo/screencapture.h"

#ifdef __cplusplus
extern "C" {
#endif

/* The version of these headers; orvo_screencapture_version returns that of the library. */
#define ORVO_SCREENCAPTURE_VERSION_MAJOR 2   /**< a part of ORVO_SCREENCAPTURE_VERSION */
#define ORVO_SCREENCAPTURE_VERSION_MINOR 9   /**< a part of ORVO_SCREENCAPTURE_VERSION */
#define ORVO_SCREENCAPTURE_VERSION_PATCH 193 /**< a part of ORVO_SCREENCAPTURE_VERSION */
#define ORVO_SCREENCAPTURE_VERSION "2.9.193" /**< the version of these headers */

/**
 * Returns the version of the library.
 * @return for example "2.9.193"
 * @errors none
 * @memory the result is valid as long as the process runs
 * @threads any
 */
ORVO_API const char* orvo_screencapture_version(void);

/** What the user has to allow on macOS. On X11 both are granted; screens of a Wayland session are denied. */
typedef int32_t OrvoScreenCapturePermission;
/** Values of OrvoScreenCapturePermission. */
enum {
    ORVO_PERMISSION_SCREEN_RECORDING = 1, /**< pictures of the screen and the titles of other applications' windows */
    ORVO_PERMISSION_ACCESSIBILITY = 2,    /**< following windows and bringing them to the front */
};

/** The state of a permission. */
typedef int32_t OrvoScreenCapturePermissionState;
/** Values of OrvoScreenCapturePermissionState. */
enum {
    ORVO_PERMISSION_NEVER_ASKED = 0,    /**< not granted, and this process has not requested it */
    ORVO_PERMISSION_DENIED = 1,         /**< requested, and not granted */
    ORVO_PERMISSION_GRANTED = 2,        /**< granted and in force */
    ORVO_PERMISSION_RESTART_NEEDED = 3, /**< granted, and in force after the host is restarted */
};

/**
 * Returns the state of a permission, without showing anything to the user. Works before orvo_screencapture_init.
 * @param permission one of ORVO_PERMISSION_SCREEN_RECORDING, ORVO_PERMISSION_ACCESSIBILITY
 * @return the current state
 * @errors ORVO_PERMISSION_DENIED for an unknown permission
 * @memory none
 * @threads any
 */
ORVO_API OrvoScreenCapturePermissionState orvo_screencapture_get_permission(OrvoScreenCapturePermission permission);

/**
 * Requests a permission from the user and returns without waiting for the answer; orvo_screencapture_get_permission
 * returns the state later. Works before orvo_screencapture_init.
 * @param permission one of ORVO_PERMISSION_SCREEN_RECORDING, ORVO_PERMISSION_ACCESSIBILITY
 * @return the state right after the request
 * @errors ORVO_PERMISSION_DENIED for an unknown permission
 * @memory none
 * @threads any
 */
ORVO_API OrvoScreenCapturePermissionState orvo_screencapture_request_permission(OrvoScreenCapturePermission permission);

/** The application that a window belongs to. */
typedef struct OrvoScreenCaptureWindowOwner {
    uint32_t structSize; /**< bytes; set by the host */
    int32_t processID;   /**< 0: unknown */
    char name[256];      /**< UTF-8, zero-terminated */
} OrvoScreenCaptureWindowOwner;
ORVO_RECORD_SIZE(OrvoScreenCaptureWindowOwner, 264);
/** The initialiser of an OrvoScreenCaptureWindowOwner. */
/* clang-format off */
#define ORVO_SCREENCAPTURE_WINDOW_OWNER_INIT {sizeof(OrvoScreenCaptureWindowOwner), 0, ""}
/* clang-format on */

/**
 * Returns the owner of a window. Works before orvo_screencapture_init.
 * @param windowID the window
 * @param owner structSize is set; receives the owner, zeros when there is none
 * @return true if the window is on screen; a display has no owner
 * @errors false for NULL; false and nothing written for a structSize that no version of the record has
 * @memory none
 * @threads any; waits for the system
 */
ORVO_API bool orvo_screencapture_get_window_owner(unsigned int windowID, OrvoScreenCaptureWindowOwner* owner);

/** Statistics since orvo_screencapture_init. */
typedef struct OrvoScreenCaptureStatistics {
    uint32_t structSize;             /**< bytes; set by the host */
    uint32_t longestGapMilliseconds; /**< the longest time between two frames of a target */
    uint64_t framesDelivered;        /**< frames that were passed to a frame callback */
    uint64_t ticksMerged;            /**< ticks skipped because an earlier one took too long */
    uint64_t framesDropped;          /**< ticks that came and reached no frame callback; lastErrorReason says why */
    int32_t lastErrorCode;           /**< the last ORVO_CAPTURE_ERROR_* that was reported; 0: none */
    char lastErrorReason[124];       /**< why there was no frame, or an error; UTF-8, zero-terminated */
} OrvoScreenCaptureStatistics;
ORVO_RECORD_SIZE(OrvoScreenCaptureStatistics, 160);
/** The initialiser of an OrvoScreenCaptureStatistics. */
/* clang-format off */
#define ORVO_SCREENCAPTURE_STATISTICS_INIT {sizeof(OrvoScreenCaptureStatistics), 0, 0, 0, 0, 0, ""}
/* clang-format on */

/**
 * Returns capture statistics.
 * @param statistics structSize is set; receives the figures, zeros before orvo_screencapture_init
 * @return true if there are figures
 * @errors false for NULL, before orvo_screencapture_init and after orvo_screencapture_uninit; after an
 *         orvo_screencapture_init that failed, true with the reason; false and nothing written for a structSize that
 *         no version of the record has
 * @memory none
 * @threads any
 */
ORVO_API bool orvo_screencapture_get_statistics(OrvoScreenCaptureStatistics* statistics);

/**
 * Returns which parts of a frame differ from the previous frame of the same target. Call it inside a frame callback.
 * @param rects receives at most `capacity` rectangles: edges in pixels of the frame, origin top-left, right and bottom
 *        exclusive; everything outside them is unchanged. NULL only counts them
 * @param capacity rectangles that fit; if there are more, one rectangle that encloses all of them is stored
 * @return the number of rectangles; 0: the frame equals the previous one; -1: any part may differ, as in the first
 * frame of a target, after a setting that changes the picture, and where the system does not report changes
 * @errors -1 outside of frame callbacks
 * @memory none
 * @threads the thread of the frame callback
 */
ORVO_API int orvo_screencapture_get_changed_rects(OrvoScreenCaptureRect* rects, int capacity);

/**
 * Sets the level of the log and keeps its files. Works before orvo_screencapture_init.
 * @param level 0 import, 1 error, 2 warn, 3 notice, 4 debug (the default); lines above it are dropped
 * @errors none
 * @memory none
 * @threads any
 */
ORVO_API void orvo_screencapture_change_log_level(int level);

#ifdef __cplusplus
} /* extern "C" */
#endif

#endif /* ORVO_SCREENCAPTURE_ADDITIONS_H */
