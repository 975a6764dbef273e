"""Runs works on a scene, interleaved, and turns what they print into figures."""
from __future__ import annotations

import json
import random
import re
import time
from bisect import bisect_left
from typing import Any

from machine import PROGRAMS, Failure, Painter, Process, Server, cpu_ms
from work import Scene, Work, works_of

WARM_UP = 0.6  # seconds until a capturer has settled
AFTER = 0.1  # seconds in which the last step of a span can still come
INTERVAL = 1e6 / 30  # microseconds between frames


def quantile(values: list[float], share: float) -> float | None:
    """None without values."""
    ordered = sorted(values)
    return ordered[min(len(ordered) - 1, int(len(ordered) * share))] if ordered else None


def now_us() -> int:
    return time.monotonic_ns() // 1000


class Span:
    """A stretch of a run with the processor time that processes spent in it."""

    def __init__(self, pids: list[int], seconds: float):
        before = [cpu_ms(pid) for pid in pids]
        self.start = now_us()
        time.sleep(seconds)
        self.end = now_us()
        self.spent = [cpu_ms(pid) - start for pid, start in zip(pids, before)]

    @property
    def seconds(self) -> float:
        return (self.end - self.start) / 1e6


def ffmpeg_frames(output: str, span: Span) -> float:
    """ffmpeg counts all frames of its run; its rate is even."""
    counts = re.findall(r"^frame=(\d+)", output, re.MULTILINE)
    total = re.findall(r"^out_time_us=(\d+)", output, re.MULTILINE)
    if not counts or not total or int(counts[-1]) < 10:
        raise Failure("ffmpeg gave no frames")
    return int(counts[-1]) / (int(total[-1]) / 1e6) * span.seconds


def run_work(server: Server, painter: Painter, work: Work, seconds: float, alone: float) -> dict[str, Any]:
    """One run of a work. alone: what the server spends on the scene itself, milliseconds a second."""
    with Process(work.command(server, painter) + work.stamps(painter), server.display) as capturer:
        time.sleep(WARM_UP)
        span = Span([capturer.pid, server.pid], seconds)
        time.sleep(AFTER)
        output = capturer.end()
    own, served = span.spent[0], span.spent[1] - alone * span.seconds
    result: dict[str, Any] = {"work": work.name, "per_second": (own + served) / span.seconds}
    if work.program == "ffmpeg":
        frames: float = ffmpeg_frames(output, span)
    else:
        printed = json.loads(output)
        counted = [frame for frame in printed["frames"] if span.start <= frame[0] < span.end]
        frames = len(counted)
        result |= {"shown": [frame for frame in printed["frames"] if frame[0] >= span.start], "span": (span.start, span.end)}
        if frames > 2:
            result["counts"] = [(counted[-1][i] - counted[0][i]) / (frames - 1) for i in (3, 4, 5)]
        if printed.get("errors") or printed.get("dropped"):
            result["faults"] = {"errors": printed["errors"], "dropped": printed["dropped"]}
    if frames < 1:
        raise Failure(f"{work.name} gave no frames")
    return result | {"frames": frames, "rate": frames / span.seconds, "ms": (own + served) / frames,
                     "own_ms": own / frames, "server_ms": served / frames}


def stalled(stalls: list[list[int]], start: int, end: int) -> int:
    """How much of a stretch a bare timer slept through that should have woken."""
    return sum(max(0, min(end, woke) - max(start, woke - late)) for woke, late in stalls)


def judge_frames(result: dict[str, Any], steps: list[int], stalls: list[list[int]]) -> None:
    """Replaces a run's frames by what they say: latency, what came too late, what was torn or went back."""
    shown, (start, end) = result.pop("shown"), result.pop("span")
    stamps = [frame[1] for frame in shown]
    result["unreadable"] = sum(1 for stamp in stamps if stamp == 0)
    result["torn"] = sum(1 for frame in shown if frame[1] and frame[2] and frame[1] != frame[2])
    result["back"] = sum(1 for a, b in zip(stamps, stamps[1:]) if b and b < a)
    latencies, late, judged = [], 0, 0
    at = 0
    for step in steps[bisect_left(steps, start):bisect_left(steps, end)]:
        while at < len(shown) and shown[at][1] < step:
            at += 1
        if at == len(shown):
            late += 1
            break
        judged += 1
        came = shown[at][0]
        if shown[at][1] == step:
            latencies.append((came - step) / 1000)
        if came - step - stalled(stalls, step, came) > 2 * INTERVAL:
            late += 1
    result |= {"latencies": latencies, "late": late, "judged": judged}


def run_scene(server: Server, scene: Scene, seconds: float, works: list[Work] | None = None) -> list[dict[str, Any]]:
    """Every work of a scene once, in an order of chance, beside the scene alone and a bare timer."""
    chosen = list(works_of(scene) if works is None else works)
    random.shuffle(chosen)
    timer = [str(PROGRAMS / "capture_bare"), "timer", "30"]
    with Painter(server, scene.name, scene.count) as painter, Process(timer) as bare_timer:
        time.sleep(0.4)
        unwatched = Span([server.pid], seconds)
        alone = unwatched.spent[0] / unwatched.seconds
        results = []
        for work in chosen:
            try:
                results.append(run_work(server, painter, work, seconds, alone) | {"scene": scene.name, "alone": alone})
            except Failure as failure:
                print(f"bench: {scene.name}: {work.name}: {failure}", flush=True)
        steps = painter.steps()
        stalls = json.loads(bare_timer.end())["stalls"]
    for result in results:
        if "shown" in result:
            judge_frames(result, steps, stalls)
    return results


def check_equality(server: Server, scene: Scene, work: Work, seconds: float) -> dict[str, Any]:
    """Compares the library's frames with full grabs while the scene is painted and pauses by turns."""
    with Painter(server, scene.name, scene.count, pauses=True) as painter:
        with Process(work.command(server, painter) + ["--check"], server.display) as capturer:
            time.sleep(seconds)
            printed = json.loads(capturer.end())
        painter.steps()
    return {"scene": scene.name, "work": work.name, "compared": printed["compared"], "wrong": printed["wrong"],
            "first": printed["first"]}
