/* The layout of every public record and enumeration: hosts are compiled against it, so a line here never changes. */
#include <stddef.h>

#include "orvo/screencapture_additions.h"

#define SIZE(record, size) _Static_assert(sizeof(record) == (size), "size of " #record)
#define FIELD(record, field, offset, size) \
    _Static_assert(offsetof(record, field) == (offset) && sizeof(((record*)NULL)->field) == (size), #record "." #field)

SIZE(OrvoScreenCaptureWindowMode, 4);
SIZE(OrvoScreenCaptureResolutionMode, 4);
SIZE(OrvoScreenCaptureVideoPixelFormat, 4);
SIZE(OrvoThumbnailShowWindowCmd, 4);
SIZE(OrvoScreenCapturePermission, 4);
SIZE(OrvoScreenCapturePermissionState, 4);

SIZE(OrvoScreenCaptureFrameFormat, 32);
FIELD(OrvoScreenCaptureFrameFormat, width, 0, 4);
FIELD(OrvoScreenCaptureFrameFormat, height, 4, 4);
FIELD(OrvoScreenCaptureFrameFormat, strides, 8, 16);
FIELD(OrvoScreenCaptureFrameFormat, reserved, 24, 4);
FIELD(OrvoScreenCaptureFrameFormat, pixelFormat, 28, 4);

SIZE(OrvoScreenCaptureRect, 16);
FIELD(OrvoScreenCaptureRect, left, 0, 4);
FIELD(OrvoScreenCaptureRect, top, 4, 4);
FIELD(OrvoScreenCaptureRect, right, 8, 4);
FIELD(OrvoScreenCaptureRect, bottom, 12, 4);

SIZE(OrvoScreenCaptureScreenItem, 8);
FIELD(OrvoScreenCaptureScreenItem, screenID, 0, 4);
FIELD(OrvoScreenCaptureScreenItem, isPrimary, 4, 4);

SIZE(OrvoScreenCaptureWindowItem, 516);
FIELD(OrvoScreenCaptureWindowItem, windowID, 0, 4);
FIELD(OrvoScreenCaptureWindowItem, title, 4, 256);
FIELD(OrvoScreenCaptureWindowItem, appName, 260, 256);

SIZE(OrvoThumbnailBitmapItem, 40);
FIELD(OrvoThumbnailBitmapItem, width, 0, 4);
FIELD(OrvoThumbnailBitmapItem, height, 4, 4);
FIELD(OrvoThumbnailBitmapItem, bitsPerPixel, 8, 4);
FIELD(OrvoThumbnailBitmapItem, length, 12, 4);
FIELD(OrvoThumbnailBitmapItem, data, 16, 8);
FIELD(OrvoThumbnailBitmapItem, stride, 24, 4);
FIELD(OrvoThumbnailBitmapItem, reserved, 28, 12);

SIZE(OrvoThumbnailWindowInfo, 288);
FIELD(OrvoThumbnailWindowInfo, itemID, 0, 4);
FIELD(OrvoThumbnailWindowInfo, windowID, 4, 4);
FIELD(OrvoThumbnailWindowInfo, title, 8, 256);
FIELD(OrvoThumbnailWindowInfo, iconThumbnail, 264, 8);
FIELD(OrvoThumbnailWindowInfo, imageThumbnail, 272, 8);
FIELD(OrvoThumbnailWindowInfo, isScreen, 280, 1);
FIELD(OrvoThumbnailWindowInfo, padding, 281, 7);

SIZE(OrvoScreenCaptureProcessWindow, 516);
FIELD(OrvoScreenCaptureProcessWindow, reserved, 0, 256);
FIELD(OrvoScreenCaptureProcessWindow, title, 256, 256);
FIELD(OrvoScreenCaptureProcessWindow, windowID, 512, 4);

SIZE(OrvoScreenCaptureWindowOwner, 260);
FIELD(OrvoScreenCaptureWindowOwner, processID, 0, 4);
FIELD(OrvoScreenCaptureWindowOwner, name, 4, 256);

SIZE(OrvoScreenCaptureStatistics, 152);
FIELD(OrvoScreenCaptureStatistics, framesDelivered, 0, 8);
FIELD(OrvoScreenCaptureStatistics, ticksMerged, 8, 8);
FIELD(OrvoScreenCaptureStatistics, framesDropped, 16, 8);
FIELD(OrvoScreenCaptureStatistics, longestGapMilliseconds, 24, 4);
FIELD(OrvoScreenCaptureStatistics, lastErrorCode, 28, 4);
FIELD(OrvoScreenCaptureStatistics, lastErrorReason, 32, 120);
