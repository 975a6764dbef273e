"""Finds the shared library, loads it once and names the types of its functions."""
from __future__ import annotations

import ctypes
import os
import sys
import threading
from contextlib import contextmanager
from ctypes import POINTER, c_bool, c_char_p, c_int, c_uint, c_ulonglong, c_void_p
from functools import lru_cache
from pathlib import Path
from typing import Any, Iterator

from . import _darwin
from . import _records as records
from .errors import LibraryNotFound

NAME = "libOrvoScreenCaptureOSX.dylib" if sys.platform == "darwin" else "libOrvoScreenCaptureOSX.so.2"

#: the export with C++ linkage
WINDOW_MOVED = "_Z51orvo_screencapture_reg_captured_window_moved_notifyPFvjiiiiPvES_"
_NUMBERS = POINTER(c_uint)

# name: (result, arguments...)
_FUNCTIONS: dict[str, tuple[Any, ...]] = {
    "orvo_screencapture_init": (None,),
    "orvo_screencapture_uninit": (None,),
    "orvo_screencapture_set_log_level": (None, c_int, c_char_p),
    "orvo_screencapture_change_log_level": (None, c_int),
    "orvo_screencapture_start_capture": (None,),
    "orvo_screencapture_stop_capture": (None,),
    "orvo_screencapture_is_capturing": (c_bool,),
    "orvo_screencapture_set_fps": (None, c_int),
    "orvo_screencapture_set_timestamp_offset": (None, c_ulonglong),
    "orvo_screencapture_set_resolution": (None, c_int, c_int),
    "orvo_screencapture_set_resolution_mode": (None, c_int),
    "orvo_screencapture_set_cursor_visible": (None, c_int),
    "orvo_screencapture_enable_click_animation": (None, c_int),
    "orvo_screencapture_set_capture_video_pixel_format": (None, c_int),
    "orvo_screencapture_set_target_screen": (c_bool, c_uint),
    "orvo_screencapture_set_target_rect": (c_bool, c_uint, c_int, c_int, c_int, c_int),
    "orvo_screencapture_set_extra_target_windows": (c_bool, _NUMBERS, c_int, c_bool),
    "orvo_screencapture_set_excluded_windows": (None, _NUMBERS, c_int, c_bool),
    "orvo_screencapture_set_target_window_mode": (c_bool, c_int),
    "orvo_screencapture_set_target_window_rect": (c_bool, c_int, c_int, c_int, c_int),
    "orvo_screencapture_reg_capture_error_notify": (None, records.ERROR_CALLBACK, c_void_p),
    "orvo_screencapture_reg_captured_frame_available_notify": (None, records.FRAME_CALLBACK, c_void_p),
    "orvo_screencapture_reg_mutiple_captured_frame_available_notify": (None, records.WINDOW_FRAME_CALLBACK, c_void_p),
    "orvo_screencapture_reg_captured_window_status_change_notify": (None, records.STATUS_CALLBACK, c_void_p),
    "orvo_screencapture_reg_capture_process_window_change_notify": (None, records.PROCESS_CALLBACK, c_void_p),
    "orvo_windowthumbnail_reg_window_status_change_notify": (None, records.THUMBNAIL_CALLBACK, c_void_p),
    "orvo_windowthumbnail_register": (c_int, c_uint),
    WINDOW_MOVED: (None, records.MOVED_CALLBACK, c_void_p),
    "orvo_screencapture_enum_screen_list": (POINTER(records.OrvoScreenCaptureScreenItem), POINTER(c_uint)),
    "orvo_screencapture_free_screen_list": (None, POINTER(records.OrvoScreenCaptureScreenItem)),
    "orvo_screencapture_get_window_rect": (c_bool, c_uint, POINTER(records.OrvoScreenCaptureRect)),
    "orvo_windowthumbnail_find_windows_async": (None, c_bool),
    "orvo_windowthumbnail_find_windows": (records.WINDOW_INFO, POINTER(c_int)),
    "orvo_windowthumbnail_free_windows": (None, records.WINDOW_INFO, c_int),
    "orvo_windowthumbnail_show_source_window": (c_int, c_uint, c_int),
    "orvo_screencapture_get_changed_rects": (c_int, POINTER(records.OrvoScreenCaptureRect), c_int),
    "orvo_screencapture_version": (c_char_p,),
    "orvo_screencapture_get_permission": (c_int, c_int),
    "orvo_screencapture_request_permission": (c_int, c_int),
    "orvo_screencapture_get_window_owner": (c_bool, c_uint, POINTER(records.OrvoScreenCaptureWindowOwner)),
    "orvo_screencapture_get_statistics": (c_bool, POINTER(records.OrvoScreenCaptureStatistics)),
}

_LINUX_FUNCTIONS: dict[str, tuple[Any, ...]] = {
    "orvo_screencapture_run_main_queue": (c_int, c_int),
    "orvo_pixelbuffer_retain": (c_void_p, c_void_p),
    "orvo_pixelbuffer_release": (None, c_void_p),
    "orvo_pixelbuffer_lock": (c_int, c_void_p),
    "orvo_pixelbuffer_unlock": (c_int, c_void_p),
    "orvo_pixelbuffer_get_base_address": (c_void_p, c_void_p),
}


def _places() -> list[str]:
    """Where the library may be: what ORVO_LIBRARY names, the prefix this module is installed in, the loader's places."""
    chosen = os.environ.get("ORVO_LIBRARY")
    if chosen:
        return [chosen]
    # PREFIX/lib/python3/dist-packages/orvo and, of a virtual environment, PREFIX/lib/python3.11/site-packages/orvo
    prefix = Path(__file__).resolve().parents[4]
    return [str(path) for place in ("lib*", "lib*/*") for path in sorted(prefix.glob(f"{place}/{NAME}"))] + [NAME]


@lru_cache(maxsize=None)
def library() -> ctypes.CDLL:
    """The library with its functions' types; loaded at the first question. Raises LibraryNotFound."""
    faults = []
    for place in _places():
        try:
            loaded = ctypes.CDLL(place)
            is_darwin = sys.platform == "darwin"
            for name, (result, *arguments) in (_FUNCTIONS if is_darwin else _FUNCTIONS | _LINUX_FUNCTIONS).items():
                function = getattr(loaded, name)
                function.restype = result
                function.argtypes = arguments
            if is_darwin:
                _darwin.add_to(loaded)
            return loaded
        except (OSError, AttributeError) as fault:
            faults.append(str(fault))
    raise LibraryNotFound(f"no usable {NAME}: {'; '.join(faults)}. Install it, or name it in ORVO_LIBRARY")


# The library holds one capture a process. Who needs it for a question alone begins and ends it, unless it is there.
_users = threading.RLock()
_in_use = 0


def begin_use() -> None:
    """Has the library ready until end_use."""
    global _in_use
    with _users:
        if _in_use == 0:
            library().orvo_screencapture_init()
        _in_use += 1


def end_use() -> None:
    global _in_use
    with _users:
        _in_use -= 1
        if _in_use == 0:
            library().orvo_screencapture_uninit()


@contextmanager
def in_use() -> Iterator[ctypes.CDLL]:
    """The library for a question; no capture begins or ends meanwhile, so that each one begins with fresh settings."""
    with _users:
        begin_use()
        try:
            yield library()
        finally:
            end_use()
