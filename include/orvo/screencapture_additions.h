/**
 * @file
 * What Orvo Screen Capture offers beside its capture interface, on every system: its version, the permissions that it
 * needs, the owner of a window, the statistics of the capture, the level of the log. Nothing here changes how capturing
 * works.
 *
 * Every function may be called from any thread, also from inside a callback, and returns at once unless it says
 * otherwise. This header is plain C11 and compiles as C++ too.
 */
#ifndef ORVO_SCREENCAPTURE_ADDITIONS_H
#define ORVO_SCREENCAPTURE_ADDITIONS_H

#include "orvo/screencapture.h"

#ifdef __cplusplus
extern "C" {
#endif

/* The version of these headers; orvo_screencapture_version tells that of the library. */
#define ORVO_SCREENCAPTURE_VERSION_MAJOR 2   /**< a part of ORVO_SCREENCAPTURE_VERSION */
#define ORVO_SCREENCAPTURE_VERSION_MINOR 9   /**< a part of ORVO_SCREENCAPTURE_VERSION */
#define ORVO_SCREENCAPTURE_VERSION_PATCH 193 /**< a part of ORVO_SCREENCAPTURE_VERSION */
#define ORVO_SCREENCAPTURE_VERSION "2.9.193" /**< the version of these headers */

/**
 * Asks for the version of the library that runs.
 * @return such as "2.9.193"
 * @threads any
 * @memory the result lives as long as the process
 * @errors none
 */
ORVO_API const char* orvo_screencapture_version(void);

/** What the user has to allow. On X11 both are always granted. */
typedef int32_t OrvoScreenCapturePermission;
/** Values of OrvoScreenCapturePermission. */
enum {
    ORVO_PERMISSION_SCREEN_RECORDING = 1, /**< pictures of the screen and the titles of other applications' windows */
    ORVO_PERMISSION_ACCESSIBILITY = 2,    /**< following windows and bringing them to the front */
};

/** Where a permission stands. */
typedef int32_t OrvoScreenCapturePermissionState;
/** Values of OrvoScreenCapturePermissionState. */
enum {
    ORVO_PERMISSION_NEVER_ASKED = 0,    /**< not granted, and this process has not asked */
    ORVO_PERMISSION_DENIED = 1,         /**< asked, and not granted */
    ORVO_PERMISSION_GRANTED = 2,        /**< granted and in force */
    ORVO_PERMISSION_RESTART_NEEDED = 3, /**< granted, in force when the host is started again */
};

/**
 * Asks where a permission stands. Never shows anything to the user. Needs no orvo_screencapture_init.
 * @param permission one of ORVO_PERMISSION_SCREEN_RECORDING, ORVO_PERMISSION_ACCESSIBILITY
 * @return the state now
 * @threads any
 * @memory none
 * @errors ORVO_PERMISSION_DENIED for an unknown permission
 */
ORVO_API OrvoScreenCapturePermissionState orvo_screencapture_get_permission(OrvoScreenCapturePermission permission);

/**
 * Asks the user, where the system lets a process ask. The user's answer comes later: ask again with
 * orvo_screencapture_get_permission. Needs no orvo_screencapture_init.
 * @param permission one of ORVO_PERMISSION_SCREEN_RECORDING, ORVO_PERMISSION_ACCESSIBILITY
 * @return the state right after asking
 * @threads any
 * @memory none
 * @errors ORVO_PERMISSION_DENIED for an unknown permission
 */
ORVO_API OrvoScreenCapturePermissionState orvo_screencapture_request_permission(OrvoScreenCapturePermission permission);

/** The application that a window belongs to. */
typedef struct OrvoScreenCaptureWindowOwner {
    int32_t processID; /**< 0: unknown */
    char name[256];    /**< UTF-8, zero-terminated */
} OrvoScreenCaptureWindowOwner;

/**
 * Asks whose window a number is. Needs no orvo_screencapture_init.
 * @param windowID the window
 * @param owner receives the answer, all zero when there is none
 * @return whether a window of that number is on screen; a display has no owner
 * @threads any; asks the system
 * @memory none
 * @errors false for NULL
 */
ORVO_API bool orvo_screencapture_get_window_owner(unsigned int windowID, OrvoScreenCaptureWindowOwner* owner);

/** What has happened since orvo_screencapture_init. */
typedef struct OrvoScreenCaptureStatistics {
    uint64_t framesDelivered;        /**< frames that a frame callback was called with */
    uint64_t ticksMerged;            /**< ticks that never came because one before took too long */
    uint64_t framesDropped;          /**< ticks that came and reached no frame callback: lastErrorReason tells why */
    uint32_t longestGapMilliseconds; /**< between two frames of one target while the capture ran */
    int32_t lastErrorCode;           /**< the last ORVO_CAPTURE_ERROR_* that was told; 0: none */
    char lastErrorReason[120];       /**< why no frame came or there was an error; UTF-8, zero-terminated */
} OrvoScreenCaptureStatistics;

/**
 * Asks what has become of the ticks.
 * @param statistics receives the figures; all zero before orvo_screencapture_init
 * @return whether there are figures
 * @threads any
 * @memory none
 * @errors false for NULL, before orvo_screencapture_init and after orvo_screencapture_uninit; after an
 *         orvo_screencapture_init that failed, true with the reason
 */
ORVO_API bool orvo_screencapture_get_statistics(OrvoScreenCaptureStatistics* statistics);

/**
 * Sets the level of the log alone; its files go on as they are. Needs no orvo_screencapture_init.
 * @param level 0 import, 1 error, 2 warn, 3 notice, 4 debug, initially 4; lines above it are dropped
 * @threads any
 * @memory none
 * @errors none
 */
ORVO_API void orvo_screencapture_change_log_level(int level);

#ifdef __cplusplus
} /* extern "C" */
#endif

#endif /* ORVO_SCREENCAPTURE_ADDITIONS_H */
