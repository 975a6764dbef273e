"""What is measured beside the scenes: growth, pacing, idling, memory, loading, lists, and the small benchmarks."""
from __future__ import annotations

import json
import statistics
import subprocess
import tempfile
import time
from pathlib import Path
from typing import Any

from machine import PROGRAMS, Painter, Process, Server, cpu_ms, memory_kb, thread_ms
from measure import Span, quantile, run_scene
from work import LIMIT, WORKS, Scene, Work, program

ORVO = str(PROGRAMS / "capture_orvo")
SIZES = [(640, 360), (1280, 720), (1920, 1080), (2560, 1440), (3840, 2160)]


def work_named(name: str) -> Work:
    return next(work for work in WORKS if work.name == name)


def at_rate(rate: int) -> list[Work]:
    return [Work(LIMIT, program("capture_bare", "damage", str(rate)), "capture_bare"),
            Work("library, display", program("capture_orvo", "--fps", str(rate)), "capture_orvo")]


def on_targets(count: int) -> list[Work]:
    def command(_: Server, painter: Painter) -> list[str]:
        return [ORVO] + [word for window in painter.windows[:count] for word in ("--window", str(window))]
    return [Work("library, windows of 320x240", command, "capture_orvo")]


def in_size() -> list[Work]:
    return [work_named(LIMIT), work_named("library, display, no cursor")]


def in_crowd() -> list[Work]:
    return [work_named(LIMIT), work_named("library, display, no cursor"), work_named("library, display less a window")]


def growth(server: Server, rounds: int, seconds: float) -> dict[str, list[dict[str, Any]]]:
    """For each chart its points: x, the work, and the milliseconds of processor time a second of each round."""
    charts: dict[str, list[dict[str, Any]]] = {}

    def add(chart: str, x: float, on: Server, scene: Scene, works: list[Work]) -> None:
        for result in run_scene(on, scene, seconds, works):
            charts.setdefault(chart, []).append({"x": x, "work": result["work"], "per_second": result["per_second"],
                                                 "ms": result["ms"]})

    busy = Scene("busy", "", [])
    for _ in range(rounds):
        for rate in (5, 10, 20, 30):
            add("rate", rate, server, busy, at_rate(rate))
        for windows in (1, 5, 10, 20, 50):
            add("windows", windows, server, Scene("crowd", "", [], windows), in_crowd())
        for targets in (1, 2, 4, 8):
            add("targets", targets, server, Scene("tiles", "", [], 8), on_targets(targets))
        for width, height in SIZES:
            with Server(width, height) as other:
                add("size", width * height / 1e6, other, busy, in_size())
    return charts


def pacing_and_idling(server: Server, seconds: float) -> dict[str, Any]:
    """Four captures of different rates at the same time, and two libraries that wait, for a minute."""
    rates = (5, 15, 24, 30)
    with Painter(server, "static") as painter, tempfile.TemporaryDirectory() as folder:
        captures = [Process([ORVO, "--fps", str(rate)], server.display) for rate in rates]
        idlers = {"without log files": Process([ORVO, "--idle"], server.display),
                  "with log files": Process([ORVO, "--idle", "--log", folder], server.display)}
        time.sleep(1)
        before = {name: thread_ms(process.pid) for name, process in idlers.items()}
        span = Span([process.pid for process in idlers.values()], seconds)
        idle = {}
        for (name, process), spent in zip(idlers.items(), span.spent):
            threads = {thread: round((ms - before[name].get(thread, 0)) / span.seconds / 10, 4)
                       for thread, ms in thread_ms(process.pid).items()}
            idle[name] = {"percent": spent / span.seconds / 10, "threads": threads}
            process.end()
        paced = {str(rate): pace(json.loads(process.end())["frames"], rate) for rate, process in zip(rates, captures)}
        painter.steps()
    return {"seconds": seconds, "pacing": paced, "idle": idle}


def pace(frames: list[list[int]], rate: int) -> dict[str, float | None]:
    times = [frame[0] for frame in frames[rate // 2:]]
    gaps = [(b - a) * rate / 1e6 for a, b in zip(times, times[1:])]
    achieved = len(gaps) / (times[-1] - times[0]) * 1e6
    return {"achieved": achieved, "error_percent": (achieved / rate - 1) * 100, "gap_p99": quantile(gaps, 0.99),
            "gap_max": max(gaps)}


def memory(server: Server) -> dict[str, float]:
    """Kilobytes above an initialised library that does not capture, in frames of 1920x1080."""
    with Painter(server, "busy") as painter:
        with Process([ORVO, "--idle"], server.display) as idle:
            time.sleep(1)
            base = memory_kb(idle.pid)
            idle.end()
        with Process([ORVO, "--cursor"], server.display) as busy:
            time.sleep(3)
            held = memory_kb(busy.pid)
            busy.end()
        painter.steps()
    return {"idle_kb": base, "capturing_kb": held, "frames": (held - base) / (1920 * 1080 * 4 / 1024)}


def load_time(rounds: int) -> dict[str, float]:
    """Microseconds to open the library in a fresh process, and an empty one."""
    libraries = {"library": PROGRAMS.parent / "libOrvoScreenCaptureOSX.so", "empty": PROGRAMS / "libempty_library.so"}
    times: dict[str, list[float]] = {name: [] for name in libraries}
    for _ in range(rounds):
        for name, path in libraries.items():
            command = [str(PROGRAMS / "load_time"), str(path.resolve())]
            output = subprocess.run(command, check=True, capture_output=True, text=True).stdout
            times[name].append(float(output.splitlines()[-1]))
    return {name: statistics.median(values) for name, values in times.items()}


def lists(server: Server, rounds: int) -> dict[str, Any]:
    with Painter(server, "list", 50) as painter:
        time.sleep(0.5)
        with Process([str(PROGRAMS / "list_times"), str(rounds), "400", *map(str, painter.windows)],
                     server.display) as process:
            started: dict[str, Any] = process.line()
            process.child.wait(timeout=10)
        painter.steps()
    return started


def small_benchmarks(program_name: str, *options: str) -> dict[str, float]:
    """Nanoseconds of each benchmark of a Google Benchmark program, by name: the median of three."""
    if not (PROGRAMS / program_name).exists():
        return {}
    with tempfile.TemporaryDirectory() as folder:
        result = Path(folder) / "result.json"
        subprocess.run([str(PROGRAMS / program_name), f"--benchmark_out={result}", "--benchmark_out_format=json",
                        "--benchmark_repetitions=3", "--benchmark_report_aggregates_only=true", *options],
                       check=True, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        found = json.loads(result.read_text(encoding="utf-8"))["benchmarks"]
    units = {"ns": 1, "us": 1e3, "ms": 1e6, "s": 1e9}
    return {each["run_name"]: each["cpu_time"] * units[each["time_unit"]]
            for each in found if each.get("aggregate_name") == "median"}
