"""examples/publish: what it publishes is decoded, and shows what was on the screen. usage: publish_test.py PUBLISH"""
import re
import signal
import socket
import subprocess
import sys
import tempfile
import time
from pathlib import Path

publish = sys.argv[1]
GREEN, RED, BLACK = (0x20, 0xC0, 0x60), (255, 0, 0), (0, 0, 0)
RAW = ["videoconvert", "!", "video/x-raw,format=RGB"]
started = []


def expect(what, expected, found):
    if expected != found:
        raise SystemExit(f"{what}: expected {expected}, found {found}")


def start(*command):
    started.append(subprocess.Popen(command, stdout=subprocess.PIPE, text=True))
    return started[-1]


def near(pixel, colour):
    return all(abs(a - b) < 24 for a, b in zip(pixel, colour))


class Video:
    """A decoded stream: its size, the times of its frames in seconds, and their pixels."""

    def __init__(self, told, raw):
        self.width, self.height = (int(re.search(rf"{side}=\(int\)(\d+)", told)[1]) for side in ("width", "height"))
        self.times = [int(h) * 3600 + int(m) * 60 + float(s) for h, m, s in re.findall(r"pts: (\d+):(\d+):([\d.]+)", told)]
        self.raw, self.stride = raw.read_bytes(), (self.width * 3 + 3) // 4 * 4
        expect("frames of pixels", len(self.times) * self.stride * self.height, len(self.raw))

    def pixel(self, frame, x, y):
        place = (frame % len(self.times) * self.height + y) * self.stride + x * 3
        return tuple(self.raw[place : place + 3])

    def shows(self, what, frame, *places):
        for x, y, colour in places:
            if not near(self.pixel(frame, x, y), colour):
                raise SystemExit(f"{what} at {x},{y}: {self.pixel(frame, x, y)}, not {colour}")

    def check_times(self, what, least):
        steps = [b - a for a, b in zip(self.times, self.times[1:])]
        if len(self.times) < least or min(steps) <= 0 or max(steps) > 1:
            raise SystemExit(f"{what}: {len(self.times)} frames at {self.times}")


def decode(folder, *source):
    raw = folder / "raw"
    command = ["gst-launch-1.0", "-v", *source, "!", *RAW, "!", "identity", "silent=false", "!", "filesink", f"location={raw}"]
    told = subprocess.run(command, capture_output=True, text=True, timeout=20)
    expect("decoding" + told.stderr, 0, told.returncode)
    return Video(told.stdout[told.stdout.index("identity0.GstPad:src"):], raw)


def main(folder):
    subprocess.run(["xsetroot", "-solid", "#20c060"], check=True)
    start("xlogo", "-name", "odd", "-fg", "red", "-bg", "red", "-geometry", "301x201+100+100")
    found = subprocess.run(["xdotool", "search", "--sync", "--onlyvisible", "--classname", "^odd$"], capture_output=True, text=True, timeout=20)
    window = found.stdout.split()[-1]
    time.sleep(0.5)  # the window manager frames it

    # Each mistake has its own words and leaves no file behind.
    there, words = folder / "none.mkv", set()
    avi = folder / "a.avi"
    for wrong in (["-o", avi], [], ["-o", there, "--rtp", "9"], ["-t", "window:99", "-o", there], ["-t", "screen:99", "-o", there],
                  ["-t", "desk", "-o", there], ["--fps", "60", "-o", there], ["--rtp", "70000"], ["--switch-after", "1", "-o", there]):
        result = subprocess.run([publish, *wrong], capture_output=True, text=True, timeout=20)
        expect(f"publish {wrong}", (2, 1), (result.returncode, result.stderr.count("\n")))
        words.add(result.stderr)
    expect("messages", 9, len(words))
    expect("files", (False, False), (there.exists(), avi.exists()))

    # An odd window, then the screen, scaled into the window's size with bars: 300x187 of 300x200.
    video = str(folder / "video.mp4")
    expect("a video", 0, start(publish, "-t", f"window:{window}", "--other", "screen", "--switch-after", "1.5", "-o", video, "-s", "3").wait(20))
    decoded = decode(folder, "filesrc", f"location={video}", "!", "decodebin")
    expect("size", (300, 200), (decoded.width, decoded.height))
    decoded.check_times("a video", 30)
    if not 2 < decoded.times[-1] - decoded.times[0] < 3.5:
        raise SystemExit(f"the video lasts from {decoded.times[0]} to {decoded.times[-1]}")
    decoded.shows("the window", 0, (1, 1, RED), (150, 100, RED), (298, 198, RED))
    decoded.shows("the screen", -1, (150, 2, BLACK), (150, 197, BLACK), (250, 150, GREEN), (60, 50, RED))

    # RTP, ended by a signal.
    with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as free:
        free.bind(("127.0.0.1", 0))
        port = str(free.getsockname()[1])
    sender = start(publish, "--rtp", port)
    caps = "application/x-rtp,media=video,encoding-name=H264,payload=96,clock-rate=90000"
    received = decode(folder, "udpsrc", f"port={port}", f"caps={caps}", "num-buffers=100", "!", "rtph264depay", "!", "decodebin")
    expect("size", (1280, 800), (received.width, received.height))
    received.check_times("RTP", 3)
    received.shows("RTP", -1, (5, 5, GREEN), (250, 250, RED))
    sender.send_signal(signal.SIGINT)
    expect("an end by a signal", 0, sender.wait(10))

    # A change by a signal to a window, which is then closed: the file is whole all the same.
    video = str(folder / "video.mkv")
    sender = start(publish, "--other", f"window:{window}", "-o", video)
    time.sleep(1)
    sender.send_signal(signal.SIGUSR1)
    time.sleep(1)
    started[0].kill()
    expect("a target that is gone", 1, sender.wait(20))
    decoded = decode(folder, "filesrc", f"location={video}", "!", "decodebin")
    decoded.check_times("a video until its target is gone", 15)
    decoded.shows("its begin", 0, (5, 5, GREEN), (250, 250, RED))
    decoded.shows("its end", -1, (640, 5, RED), (640, 795, RED))


try:
    with tempfile.TemporaryDirectory() as name:
        main(Path(name))
finally:
    for process in started:
        process.kill()
