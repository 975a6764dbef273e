"""The tables of a run: for the terminal, the summary in docs/performance.md, and all of them beside it."""
from __future__ import annotations

from collections.abc import Sequence
from dataclasses import dataclass
from pathlib import Path
from typing import Any

from summary import COMPARED_SCENES, FULL, SUMMARY, cost, goals, latency, limit_of, ratio, runs_of, times
from work import QUICK, SCENES, WORKS

PAGE = Path("docs/performance.md")
FIGURES = Path("docs/performance/figures.md")
BEGIN, END = "<!-- figures: written by ./dev bench -->", "<!-- end of the figures -->"


@dataclass
class Table:
    title: str
    head: Sequence[str]
    rows: list[list[str]]
    left: int = 1  # columns of text


def number(value: float | None, digits: int = 2) -> str:
    return "-" if value is None else f"{value:.{digits}f}"


def scene_table(data: dict[str, Any], scene: str, title: str) -> Table:
    rows = []
    for work in WORKS:
        runs = runs_of(data, scene, work.name)
        if not runs:
            continue
        costs = [run["ms"] for run in runs]
        rows.append([
            work.name, number(cost(data, scene, work.name)), f"{min(costs):.2f} to {max(costs):.2f}",
            number(sum(run["own_ms"] for run in runs) / len(runs)),
            number(sum(run["server_ms"] for run in runs) / len(runs)),
            number(ratio(data, scene, work.name, limit_of(data, scene, work.name))), number(ratio(data, scene, work.name, FULL)),
            number(latency(runs, 0.5), 1), number(latency(runs, 0.95), 1),
            number(sum(run["rate"] for run in runs) / len(runs), 1),
        ])
    head = ["", "ms a frame", "spread", "own", "server", "to damage grab", "to full grab", "p50 ms", "p95 ms", "fps"]
    return Table(f"Scene: {title}", head, rows)


def counter_table(data: dict[str, Any]) -> Table:
    rows = []
    for scene in SCENES:
        for work in WORKS:
            runs = [run for run in runs_of(data, scene.name, work.name) if "counts" in run]
            if runs and work.name.startswith("library"):
                rows.append([scene.title, work.name] +
                            [number(sum(run["counts"][i] for run in runs) / len(runs), 1) for i in range(3)])
    return Table("The library's own work in a tick", ["scene", "", "allocations", "messages to the server",
                                                      "reads from it"], rows, 2)


def other_table(data: dict[str, Any]) -> Table:
    lists, load, memory, idle = data["lists"], data["load"], data["memory"], data["waiting"]["idle"]
    rows = [[f"list of 50 windows, {name}", f"{each['us'] / 1000:.2f} ms, {each['sends']} messages to the server"]
            for name, each in lists.items()]
    rows += [
        ["opening the library / an empty one", f"{load['library'] / 1000:.2f} / {load['empty'] / 1000:.2f} ms"],
        ["memory, initialised / capturing 1080p", f"{memory['idle_kb'] / 1024:.1f} / {memory['capturing_kb'] / 1024:.1f} MB"],
    ]
    for name, each in idle.items():
        threads = ", ".join(f"{thread} {share:.3f}" for thread, share in each["threads"].items())
        rows.append([f"idle {name}, % of a core", f"{each['percent']:.3f} ({threads})"])
    rows += [[f"{name.split('/iterations')[0]}, a line", f"{value:.0f} ns"] for name, value in data["log"].items()]
    rows += [[picture_name(name), f"{value / 1e6:.3f} ms"] for name, value in data["pictures"].items()]
    return Table("Beside the frames", ["", "measured"], rows, 2)


def picture_name(name: str) -> str:
    ways = ("the library", "libyuv box", "libyuv bilinear", "a copy of the source")
    words = dict(part.split(":") for part in name.split("/") if ":" in part)
    if "way" not in words:
        return f"composition of {name.rsplit('/', 1)[-1]} windows"
    return f"{words['from']} to {words['to']} wide: {ways[int(words['way'])]}"


def tables(data: dict[str, Any]) -> list[Table]:
    words = {True: "yes", False: "NO", None: "-"}
    found = [Table("Goals", ["", "goal", "measured", "met"],
                   [[goal.name, goal.goal, goal.measured, words[goal.met]] for goal in goals(data)], 4)]
    if data.get("costs"):
        return [summary_table(data), *found]
    for scene in QUICK if data["quick"] else SCENES:
        found.append(scene_table(data, scene.name, scene.title))
    equal = [[each["scene"], each["work"], str(each["compared"]), str(each["wrong"]), each["first"]]
             for each in data["equality"]]
    found.append(Table("Equality with full grabs", ["scene", "", "frames compared", "wrong pixels", "the first"], equal, 2))
    return found + [counter_table(data), other_table(data)]


def as_text(found: list[Table]) -> str:
    lines = []
    for table in found:
        rows = [list(table.head)] + table.rows
        widths = [max(len(row[i]) for row in rows) for i in range(len(table.head))]
        lines += ["", table.title]
        lines += ["  ".join(cell.ljust(width) if i < table.left else cell.rjust(width)
                            for i, (cell, width) in enumerate(zip(row, widths))).rstrip() for row in rows]
    return "\n".join(lines)


def as_markdown(table: Table) -> list[str]:
    marks = ["---" if i < table.left else "--:" for i in range(len(table.head))]
    rows = [list(table.head), marks] + table.rows
    return ["", f"### {table.title}", ""] + ["| " + " | ".join(row) + " |" for row in rows]


def summary_cell(data: dict[str, Any], scene: str, work: str) -> str:
    costs = [run["ms"] for run in runs_of(data, scene, work)]
    if not costs:
        return "-"
    median, limit = cost(data, scene, work), cost(data, scene, limit_of(data, scene, work))
    return f"{number(median)} ({min(costs):.2f}-{max(costs):.2f}) {number(times(median, limit), 1)}x"


def summary_table(data: dict[str, Any]) -> Table:
    rows = [[work] + [summary_cell(data, scene, work) for scene in COMPARED_SCENES] for work in SUMMARY]
    return Table("Milliseconds of processor time a frame: median (spread), to the damage grab",
                 ["", *COMPARED_SCENES.values()], rows)


def goal_sentence(data: dict[str, Any]) -> str:
    judged = [goal for goal in goals(data) if goal.met is not None]
    missed = [goal.name for goal in judged if not goal.met]
    met = f"{len(judged) - len(missed)} of {len(judged)} goals are met"
    return f"{met}; missed: {'; '.join(missed)}." if missed else f"{met}."


def replace_figures(text: str, lines: list[str]) -> str:
    before, _, rest = text.partition(BEGIN)
    return before + "\n".join([BEGIN, *lines, "", END]) + rest.partition(END)[2]


def write(data: dict[str, Any], found: list[Table]) -> None:
    """Renews the summary on the page; of a full run the page of all figures and the charts, too."""
    about = data["machine"]
    measured = (f"Measured on {about['date']}, commit {about['commit']}: {about['cores']} cores of {about['processor']}, "
                f"Linux {about['kernel']}, load before the run {about['load']}; {data['rounds']} rounds.")
    summary = ["", measured, *as_markdown(summary_table(data)), "", goal_sentence(data)]
    PAGE.write_text(replace_figures(PAGE.read_text(encoding="utf-8"), summary), encoding="utf-8")
    if data.get("costs"):
        return
    import charts  # wants matplotlib, which a page alone needs
    drawn = charts.draw(data, FIGURES.parent)
    lines = ["# Figures", "", f"Written by `./dev bench`; [performance.md](../performance.md) explains them. {measured}"]
    for title, path in drawn:
        lines += ["", f"![{title}]({path.name})"]
    for table in found:
        lines += as_markdown(table)
    FIGURES.write_text("\n".join(lines) + "\n", encoding="utf-8")
