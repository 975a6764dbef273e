"""Frames: pictures of a capture, in the memory that it took them into."""
from __future__ import annotations

import ctypes
import weakref
from types import TracebackType
from typing import Any

from . import _records as records
from ._library import library
from .errors import FrameExpired

BYTES_PER_PIXEL = 4


def _release(handle: int) -> None:
    library().orvo_pixelbuffer_unlock(handle)
    library().orvo_pixelbuffer_release(handle)


def _view_of(handle: int, size: int) -> memoryview:
    """A read-only view of a buffer's pixels. The buffer is held as long as anything views it."""
    library().orvo_pixelbuffer_retain(handle)
    library().orvo_pixelbuffer_lock(handle)
    pixels = (ctypes.c_ubyte * size).from_address(library().orvo_pixelbuffer_get_base_address(handle))
    weakref.finalize(pixels, _release, handle).atexit = False
    return memoryview(pixels).cast("B").toreadonly()


def _changed() -> list[tuple[int, int, int, int]] | None:
    """What of the frame of this callback has changed."""
    rects = (records.OrvoScreenCaptureRect * 16)()
    count = library().orvo_screencapture_get_changed_rects(rects, len(rects))
    return None if count < 0 else [(rect.left, rect.top, rect.right, rect.bottom) for rect in rects[:count]]


class Frame:
    """One picture: 32-bit pixels, their bytes blue, green, red and 255, the top row first.

    The pixels are the capture's own memory, read-only, and belong to a frame for as long as its callback or its round
    of `Capture.frames` lasts; after that, reading them raises FrameExpired. `copy` and `retain` make a frame that
    stays. A view or a NumPy array that was taken of a frame in time stays readable as well: like a retained frame it
    keeps one of the capture's buffers. There are eight; while all are kept, frames are dropped.
    """

    def __init__(
        self,
        pixels: memoryview,
        size: tuple[int, int],
        stride: int,
        milliseconds: int,
        window_id: int | None,
        changed: list[tuple[int, int, int, int]] | None = None,
    ) -> None:
        self._pixels: memoryview | None = pixels
        self.width, self.height = size  #: pixels
        self.stride = stride  #: bytes from one row to the next
        #: the time at which it was taken: of the monotonic clock for screens, since 1970 for windows
        self.milliseconds = milliseconds
        #: left, top, right and bottom of what differs from the frame before of the same target; None: all may differ
        self.changed = changed
        self.window_id = window_id  #: the window, or screen without some windows, that it shows; None for a screen

    @classmethod
    def _of_buffer(cls, handle: int, format: Any, milliseconds: int, window_id: int | None) -> Frame:
        stride = format.strides[0]
        size = stride * (format.height - 1) + format.width * BYTES_PER_PIXEL
        return cls(_view_of(handle, size), (format.width, format.height), stride, milliseconds, window_id, _changed())

    @property
    def pixels(self) -> memoryview:
        """The bytes, read-only, `stride` from row to row; the last row ends with its last pixel."""
        if self._pixels is None:
            raise FrameExpired("the frame went back to the capture: use its copy() or retain() while it is there")
        return self._pixels

    @property
    def expired(self) -> bool:
        """Whether the pixels are gone."""
        return self._pixels is None

    @property
    def __array_interface__(self) -> dict[str, Any]:
        """What NumPy reads: `numpy.asarray(frame)` is an array of height, width, 4 without a copy."""
        return {
            "version": 3,
            "shape": (self.height, self.width, BYTES_PER_PIXEL),
            "typestr": "|u1",
            "strides": (self.stride, BYTES_PER_PIXEL, 1),
            "data": self.pixels,
        }

    def row(self, number: int) -> memoryview:
        """The bytes of one row, 0 is the top one."""
        if not 0 <= number < self.height:
            raise IndexError(f"row {number} of {self.height}")
        return self.pixels[number * self.stride : number * self.stride + self.width * BYTES_PER_PIXEL]

    def pixel(self, x: int, y: int) -> tuple[int, int, int]:
        """Red, green and blue of one pixel, counted from the top-left corner."""
        if not 0 <= x < self.width:
            raise IndexError(f"column {x} of {self.width}")
        blue, green, red, _ = self.row(y)[x * BYTES_PER_PIXEL : (x + 1) * BYTES_PER_PIXEL]
        return red, green, blue

    def to_pil(self) -> Any:
        """A PIL.Image.Image in mode RGB, with memory of its own. Needs Pillow."""
        from PIL import Image  # type: ignore[import]

        return Image.frombytes("RGB", (self.width, self.height), bytes(self.pixels), "raw", "BGRX", self.stride, 1)

    def copy(self) -> Frame:
        """A frame with memory of its own, rows without gaps."""
        rows = b"".join(self.row(y) for y in range(self.height))
        return self._with(memoryview(rows), self.width * BYTES_PER_PIXEL)

    def retain(self) -> Frame:
        """A frame that keeps the capture's buffer, without a copy, until its `release` or its end."""
        return self._with(self.pixels, self.stride)

    def release(self) -> None:
        """Lets go of the pixels. What still views them keeps them."""
        self._pixels = None

    def __enter__(self) -> Frame:
        return self

    def __exit__(self, kind: type[BaseException] | None, error: BaseException | None, trace: TracebackType | None) -> None:
        self.release()

    def __repr__(self) -> str:
        return f"<Frame {self.width}x{self.height} at {self.milliseconds} ms{', expired' if self.expired else ''}>"

    def _with(self, pixels: memoryview, stride: int) -> Frame:
        return Frame(pixels, (self.width, self.height), stride, self.milliseconds, self.window_id, self.changed)
