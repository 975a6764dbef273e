"""Orvo Screen Capture: screens and windows as raw frames at a chosen rate.

    import orvo

    with orvo.Capture(fps=30) as capture:
        capture.target_screen(orvo.screens()[0])
        for frame in capture.frames(seconds=2):
            print(frame.width, frame.height, frame.pixel(0, 0))

The library itself, libOrvoScreenCaptureOSX, is searched for where ORVO_LIBRARY names it, in the prefix that this module
is installed in, and where the system's loader searches.
"""
from ._capture import Capture, Statistics
from ._frames import Frame
from ._lists import (
    Owner,
    Picture,
    Rect,
    Screen,
    Window,
    hide_window,
    permission,
    raise_window,
    request_permission,
    screens,
    set_log,
    set_log_level,
    version,
    windows,
)
from ._records import ErrorCode, Fit, LogLevel, Permission, PermissionState, WindowMode, WindowStatus
from .errors import CaptureError, FrameExpired, LibraryNotFound, NoSuchTarget, OrvoError

__all__ = [
    "Capture",
    "CaptureError",
    "ErrorCode",
    "Fit",
    "Frame",
    "FrameExpired",
    "LibraryNotFound",
    "LogLevel",
    "NoSuchTarget",
    "OrvoError",
    "Owner",
    "Permission",
    "PermissionState",
    "Picture",
    "Rect",
    "Screen",
    "Statistics",
    "Window",
    "WindowMode",
    "WindowStatus",
    "hide_window",
    "permission",
    "raise_window",
    "request_permission",
    "screens",
    "set_log",
    "set_log_level",
    "version",
    "windows",
]
