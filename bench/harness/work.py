"""What is measured: the works of the library, of the limits and of the peers, and the scenes that they run on."""
from __future__ import annotations

import shutil
from collections.abc import Callable
from dataclasses import dataclass

from machine import PROGRAMS, Painter, Server

Command = Callable[[Server, Painter], list[str]]


@dataclass(frozen=True)
class Work:
    """One capturer with its settings. place and scale say where a root's pixel is in its frames."""
    name: str
    command: Command
    program: str
    window: bool = False  # frames show the first window, not the root
    place: tuple[int, int] = (0, 0)
    scale: float = 1
    stamped: bool = True

    def available(self) -> bool:
        return (PROGRAMS / self.program).exists() or shutil.which(self.program) is not None

    def stamps(self, painter: Painter) -> list[str]:
        """The arguments that say where the stamps are in a frame."""
        if not self.stamped:
            return []
        x0, y0 = painter.stamps[0] if self.window else self.place
        words: list[str] = []
        for x, y in painter.stamps:
            words += ["--stamp", *(str(int(value * self.scale)) for value in (x - x0, y - y0, 16))]
        return words


def program(name: str, *arguments: str) -> Command:
    return lambda server, painter: [str(PROGRAMS / name), *arguments]


def without_shared_pixmaps(command: Command) -> Command:
    return lambda server, painter: ["env", "ORVO_SHARED_PIXMAPS=0", *command(server, painter)]


def on_window(name: str, *arguments: str) -> Command:
    return lambda server, painter: [str(PROGRAMS / name), *arguments, str(painter.windows[0])]


def bare_scaled(server: Server, painter: Painter) -> list[str]:
    return [*on_window("capture_bare", "damage", "30")(server, painter), "640", "360"]


def ffmpeg(server: Server, painter: Painter) -> list[str]:
    return ["ffmpeg", "-nostdin", "-hide_banner", "-loglevel", "error", "-progress", "pipe:1", "-stats_period", "60", "-f", "x11grab",
            "-draw_mouse", "1", "-framerate", "30", "-video_size", f"{server.width}x{server.height}", "-i",
            server.display, "-c:v", "copy", "-f", "null", "-"]


def without_last(server: Server, painter: Painter) -> list[str]:
    return [str(PROGRAMS / "capture_orvo"), "--without", str(painter.windows[-1])]


LIMIT = "bare, what was damaged"
WINDOW_LIMIT = "bare window, what was damaged"
SCALED_LIMIT = "bare window, what was damaged, libyuv to 640x360"
DISPLAY = "library, display, cursor"
WINDOW = "library, window"
SCALED_DISPLAY = "library, display to 1280x720, cursor"
NO_PIXMAPS = ", no shared pixmaps"
WORKS = [
    Work("bare, everything", program("capture_bare", "full", "30"), "capture_bare"),
    Work(LIMIT, program("capture_bare", "damage", "30"), "capture_bare"),
    Work("bare window, everything", on_window("capture_bare", "full", "30"), "capture_bare", window=True),
    Work(WINDOW_LIMIT, on_window("capture_bare", "damage", "30"), "capture_bare", window=True),
    Work(SCALED_LIMIT, bare_scaled, "capture_bare", window=True, scale=0.5),
    Work(DISPLAY, program("capture_orvo", "--cursor"), "capture_orvo"),
    Work("library, display, no cursor", program("capture_orvo"), "capture_orvo"),
    Work("library, rectangle 1280x720", program("capture_orvo", "--rect", "320", "180", "1280", "720"), "capture_orvo",
         place=(320, 180)),
    Work(WINDOW, on_window("capture_orvo", "--window"), "capture_orvo", window=True),
    Work("library, window to 640x360", on_window("capture_orvo", "--size", "640", "360", "--window"), "capture_orvo",
         window=True, scale=0.5),
    Work(SCALED_DISPLAY, program("capture_orvo", "--cursor", "--size", "1280", "720"), "capture_orvo", scale=2 / 3),
    Work(DISPLAY + NO_PIXMAPS, without_shared_pixmaps(program("capture_orvo", "--cursor")), "capture_orvo"),
    Work(WINDOW + NO_PIXMAPS, without_shared_pixmaps(on_window("capture_orvo", "--window")), "capture_orvo",
         window=True),
    Work("library, display less a window", without_last, "capture_orvo"),
    Work("WebRTC, display, damage on", program("capture_webrtc", "1", "30"), "capture_webrtc"),
    Work("WebRTC, display, damage off", program("capture_webrtc", "0", "30"), "capture_webrtc"),
    Work("WebRTC, window", on_window("capture_webrtc", "1", "30"), "capture_webrtc", window=True),
    Work("ffmpeg x11grab, cursor", ffmpeg, "ffmpeg", stamped=False),
    Work("GStreamer ximagesrc, damage on", program("capture_gst", "1", "30"), "capture_gst"),
    Work("GStreamer ximagesrc, damage off", program("capture_gst", "0", "30"), "capture_gst"),
]


@dataclass(frozen=True)
class Scene:
    name: str
    title: str
    works: list[str]  # the beginnings of names
    count: int = 0    # of windows, where the scene wants one


# GStreamer with damage is dearer than without on everything that moves.
DISPLAYS = ["bare, ", DISPLAY, SCALED_DISPLAY, "WebRTC, display, damage on", "ffmpeg", "GStreamer ximagesrc, damage off"]
WINDOWS = ["bare window, what", WINDOW, "WebRTC, window"]
EVERYTHING = ["bare", "library, display, ", SCALED_DISPLAY, "library, rect", WINDOW, "WebRTC", "ffmpeg", "GStreamer"]
CROWD = ["bare, ", DISPLAY, "library, display less"]
SCENES = [
    Scene("static", "static desktop", EVERYTHING),
    Scene("busy", "1280x720 repainting", EVERYTHING),
    Scene("small", "128x96 and a caret", DISPLAYS + WINDOWS),
    Scene("scroll", "scrolling text", DISPLAYS),
    Scene("under", "video under a still window", DISPLAYS + WINDOWS),
    Scene("drag", "a window being dragged", DISPLAYS),
    Scene("tiles", "eight small windows", DISPLAYS, 8),
    Scene("crowd-static", "20 windows, static", CROWD, 20),
    Scene("crowd", "20 windows, 1280x720 repainting", CROWD, 20),
]
QUICK = [
    Scene("static", "static desktop", EVERYTHING),
    Scene("busy", "1280x720 repainting", EVERYTHING),
    Scene("small", "128x96 and a caret", [LIMIT, WINDOW_LIMIT, DISPLAY, SCALED_DISPLAY, WINDOW]),
    Scene("crowd", "20 windows, 1280x720 repainting", [LIMIT, DISPLAY, "library, display less"], 20),
]


def works_of(scene: Scene) -> list[Work]:
    """Those of a scene that can run here."""
    return [work for work in WORKS if work.available() and work.name.startswith(tuple(scene.works))]
