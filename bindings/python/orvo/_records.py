"""The records and values of the C interface, laid out as the headers lay them out."""
from __future__ import annotations

import ctypes
from ctypes import POINTER, c_char, c_int, c_int32, c_ubyte, c_uint, c_uint8, c_uint32, c_uint64, c_ulonglong, c_void_p
from enum import IntEnum


class WindowMode(IntEnum):
    """What a window target's picture contains."""

    WINDOW = 1  #: the window alone, whatever covers it
    AREA = 3  #: the screen area under the window, with every window there
    APPLICATION = 5  #: the window's rectangle with the windows of its application, less the excluded ones


class Fit(IntEnum):
    """How a window target's picture is placed in a chosen size."""

    LETTERBOX = 0  #: scaled by the smaller ratio, centred, with empty bars
    FILL = 1  #: scaled by the larger ratio, centred, what overflows is cut off
    STRETCH = 2  #: stretched to the size


class ErrorCode(IntEnum):
    """Why a capture failed."""

    NO_SOURCE = 2  #: started with no target chosen
    NO_CONTENT = 3  #: the target gave no usable picture for more than three seconds, or is gone
    INTERRUPTED = 4  #: the capture device failed or was interrupted; start again


class WindowStatus(IntEnum):
    """The state of a captured window."""

    NORMAL = 0  #: found, not minimised, in its place; reported on every tick
    MISSING = 1  #: the window or its application is gone; at most once in three seconds
    MINIMIZED = 3  #: minimised; reported on every tick
    ACTIVE = 4  #: its application became active
    INACTIVE = 5  #: its application became inactive
    SHOWN = 6  #: its application was shown again
    HIDDEN = 7  #: its application was hidden
    MOVED = 8  #: it moved or changed its size


class Permission(IntEnum):
    """What the user has to allow."""

    SCREEN_RECORDING = 1  #: pictures of the screen and the titles of other applications' windows
    ACCESSIBILITY = 2  #: following windows and bringing them to the front


class PermissionState(IntEnum):
    """What the user has answered."""

    NEVER_ASKED = 0  #: not granted, and this process has not asked
    DENIED = 1  #: asked, and not granted
    GRANTED = 2  #: granted and in force
    RESTART_NEEDED = 3  #: granted, in force when the process is started again


class LogLevel(IntEnum):
    """Lines above the level are left out of the log."""

    IMPORT = 0
    ERROR = 1
    WARN = 2
    NOTICE = 3
    DEBUG = 4


PIXEL_FORMAT_BUFFER = 100


class OrvoScreenCaptureFrameFormat(ctypes.Structure):
    _fields_ = [
        ("width", c_int32),
        ("height", c_int32),
        ("strides", c_int32 * 4),
        ("reserved", c_int32),
        ("pixelFormat", c_int32),
    ]


class OrvoScreenCaptureRect(ctypes.Structure):
    _fields_ = [("left", c_int32), ("top", c_int32), ("right", c_int32), ("bottom", c_int32)]


class OrvoScreenCaptureScreenItem(ctypes.Structure):
    _fields_ = [("screenID", c_uint32), ("isPrimary", c_uint32)]


class OrvoScreenCaptureWindowItem(ctypes.Structure):
    _fields_ = [("windowID", c_uint32), ("title", c_char * 256), ("appName", c_char * 256)]


class OrvoThumbnailBitmapItem(ctypes.Structure):
    _fields_ = [
        ("width", c_uint32),
        ("height", c_uint32),
        ("bitsPerPixel", c_uint32),
        ("length", c_uint32),
        ("data", POINTER(c_ubyte)),
        ("stride", c_uint32),
        ("reserved", c_uint8 * 12),
    ]


class OrvoThumbnailWindowInfo(ctypes.Structure):
    _fields_ = [
        ("itemID", c_uint32),
        ("windowID", c_uint32),
        ("title", c_char * 256),
        ("iconThumbnail", POINTER(OrvoThumbnailBitmapItem)),
        ("imageThumbnail", POINTER(OrvoThumbnailBitmapItem)),
        ("isScreen", c_uint8),
        ("padding", c_uint8 * 7),
    ]


class OrvoScreenCaptureProcessWindow(ctypes.Structure):
    _fields_ = [("reserved", c_char * 256), ("title", c_char * 256), ("windowID", c_uint32)]


class OrvoScreenCaptureWindowOwner(ctypes.Structure):
    _fields_ = [("structSize", c_uint32), ("processID", c_int32), ("name", c_char * 256)]


class OrvoScreenCaptureStatistics(ctypes.Structure):
    _fields_ = [
        ("structSize", c_uint32),
        ("longestGapMilliseconds", c_uint32),
        ("framesDelivered", c_uint64),
        ("ticksMerged", c_uint64),
        ("framesDropped", c_uint64),
        ("lastErrorCode", c_int32),
        ("lastErrorReason", c_char * 124),
    ]


FORMAT = POINTER(OrvoScreenCaptureFrameFormat)
WINDOW_INFO = POINTER(OrvoThumbnailWindowInfo)
ERROR_CALLBACK = ctypes.CFUNCTYPE(None, c_int, c_void_p)
MOVED_CALLBACK = ctypes.CFUNCTYPE(None, c_uint, c_int, c_int, c_int, c_int, c_void_p)
FRAME_CALLBACK = ctypes.CFUNCTYPE(None, c_void_p, c_uint, FORMAT, c_ulonglong, c_uint, c_void_p)
WINDOW_FRAME_CALLBACK = ctypes.CFUNCTYPE(None, c_void_p, c_uint, FORMAT, c_ulonglong, c_uint, c_uint, c_void_p)
STATUS_CALLBACK = ctypes.CFUNCTYPE(None, c_int, c_uint, OrvoScreenCaptureRect, c_void_p)
PROCESS_CALLBACK = ctypes.CFUNCTYPE(None, c_int, OrvoScreenCaptureProcessWindow, c_void_p)
THUMBNAIL_CALLBACK = ctypes.CFUNCTYPE(None, c_int, WINDOW_INFO, c_void_p)
