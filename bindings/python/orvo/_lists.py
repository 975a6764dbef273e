"""Screens, windows, permissions: what can be captured, and may be."""
from __future__ import annotations

import ctypes
from dataclasses import dataclass, field
from typing import Any, NamedTuple

from . import _records as records
from ._library import in_use, library
from ._records import LogLevel, Permission, PermissionState

_SHOW, _HIDE = 1, 2


class Rect(NamedTuple):
    """A place in points, counted from the top-left corner of the main screen."""

    left: int
    top: int
    width: int
    height: int


@dataclass(frozen=True)
class Picture:
    """A small picture: 32-bit pixels, their bytes blue, green, red and alpha, the colours multiplied by alpha."""

    width: int
    height: int
    data: bytes = field(repr=False)  #: width * height * 4 bytes, the top row first

    @property
    def __array_interface__(self) -> dict[str, Any]:
        """What NumPy reads: an array of height, width, 4 without a copy."""
        return {"version": 3, "shape": (self.height, self.width, 4), "typestr": "|u1", "data": memoryview(self.data)}

    def to_pil(self) -> Any:
        """A PIL.Image.Image in mode RGBA. Needs Pillow."""
        from PIL import Image  # type: ignore[import]

        size = (self.width, self.height)
        return Image.frombytes("RGBa", size, self.data, "raw", "BGRa").convert("RGBA")


@dataclass(frozen=True)
class Screen:
    """A display."""

    id: int
    is_primary: bool
    rect: Rect


@dataclass(frozen=True)
class Owner:
    """The application that a window belongs to."""

    process_id: int
    name: str


@dataclass(frozen=True)
class Window:
    """A window on screen."""

    id: int
    title: str
    rect: Rect
    owner: Owner | None
    icon: Picture | None  #: its application's icon, 100 pixels wide
    picture: Picture | None  #: 400 pixels wide, when pictures were asked for


def text_of(value: bytes) -> str:
    return value.decode("utf-8", "replace")


def _rect_of(number: int, is_screen: bool) -> Rect:
    rect = records.OrvoScreenCaptureRect()
    library().orvo_screencapture_get_window_rect(number, ctypes.byref(rect))
    if is_screen:  # holds its width and height where a window's holds its far edges
        return Rect(rect.left, rect.top, rect.right, rect.bottom)
    return Rect(rect.left, rect.top, rect.right - rect.left, rect.bottom - rect.top)


def picture_of(pointer: Any) -> Picture | None:
    if not pointer or not pointer[0].data:
        return None
    item = pointer[0]
    row, rows = item.width * 4, ctypes.string_at(item.data, item.length)
    # With padded rows the last ones do not fit into the item any more; they stay empty.
    data = b"".join(rows[y * item.stride : y * item.stride + row].ljust(row, b"\0") for y in range(item.height))
    return Picture(item.width, item.height, data)


def owner_of(window_id: int) -> Owner | None:
    """Whose window a number is; None when it is not on screen, and for a screen."""
    owner = records.OrvoScreenCaptureWindowOwner(ctypes.sizeof(records.OrvoScreenCaptureWindowOwner))
    if not library().orvo_screencapture_get_window_owner(window_id, ctypes.byref(owner)):
        return None
    return Owner(owner.processID, text_of(owner.name))


def screens() -> list[Screen]:
    """The displays; none without a server that can be reached."""
    with in_use() as loaded:
        count = ctypes.c_uint(0)
        found = loaded.orvo_screencapture_enum_screen_list(ctypes.byref(count))
        try:
            items = [(found[i].screenID, found[i].isPrimary) for i in range(count.value)]
        finally:
            loaded.orvo_screencapture_free_screen_list(found)
        return [Screen(number, primary != 0, _rect_of(number, True)) for number, primary in items]


def windows(*, pictures: bool = False) -> list[Window]:
    """The windows on screen, front to back, with their icons. Taking pictures blocks for a while."""
    with in_use() as loaded:
        count = ctypes.c_int(0)
        loaded.orvo_windowthumbnail_find_windows_async(not pictures)
        found = loaded.orvo_windowthumbnail_find_windows(ctypes.byref(count))
        try:
            return [_window_of(found[i]) for i in range(count.value) if not found[i].isScreen]
        finally:
            loaded.orvo_windowthumbnail_free_windows(found, count.value)


def _window_of(info: Any) -> Window:
    return Window(
        id=info.windowID,
        title=text_of(info.title),
        rect=_rect_of(info.windowID, False),
        owner=owner_of(info.windowID),
        icon=picture_of(info.iconThumbnail),
        picture=picture_of(info.imageThumbnail),
    )


def raise_window(window: Window | int) -> bool:
    """Brings a window forward and activates its application. Whether that worked."""
    with in_use() as loaded:
        return bool(loaded.orvo_windowthumbnail_show_source_window(number_of(window), _SHOW))


def hide_window(window: Window | int) -> bool:
    """Hides the application of a window. Whether that worked."""
    with in_use() as loaded:
        return bool(loaded.orvo_windowthumbnail_show_source_window(number_of(window), _HIDE))


def number_of(target: Screen | Window | int) -> int:
    return target if isinstance(target, int) else target.id


def version() -> str:
    """The version of the library, such as "2.9.193"."""
    return text_of(library().orvo_screencapture_version())


def permission(which: Permission) -> PermissionState:
    """What the user has allowed. Shows nothing."""
    return PermissionState(library().orvo_screencapture_get_permission(which))


def request_permission(which: Permission) -> PermissionState:
    """Asks the user, where the system lets a process ask; the answer may come later."""
    return PermissionState(library().orvo_screencapture_request_permission(which))


def set_log(level: LogLevel, folder: str) -> None:
    """Logs to the library's three rotating files in a folder, which is made when missing, from the first capture on."""
    library().orvo_screencapture_set_log_level(level, folder.encode())


def set_log_level(level: LogLevel) -> None:
    """Changes how much is logged; the files go on as they are."""
    library().orvo_screencapture_change_log_level(level)
