"""The library's callbacks. They live as long as the process and pass on to the capture that is open."""
from __future__ import annotations

from typing import TYPE_CHECKING, Any

from . import _records as records
from ._frames import Frame
from ._library import WINDOW_MOVED, library
from ._lists import Rect, picture_of, text_of

if TYPE_CHECKING:
    from ._capture import Capture

_THUMBNAIL_PICTURE = 5

current: Capture | None = None  #: the open one


def _told(kind: str, *arguments: Any) -> None:
    capture = current
    if capture is not None:
        capture._told(kind, *arguments)


def _frame(handle: int, format: Any, milliseconds: int, window_id: int | None) -> None:
    capture = current
    if capture is not None and format[0].pixelFormat == records.PIXEL_FORMAT_BUFFER:
        frame = Frame._of_buffer(handle, format[0], milliseconds, window_id)
        try:
            capture._told_frame(frame)
        finally:
            frame.release()


def _on_frame(data: int, length: int, format: Any, time: int, scale: int, user: int) -> None:
    _frame(data, format, time, None)


def _on_window_frame(data: int, length: int, format: Any, time: int, scale: int, window_id: int, user: int) -> None:
    _frame(data, format, time, window_id)


def _on_error(code: int, user: int) -> None:
    capture = current
    if capture is not None:
        capture._told_error(records.ErrorCode(code))


def _on_moved(window_id: int, left: int, top: int, width: int, height: int, user: int) -> None:
    _told("window_moved", window_id, Rect(left, top, width, height))


def _on_status(status: int, window_id: int, edges: records.OrvoScreenCaptureRect, user: int) -> None:
    rect = Rect(edges.left, edges.top, edges.right - edges.left, edges.bottom - edges.top)
    _told("window_status", window_id, records.WindowStatus(status), rect)


def _on_process(change: int, window: records.OrvoScreenCaptureProcessWindow, user: int) -> None:
    _told("process_window", window.windowID, text_of(window.title))


def _on_thumbnail(status: int, info: Any, user: int) -> None:
    window_id, picture = info[0].windowID, picture_of(info[0].imageThumbnail)
    library().orvo_windowthumbnail_free_windows(info, 1)
    _told("picture", window_id, picture if status == _THUMBNAIL_PICTURE else None)


_FRAME, _NO_FRAME = records.FRAME_CALLBACK(_on_frame), records.FRAME_CALLBACK(0)
_WINDOW_FRAME = records.WINDOW_FRAME_CALLBACK(_on_window_frame)
_NO_WINDOW_FRAME = records.WINDOW_FRAME_CALLBACK(0)
_KINDS = {
    "error": ("orvo_screencapture_reg_capture_error_notify", records.ERROR_CALLBACK(_on_error)),
    "window_moved": (WINDOW_MOVED, records.MOVED_CALLBACK(_on_moved)),
    "window_status": (
        "orvo_screencapture_reg_captured_window_status_change_notify",
        records.STATUS_CALLBACK(_on_status),
    ),
    "process_window": (
        "orvo_screencapture_reg_capture_process_window_change_notify",
        records.PROCESS_CALLBACK(_on_process),
    ),
    "picture": ("orvo_windowthumbnail_reg_window_status_change_notify", records.THUMBNAIL_CALLBACK(_on_thumbnail)),
}


def register(kind: str) -> None:
    """Has the library report a kind of event, from now until the capture is closed."""
    name, callback = _KINDS[kind]
    getattr(library(), name)(callback, None)


def register_frames(of_windows: bool) -> None:
    """Has frames of windows reported with their window, those of screens without."""
    loaded = library()
    frame, window_frame = (_NO_FRAME, _WINDOW_FRAME) if of_windows else (_FRAME, _NO_WINDOW_FRAME)
    loaded.orvo_screencapture_reg_captured_frame_available_notify(frame, None)
    loaded.orvo_screencapture_reg_mutiple_captured_frame_available_notify(window_frame, None)
