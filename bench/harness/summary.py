"""Medians, spreads and ratios of the runs, and how they stand to the goals."""
from __future__ import annotations

import statistics
from dataclasses import dataclass
from typing import Any

from measure import quantile
from work import DISPLAY, LIMIT, NO_PIXMAPS, SCALED_DISPLAY, SCALED_LIMIT, WINDOW, WINDOW_LIMIT

FULL = "bare, everything"
SCALED = "library, window to 640x360"
LESS = "library, display less a window"
# What the chart shows: display capturers, on scenes that take short words.
COMPARED = [FULL, LIMIT, DISPLAY, "WebRTC, display, damage on", "ffmpeg x11grab, cursor",
            "GStreamer ximagesrc, damage off"]
COMPARED_SCENES = {"static": "static desktop", "small": "128x96 and a caret", "busy": "1280x720 repainting",
                   "scroll": "scrolling text", "drag": "window being dragged", "under": "video under a window",
                   "tiles": "eight small windows"}
# What the summary shows: of these whatever is measured on a scene.
SUMMARY = [FULL, LIMIT, DISPLAY, SCALED_DISPLAY, DISPLAY + NO_PIXMAPS, WINDOW_LIMIT, WINDOW, SCALED,
           WINDOW + NO_PIXMAPS, *COMPARED[3:], "WebRTC, window"]
Runs = list[dict[str, Any]]


def runs_of(data: dict[str, Any], scene: str, work: str) -> Runs:
    return [run for run in data["runs"] if run["scene"] == scene and run["work"] == work]


def cost(data: dict[str, Any], scene: str, work: str, part: str = "ms") -> float | None:
    values = [run[part] for run in runs_of(data, scene, work)]
    return statistics.median(values) if values else None


def ratio(data: dict[str, Any], scene: str, work: str, to: str) -> float | None:
    """The median over the rounds of one work's cost to another's in the same round."""
    others = {run["round"]: run["ms"] for run in runs_of(data, scene, to)}
    values = [run["ms"] / others[run["round"]] for run in runs_of(data, scene, work)
              if others.get(run["round"], 0) > 0]
    return statistics.median(values) if values else None


def limit_of(data: dict[str, Any], scene: str, work: str) -> str:
    """The bare damage grab that a work is compared with: of the same window, else of the display."""
    return WINDOW_LIMIT if "window" in work and "less a window" not in work and runs_of(data, scene, WINDOW_LIMIT) else LIMIT


def latency(runs: Runs, share: float) -> float | None:
    return quantile([value for run in runs for value in run.get("latencies", [])], share)


@dataclass
class Goal:
    name: str
    goal: str
    measured: str
    met: bool | None


def at_most(name: str, value: float | None, limit: float, unit: str, note: str = "") -> Goal:
    goal = f"at most {limit:g} {unit}".rstrip()
    if value is None:
        return Goal(name, goal, "not measured", None)
    return Goal(name, goal, f"{value:.2f} {unit}".rstrip() + (f" ({note})" if note else ""), value <= limit)


def times(value: float | None, other: float | None) -> float | None:
    return value / other if value is not None and other else None


def cost_goals(data: dict[str, Any]) -> list[Goal]:
    peers = [cost(data, "static", run) for run in {run["work"] for run in data["runs"]}
             if run.startswith(("WebRTC, display", "ffmpeg", "GStreamer"))]
    best = min((value for value in peers if value is not None), default=None)
    crowd = "20 windows, one left out, busy, to the display"
    return [
        at_most("display, static, cursor", cost(data, "static", DISPLAY), 0.15, "ms",
                f"best peer {best:.2f}" if best is not None else ""),
        at_most("display, busy, to the bare damage grab", ratio(data, "busy", DISPLAY, LIMIT), 1.3, "times"),
        at_most("window, static", cost(data, "static", "library, window"), 0.10, "ms"),
        at_most("window, busy", cost(data, "busy", "library, window"), 0.75, "ms"),
        at_most(crowd, ratio(data, "crowd", LESS, DISPLAY), 1.5, "times"),
        at_most("20 windows, one left out, static", cost(data, "crowd-static", LESS), 0.15, "ms"),
        at_most("window to 640x360, static", cost(data, "static", SCALED), 0.10, "ms"),
        at_most("window to 640x360, busy, own work beyond a bare grab, to libyuv on that grab", scaling(data), 1.1,
                "times"),
    ]


def speed_goals(data: dict[str, Any]) -> list[Goal]:
    """Costs that follow what has changed, to those of the same round."""
    goals = [
        at_most("display, static, to the bare damage grab", ratio(data, "static", DISPLAY, LIMIT), 2, "times"),
        at_most("window, static, to the bare damage grab", ratio(data, "static", WINDOW, WINDOW_LIMIT), 2, "times"),
        at_most("display to 1280x720, busy, to the bare damage grab", ratio(data, "busy", SCALED_DISPLAY, LIMIT), 2,
                "times"),
        at_most("display to 1280x720, small, to the display", ratio(data, "small", SCALED_DISPLAY, DISPLAY), 1.5, "times"),
    ]
    for scene, limit in (("static", 1.1), ("small", 1.5), ("busy", 1.5)):
        for work in (DISPLAY, WINDOW):
            name = f"{'display' if work == DISPLAY else 'window'}, {scene}{NO_PIXMAPS}, to that with them"
            goals.append(at_most(name, ratio(data, scene, work + NO_PIXMAPS, work), limit, "times"))
    return goals


def scaling(data: dict[str, Any]) -> float | None:
    """What the scaled window costs beyond a bare grab, to what libyuv costs on such a grab. Of the processes alone: the
    server makes the same copy for each, and its share varies by more than scaling costs."""
    scaled, limit, grab = (cost(data, "busy", work, "own_ms") for work in (SCALED, SCALED_LIMIT, WINDOW_LIMIT))
    return times(scaled - grab, limit - grab) if scaled and limit and grab and limit > grab else None


def library_runs(data: dict[str, Any]) -> Runs:
    return [run for run in data["runs"] if run["work"].startswith("library") and "latencies" in run
            and run["work"] != LESS and run["scene"] not in ("static", "crowd-static")]


def quality_goals(data: dict[str, Any]) -> list[Goal]:
    moving = library_runs(data)
    judged = sum(run["judged"] for run in moving)
    late = sum(run["late"] for run in moving)
    goals = [
        at_most("latency, median (a perfect sampler has 16.7 ms)", latency(moving, 0.5), 17.7, "ms"),
        at_most("latency, 95 of 100 (a perfect sampler has 31.7 ms)", latency(moving, 0.95), 33.7, "ms"),
        at_most("steps shown later than two intervals", late / judged * 100 if judged else None, 0.1, "%",
                f"{late} of {judged}"),
        at_most("wrong pixels", sum(each["wrong"] for each in data["equality"]), 0, "",
                f"in {sum(each['compared'] for each in data['equality'])} frames"),
        at_most("torn frames, and frames older than the one before",
                sum(run.get("torn", 0) + run.get("back", 0) for run in moving), 0, ""),
    ]
    for rate, paced in data["waiting"]["pacing"].items():
        goals.append(at_most(f"rate of {rate}: off by", abs(paced["error_percent"]), 0.5, "%"))
        goals.append(at_most(f"rate of {rate}: 99 of 100 gaps", paced["gap_p99"], 1.3, "intervals"))
    return goals


def counter_goals(data: dict[str, Any]) -> list[Goal]:
    def counted(scene: str, work: str, index: int) -> float | None:
        values = [run["counts"][index] for run in runs_of(data, scene, work) if "counts" in run]
        return statistics.median(values) if values else None
    return [
        at_most("allocations a tick, display, static", counted("static", DISPLAY, 0), 0, ""),
        at_most("allocations a tick, display, busy", counted("busy", DISPLAY, 0), 0, ""),
        at_most("allocations a tick, window, static", counted("static", "library, window", 0), 0, ""),
        at_most("allocations a tick, window, busy", counted("busy", "library, window", 0), 0, ""),
        at_most("messages to the server a tick, display, static, cursor", counted("static", DISPLAY, 1), 1, ""),
        at_most("messages to the server a tick, display, static, no cursor",
                counted("static", "library, display, no cursor", 1), 0, ""),
        at_most("messages to the server a tick, window, static", counted("static", "library, window", 1), 0, ""),
    ]


def other_goals(data: dict[str, Any]) -> list[Goal]:
    lists, idle, log = data["lists"], data["waiting"]["idle"], data["log"]
    others = sum(share for thread, share in idle["with log files"]["threads"].items() if "log" not in thread)
    return [
        at_most("list of 50 windows: waits for the server", lists["plain"]["sends"], 3, ""),
        at_most("list of 50 windows with pictures, to the bare grabs and scales",
                times(lists["pictures"]["us"], lists["bare"]["us"]), 1.2, "times"),
        at_most("the same, to bare grabs that show covered windows too",
                times(lists["pictures"]["us"], lists["redirected"]["us"]), 1.2, "times"),
        at_most("log line into a file, to spdlog's asynchronous logger",
                times(log.get("line/to_files/iterations:20000"), log.get("spdlog/to_file/iterations:20000")), 1.5, "times"),
        at_most("idle, beside the log thread", others, 0.2, "% of a core"),
        at_most("loading, beside an empty library", (data["load"]["library"] - data["load"]["empty"]) / 1000, 2, "ms"),
        at_most("memory of a 1080p capture above idle", data["memory"]["frames"], 3, "frames"),
    ]


def goals(data: dict[str, Any]) -> list[Goal]:
    found = speed_goals(data) + cost_goals(data)
    return found if data.get("costs") else found + quality_goals(data) + counter_goals(data) + other_goals(data)
