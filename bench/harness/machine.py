"""Processes of a measurement: a private X server, what runs on it, and the processor time of both."""
from __future__ import annotations

import json
import os
import signal
import subprocess
import tempfile
import time
from pathlib import Path
from typing import Any, TypeVar

PROGRAMS = Path("build/release/bench")


def cpu_ms(pid: int) -> float:
    """The processor time of all threads of a process so far, those that have ended included."""
    return time.clock_gettime_ns((~pid << 3) | 2) / 1e6


def memory_kb(pid: int) -> int:
    """What a process holds: its resident private memory and the whole of the segments that it shares."""
    total, shared = 0, False
    for line in Path(f"/proc/{pid}/smaps").read_text(encoding="utf-8").splitlines():
        field, _, rest = line.partition(" ")
        if not field.endswith(":"):
            shared = "SYSV" in line or "memfd" in line or "/dev/shm" in line
        elif field == ("Size:" if shared else "Rss:"):
            total += int(rest.split()[0])
    return total


def thread_ms(pid: int) -> dict[str, float]:
    """The processor time of each living thread, by its name."""
    result: dict[str, float] = {}
    for task in Path(f"/proc/{pid}/task").iterdir():
        name = (task / "comm").read_text(encoding="utf-8").strip()
        spent = int((task / "schedstat").read_text(encoding="utf-8").split()[0]) / 1e6
        result[name] = result.get(name, 0) + spent
    return result


Self = TypeVar("Self", bound="Process")


class Failure(Exception):
    """A program did not do what it should."""


class Process:
    """A child with its output kept; ends with the block that it is used in."""

    def __init__(self, command: list[str], display: str | None = None):
        environment = dict(os.environ, **({"DISPLAY": display} if display else {}))
        self.command = command
        # A pipe that nobody reads would stop a talkative program.
        self.errors = tempfile.TemporaryFile("w+")
        self.child = subprocess.Popen(command, env=environment, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                                      stderr=self.errors, text=True)

    @property
    def pid(self) -> int:
        return self.child.pid

    def line(self) -> Any:
        """The next line of output, as JSON."""
        assert self.child.stdout
        text = self.child.stdout.readline()
        if not text:
            raise Failure(f"{' '.join(self.command)} printed nothing: {self._errors()}")
        return json.loads(text)

    def end(self, number: signal.Signals = signal.SIGTERM) -> str:
        """Ends the program and returns the rest of its output."""
        self.child.send_signal(number)
        try:
            output = self.child.communicate(timeout=10)[0]
        except subprocess.TimeoutExpired:
            self.child.kill()
            self.child.communicate()
            raise Failure(f"{' '.join(self.command)} did not end") from None
        if self.child.returncode not in (0, -number, 255):
            raise Failure(f"{' '.join(self.command)} ended with {self.child.returncode}: {self._errors()}")
        return output or ""

    def _errors(self) -> str:
        self.errors.seek(0)
        return self.errors.read()[-300:]

    def __enter__(self: Self) -> Self:
        return self

    def __exit__(self, *_: object) -> None:
        if self.child.poll() is None:
            self.child.kill()
            self.child.communicate()
        self.errors.close()


class Server(Process):
    """An Xvfb of its own."""

    def __init__(self, width: int = 1920, height: int = 1080):
        self.width, self.height = width, height
        reading, writing = os.pipe()
        os.set_inheritable(writing, True)
        self.command = ["Xvfb", "-displayfd", str(writing), "-screen", "0", f"{width}x{height}x24", "-nolisten", "tcp",
                        "-noreset"]
        self.errors = tempfile.TemporaryFile("w+")
        self.child = subprocess.Popen(self.command, pass_fds=[writing], stdin=subprocess.DEVNULL,
                                      stdout=subprocess.DEVNULL, stderr=self.errors, text=True)
        os.close(writing)
        with os.fdopen(reading) as pipe:
            number = pipe.readline().strip()
        if not number:
            raise Failure(f"Xvfb did not start: {self._errors()}")
        self.display = f":{number}"


class Painter(Process):
    """A scene that is being painted; what it prints at its start, and its steps after its end."""

    def __init__(self, server: Server, scene: str, count: int = 0, pauses: bool = False):
        super().__init__([str(PROGRAMS / "painter"), scene, str(count)] + (["--rest"] if pauses else []), server.display)
        facts = self.line()
        self.windows: list[int] = facts["windows"]
        self.stamps: list[list[int]] = facts["stamps"]

    def steps(self) -> list[int]:
        """Ends it; the times of its steps in microseconds."""
        steps: list[int] = json.loads(self.end())["steps"]
        return steps
