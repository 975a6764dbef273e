/*
 * What Orvo Screen Capture offers beyond its common interface, on every system. Nothing here changes what the common
 * interface does.
 */
#ifndef ORVO_SCREENCAPTURE_ADDITIONS_H
#define ORVO_SCREENCAPTURE_ADDITIONS_H

#include "orvo/screencapture.h"

#ifdef __cplusplus
extern "C" {
#endif

/* The application that a window belongs to. */
typedef struct OrvoScreenCaptureWindowOwner {
    int32_t processID;
    char name[256]; /* UTF-8, zero-terminated */
} OrvoScreenCaptureWindowOwner;

/* Asks whose window a number is. Needs no orvo_screencapture_init. owner: receives the answer, all zero when there is
 * none. Result: whether a window of that number is on screen; a display has no owner. Threads: any. */
ORVO_API bool orvo_screencapture_get_window_owner(unsigned int windowID, OrvoScreenCaptureWindowOwner* owner);

#ifdef __cplusplus
} /* extern "C" */
#endif

#endif /* ORVO_SCREENCAPTURE_ADDITIONS_H */
