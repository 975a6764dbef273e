"""What goes wrong, in words."""
from __future__ import annotations

from ._records import ErrorCode


class OrvoError(Exception):
    """The base of the module's exceptions."""


class LibraryNotFound(OrvoError):
    """libOrvoScreenCaptureOSX cannot be found or loaded."""


class NoSuchTarget(OrvoError):
    """There is no such screen, window or rectangle."""


class FrameExpired(OrvoError):
    """A frame was read after its callback had returned, without having been copied or retained."""


class CaptureError(OrvoError):
    """The capture failed. `code` is an ErrorCode, None when no frame came in time."""

    def __init__(self, code: ErrorCode | None, text: str) -> None:
        super().__init__(text)
        self.code = code
