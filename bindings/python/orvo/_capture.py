"""The capture: a target, settings, frames and events."""
from __future__ import annotations

import atexit
import ctypes
import threading
import time
from collections import deque
from dataclasses import dataclass
from types import TracebackType
from typing import Any, Callable, Iterable, Iterator, TypeVar

from . import _events as events
from . import _records as records
from ._frames import Frame
from ._library import begin_use, end_use, library
from ._lists import Rect, Screen, Window, number_of, owner_of, screens, text_of
from ._records import ErrorCode, Fit, WindowMode
from .errors import CaptureError, NoSuchTarget, OrvoError

Handler = TypeVar("Handler", bound=Callable[..., object])
Area = tuple[int, int, int, int]  # left, top, width, height

# How long one wait for the main queue lasts: what other threads have to say is heard between two.
_SLICE = 0.005
# How long a capture may take to stop.
_STOPPING = 2.0
# Frames that wait for a slow loop; with more, the oldest is dropped.
_WAITING = 2

_WORDS = {
    ErrorCode.NO_SOURCE: "nothing was chosen to capture",
    ErrorCode.NO_CONTENT: "the target shows nothing any more, or is gone",
    ErrorCode.INTERRUPTED: "the display went away or its server ended; start again when it is back",
}


@dataclass(frozen=True)
class Statistics:
    """What has happened since the capture was opened."""

    frames_delivered: int
    ticks_merged: int  #: ticks that gave no frame of their own because one before took too long
    frames_dropped: int  #: ticks without a usable picture, and pictures that no buffer was free for
    longest_gap: float  #: seconds between two frames of one target
    last_error: ErrorCode | None
    last_error_reason: str  #: why there was an error or no picture


class Capture:
    """Captures a screen, a part of one, or windows. One can be open in a process at a time.

    Use it in a `with` block, choose a target, then loop over `frames` or register callbacks and call `run`. Callbacks
    are called on the thread that is in `run` or `frames`; those of windows' frames on a thread of the library. An
    exception of a callback is raised by `run` or `frames`, at the latest when the capture is closed.
    A process with a running GLib main loop (GTK, Qt) need not call `run`.
    """

    def __init__(self, *, fps: int = 15, cursor: bool = True, clicks: bool = False) -> None:
        """fps: 5 to 30 frames a second. cursor: with the mouse cursor. clicks: with a ring around it while a button is
        down, on screens."""
        self._handlers: dict[str, Callable[..., object]] = {}
        self._failures: deque[BaseException] = deque(maxlen=1)
        self._arrived = threading.Condition()
        self._waiting: deque[Frame] | None = None  # while a loop over frames runs
        self._of_windows: bool | None = None  # which path was chosen last
        self._targets: list[int] = []  # of the window path
        self._excluded: list[int] = []
        self._cropped: set[int] = set()  # screens that a rectangle was chosen of
        self._cursor, self._clicks = cursor, clicks
        self._started = False  # as asked for: the library's starts and stops are queued
        self.skipped = 0  #: frames that a loop over `frames` was too slow for
        if events.current is not None:
            raise OrvoError("another Capture is open in this process; close it first")
        begin_use()
        events.current = self
        library().orvo_screencapture_set_capture_video_pixel_format(records.PIXEL_FORMAT_BUFFER)
        events.register("error")
        self.set_fps(fps)

    # ---- Life

    def close(self) -> None:
        """Stops and gives everything back. Raises what a callback has raised and nobody has seen."""
        if events.current is not self:
            return
        self.stop()
        events.current = None
        end_use()
        self._forget_error()
        self._raise_failure()

    def __enter__(self) -> Capture:
        return self

    def __exit__(self, kind: type[BaseException] | None, error: BaseException | None, trace: TracebackType | None) -> None:
        self.close()

    def start(self) -> None:
        """Starts capturing the target. Raises CaptureError when none is chosen."""
        self._started = True
        self._library.orvo_screencapture_start_capture()
        self._raise_failure()

    def stop(self) -> None:
        """Stops capturing; target and settings stay."""
        self._started = False
        self._library.orvo_screencapture_stop_capture()

    @property
    def capturing(self) -> bool:
        """Whether frames are being captured now."""
        return bool(self._library.orvo_screencapture_is_capturing())

    # ---- Targets

    def target_screen(
        self, screen: Screen | int, *, rect: Area | None = None, exclude: Iterable[Window | int] = ()
    ) -> None:
        """Captures a screen. rect: only this part: left, top, width and height in points from the screen's top-left
        corner. exclude: windows to leave out. Also while capturing. Raises NoSuchTarget."""
        number = number_of(screen)
        known = {item.id: item for item in screens()}
        if number not in known:
            raise NoSuchTarget(f"there is no screen {number}; there is: {', '.join(map(str, known)) or 'none'}")
        bounds = known[number].rect
        if rect is not None:
            left, top, width, height = rect
            if min(left, top) < 0 or min(width, height) < 1 or left + width > bounds.width or top + height > bounds.height:
                raise NoSuchTarget(f"{tuple(rect)} is not within the screen's {bounds.width}x{bounds.height} points")
        excluded = [number_of(window) for window in exclude]
        restart = self._leave_path(of_windows=bool(excluded))
        if excluded:
            self._on_window_path([number], WindowMode.WINDOW, excluded, rect)
        else:
            self._on_display_path(number, rect, bounds)
        self._library.orvo_screencapture_set_cursor_visible(self._cursor)  # a newly chosen screen begins with its own
        self._library.orvo_screencapture_enable_click_animation(self._clicks)
        if restart:
            self.start()

    def target_windows(
        self,
        *windows: Window | int,
        mode: WindowMode = WindowMode.WINDOW,
        exclude: Iterable[Window | int] = (),
        crop: Area | None = None,
        size: tuple[int, int] | None = None,
        fit: Fit = Fit.LETTERBOX,
    ) -> None:
        """Captures windows, each in frames of its own. mode: what a picture contains. exclude: windows to leave out of
        WindowMode.APPLICATION. crop: left, top, width, height in points from the picture's top-left corner. size: of
        the frames in pixels, no wider than what they are made from. Also while capturing. Raises NoSuchTarget."""
        numbers = [number_of(window) for window in windows]
        if not numbers:
            raise NoSuchTarget("no window was given")
        for number in numbers:
            if owner_of(number) is None:
                raise NoSuchTarget(f"no window {number} is on screen; it may be minimised or closed")
        restart = self._leave_path(of_windows=True)
        self._on_window_path(numbers, mode, [number_of(window) for window in exclude], crop)
        self._library.orvo_screencapture_set_resolution(*(size or (0, 0)))
        self._library.orvo_screencapture_set_resolution_mode(fit)
        self._library.orvo_screencapture_set_cursor_visible(self._cursor)
        if restart:
            self.start()

    def _leave_path(self, *, of_windows: bool) -> bool:
        """Screens and windows are captured on two paths; the one has ended before the other is chosen. Whether it ran."""
        if of_windows == self._of_windows:
            return False
        self._of_windows = of_windows
        started, end = self._started, time.monotonic() + _STOPPING
        self.stop()
        while self.capturing and time.monotonic() < end:
            self._wait(_SLICE)
        return started

    def _on_display_path(self, number: int, rect: Area | None, bounds: Rect) -> None:
        events.register_frames(of_windows=False)
        self._exclude([])
        self._change_targets([])
        if rect is None and number in self._cropped:  # a screen keeps its rectangle until it gets another
            rect = (0, 0, bounds.width, bounds.height)
        if rect is None:
            self._library.orvo_screencapture_set_target_screen(number)
        else:
            self._cropped.add(number)
            self._library.orvo_screencapture_set_target_rect(number, *rect)

    def _on_window_path(self, numbers: list[int], mode: WindowMode, excluded: list[int], crop: Area | None) -> None:
        events.register_frames(of_windows=True)
        self._exclude(excluded)
        self._library.orvo_screencapture_set_target_window_mode(mode)  # chooses the path of windows
        self._library.orvo_screencapture_set_resolution(0, 0)
        self._library.orvo_screencapture_set_target_window_rect(*(crop or (0, 0, 0, 0)))
        self._change_targets(numbers)

    def _change_targets(self, numbers: list[int]) -> None:
        self._forget_error()
        old, self._targets = self._targets, numbers
        self._numbers("orvo_screencapture_set_extra_target_windows", [n for n in old if n not in numbers], False)
        self._numbers("orvo_screencapture_set_extra_target_windows", [n for n in numbers if n not in old], True)

    def _exclude(self, numbers: list[int]) -> None:
        self._numbers("orvo_screencapture_set_excluded_windows", self._excluded, False)
        self._excluded = numbers
        self._numbers("orvo_screencapture_set_excluded_windows", numbers, True)

    def _numbers(self, name: str, numbers: list[int], add: bool) -> None:
        if numbers:
            getattr(self._library, name)((ctypes.c_uint * len(numbers))(*numbers), len(numbers), add)

    # ---- Settings

    def set_fps(self, fps: int) -> None:
        """Sets the frame rate, 5 to 30: of screens at once, of windows with the next start."""
        if not 5 <= fps <= 30:
            raise ValueError(f"{fps} frames a second; it can be 5 to 30")
        self._library.orvo_screencapture_set_fps(fps)

    def set_cursor(self, visible: bool) -> None:
        """Shows or leaves out the mouse cursor."""
        self._cursor = visible
        self._library.orvo_screencapture_set_cursor_visible(visible)

    def set_timestamp_offset(self, milliseconds: int) -> None:
        """Adds to the time of every window's frame; may be below 0."""
        self._library.orvo_screencapture_set_timestamp_offset(milliseconds & 0xFFFFFFFFFFFFFFFF)

    def statistics(self) -> Statistics:
        """What has happened since the capture was opened."""
        figures = records.OrvoScreenCaptureStatistics(ctypes.sizeof(records.OrvoScreenCaptureStatistics))
        self._library.orvo_screencapture_get_statistics(ctypes.byref(figures))
        return Statistics(
            figures.framesDelivered,
            figures.ticksMerged,
            figures.framesDropped,
            figures.longestGapMilliseconds / 1000,
            ErrorCode(figures.lastErrorCode) if figures.lastErrorCode else None,
            text_of(figures.lastErrorReason),
        )

    # ---- Events: each takes a function, replaces the one before, and can be used as a decorator

    def on_frame(self, handler: Handler) -> Handler:
        """handler(frame: Frame) for every frame."""
        return self._handle("frame", handler)

    def on_error(self, handler: Handler) -> Handler:
        """handler(error: CaptureError). Without one, `run` and `frames` raise it."""
        return self._handle("error", handler)

    def on_window_moved(self, handler: Handler) -> Handler:
        """handler(window_id: int, rect: Rect): a captured window moved or changed its size."""
        return self._handle("window_moved", handler)

    def on_window_status(self, handler: Handler) -> Handler:
        """handler(window_id: int, status: WindowStatus, rect: Rect) for the state of a captured window."""
        return self._handle("window_status", handler)

    def on_process_window(self, handler: Handler) -> Handler:
        """handler(window_id: int, title: str): the captured process shows a new window, such as a slide show."""
        return self._handle("process_window", handler)

    def on_picture(self, handler: Handler) -> Handler:
        """handler(window_id: int, picture: Picture | None): what `request_picture` asked for."""
        return self._handle("picture", handler)

    def request_picture(self, window: Window | int) -> bool:
        """Asks for a window's small picture. Whether the window was found."""
        return bool(self._library.orvo_windowthumbnail_register(number_of(window)))

    # ---- Running

    def run(self, seconds: float) -> None:
        """Calls callbacks for a while. Raises what they raise, and CaptureError unless `on_error` is registered."""
        end = time.monotonic() + seconds
        self._raise_failure()
        while (left := end - time.monotonic()) > 0:
            self._wait(min(left, 10 * _SLICE))
            self._raise_failure()

    def frames(self, *, count: int | None = None, seconds: float | None = None, timeout: float = 5) -> Iterator[Frame]:
        """The frames of the target, the latest when the loop is slower than the capture. Starts the capture and stops
        it at the end, unless it runs already. A frame lasts until the next one is asked for.
        count, seconds: how many, how long; without both, for ever. timeout: seconds without any frame until
        CaptureError, which says why there is none."""
        started = not self._started
        waiting = self._waiting = deque()
        given, begin = 0, None
        try:
            if started:
                self.start()
            while count is None or given < count:
                with self._next(waiting, timeout) as frame:
                    begin = begin or time.monotonic()
                    yield frame
                given += 1
                if seconds is not None and time.monotonic() - begin >= seconds:
                    break
        finally:
            self._waiting = None
            if started and events.current is self:
                self.stop()

    def frame(self, *, timeout: float = 5) -> Frame:
        """One frame of the target, which stays until its `release`. See `frames`."""
        for frame in self.frames(count=1, timeout=timeout):
            return frame.retain()
        raise AssertionError("frames ended without a frame")

    def _next(self, waiting: deque[Frame], timeout: float) -> Frame:
        end = time.monotonic() + timeout
        while True:
            self._raise_failure()
            with self._arrived:
                if waiting:
                    return waiting.popleft()
            if time.monotonic() > end:
                reason = self.statistics().last_error_reason or "the target gave none"
                raise CaptureError(None, f"no frame in {timeout:g} seconds: {reason}")
            self._wait(_SLICE)

    def _wait(self, seconds: float) -> None:
        end = time.monotonic() + seconds
        self._library.orvo_screencapture_run_main_queue(max(1, int(seconds * 1000)))
        # Answers at once while a loop on another thread runs the main queue.
        with self._arrived:
            while not self._failures and not self._waiting and (left := end - time.monotonic()) > 0:
                self._arrived.wait(left)

    # ---- What the library reports, on its threads

    def _told(self, kind: str, *arguments: Any) -> None:
        handler = self._handlers.get(kind)
        if handler is None:
            return
        try:
            handler(*arguments)
        except BaseException as error:
            self._fail(error)

    def _told_frame(self, frame: Frame) -> None:
        with self._arrived:
            if self._waiting is not None:
                if len(self._waiting) == _WAITING:
                    self._waiting.popleft().release()
                    self.skipped += 1
                self._waiting.append(frame.retain())
                self._arrived.notify()
        self._told("frame", frame)

    def _told_error(self, code: ErrorCode) -> None:
        self._started &= code != ErrorCode.INTERRUPTED
        reason = self.statistics().last_error_reason
        error = CaptureError(code, f"{_WORDS[code]} ({reason})" if reason else _WORDS[code])
        if "error" in self._handlers:
            self._told("error", error)
        else:
            self._fail(error)

    def _fail(self, error: BaseException) -> None:
        with self._arrived:
            if not self._failures:
                self._failures.append(error)
                self._arrived.notify()
                return
        if not isinstance(error, CaptureError):
            raise error  # one waits already: this one goes to sys.unraisablehook

    def _forget_error(self) -> None:
        """Of the target before; what callbacks have raised stays."""
        with self._arrived:
            if self._failures and isinstance(self._failures[0], CaptureError):
                self._failures.clear()

    def _raise_failure(self) -> None:
        with self._arrived:
            if not self._failures:
                return
            error = self._failures.popleft()
        raise error

    def _handle(self, kind: str, handler: Handler) -> Handler:
        _ = self._library
        self._handlers[kind] = handler
        if kind not in ("frame", "error"):
            events.register(kind)
        return handler

    @property
    def _library(self) -> ctypes.CDLL:
        if events.current is not self:
            raise OrvoError("the capture is closed")
        return library()


@atexit.register
def _close_at_exit() -> None:
    if events.current is not None:
        events.current.close()
