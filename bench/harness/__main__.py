"""Measures the library beside its limits and its peers, and writes the page about it.

--quick prints most of it in two minutes; --costs renews the summary's table alone.
"""
from __future__ import annotations

import argparse
import json
import platform
import subprocess
import time
from pathlib import Path
from typing import Any

import costs
import page
from machine import PROGRAMS, Server
from measure import check_equality, run_scene
from summary import COMPARED_SCENES, SUMMARY
from work import DISPLAY, NO_PIXMAPS, QUICK, SCENES, WINDOW, Scene, works_of

CHECKED = (DISPLAY, "library, display, no cursor", "library, rectangle 1280x720", WINDOW, DISPLAY + NO_PIXMAPS,
           WINDOW + NO_PIXMAPS, "library, display less a window")


def processor() -> str:
    for line in Path("/proc/cpuinfo").read_text(encoding="utf-8").splitlines():
        if line.startswith("model name"):
            return line.split(":", 1)[1].strip()
    return platform.processor()


def machine() -> dict[str, Any]:
    cores = int(subprocess.run(["nproc"], check=True, capture_output=True, text=True).stdout)
    commit = subprocess.run(["git", "rev-parse", "--short", "HEAD"], capture_output=True, text=True, check=False).stdout
    return {"date": time.strftime("%Y-%m-%d"), "processor": processor(), "cores": cores,
            "kernel": platform.release(), "commit": commit.strip(), "load": Path("/proc/loadavg").read_text().split()[0]}


class Clock:
    """Prints how far a run is."""

    def __init__(self) -> None:
        self.start = time.monotonic()

    def report(self, text: str) -> None:
        print(f"bench: {time.monotonic() - self.start:5.0f} s  {text}", flush=True)


def equality(server: Server, scenes: list[Scene], seconds: float) -> list[dict[str, Any]]:
    return [check_equality(server, scene, work, seconds)
            for scene in scenes for work in works_of(scene) if work.name in CHECKED]


def measure(quick: bool, rounds: int, clock: Clock) -> dict[str, Any]:
    data: dict[str, Any] = {"machine": machine(), "quick": quick, "rounds": rounds, "runs": []}
    scenes, seconds = (QUICK, 1.25) if quick else (SCENES, 2.5)
    with Server() as server:
        for number in range(rounds):
            for scene in scenes:
                clock.report(f"round {number + 1}: {scene.title}")
                data["runs"] += [run | {"round": number} for run in run_scene(server, scene, seconds)]
        clock.report("equality with full grabs")
        data["equality"] = equality(server, scenes, 1.5 if quick else 2)
        clock.report("pacing and idling")
        data["waiting"] = costs.pacing_and_idling(server, 5 if quick else 60)
        clock.report("memory, loading, lists")
        data["memory"] = costs.memory(server)
        data["load"] = costs.load_time(5 if quick else 25)
        data["lists"] = costs.lists(server, 5 if quick else 21)
        if not quick:
            clock.report("growth")
            data["growth"] = costs.growth(server, 2, 1.25)
    clock.report("small benchmarks")
    time_limit = "--benchmark_min_time=0.02" if quick else "--benchmark_min_time=0.1"
    data["pictures"] = costs.small_benchmarks("picture_bench", time_limit)
    data["log"] = costs.small_benchmarks("runtime_bench", "--benchmark_filter=^line/|^spdlog/")
    clock.report("done")
    return data


def measure_costs(rounds: int, clock: Clock) -> dict[str, Any]:
    """What the summary shows, and no more."""
    data: dict[str, Any] = {"machine": machine(), "quick": False, "costs": True, "rounds": rounds, "runs": []}
    with Server() as server:
        for number in range(rounds):
            for scene in (each for each in SCENES if each.name in COMPARED_SCENES):
                clock.report(f"round {number + 1}: {scene.title}")
                works = [work for work in works_of(scene) if work.name in SUMMARY]
                data["runs"] += [run | {"round": number} for run in run_scene(server, scene, 2.5, works)]
    return data


def together(paths: list[str]) -> dict[str, Any]:
    """The rounds, comparisons and charts' points of several runs of one commit; all else is the last run's."""
    data, *earlier = [json.loads(Path(path).read_text(encoding="utf-8")) for path in reversed(paths)]
    for other in earlier:
        data["runs"] += [run | {"round": run["round"] + data["rounds"]} for run in other["runs"]]
        data["rounds"] += other["rounds"]
        for mine, its in zip(data.get("equality", []), other.get("equality", [])):
            mine["compared"] += its["compared"]
            mine["wrong"] += its["wrong"]
        for chart, points in other.get("growth", {}).items():
            data["growth"][chart] += points
    result: dict[str, Any] = data
    return result


def main() -> int:
    parser = argparse.ArgumentParser(prog="./dev bench", description=__doc__)
    parser.add_argument("--quick", action="store_true", help="two minutes; writes no page")
    parser.add_argument("--costs", action="store_true", help="measure the summary's table alone, and renew it")
    parser.add_argument("--rounds", type=int, default=3, help="how often each scene is measured (3)")
    parser.add_argument("--page", metavar="JSON", nargs="+",
                        help="write the page from the figures of earlier runs, all their rounds together")
    parser.add_argument("--out", metavar="JSON", default=str(PROGRAMS / "figures.json"), help="where the figures go")
    options = parser.parse_args()
    if options.page:
        data = together(options.page)
    else:
        rounds = max(1, options.rounds)
        data = measure_costs(rounds, Clock()) if options.costs else measure(options.quick, 1 if options.quick else rounds,
                                                                            Clock())
        Path(options.out).write_text(json.dumps(data, indent=1), encoding="utf-8")
    tables = page.tables(data)
    print(page.as_text(tables))
    if not data["quick"]:
        page.write(data, tables)
    wrong = sum(each["wrong"] for each in data.get("equality", []))
    if wrong:
        print(f"bench: {wrong} wrong pixels")
    return 1 if wrong else 0


if __name__ == "__main__":
    raise SystemExit(main())
