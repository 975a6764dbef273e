"""The charts of docs/performance.md, drawn from a run's figures."""
from __future__ import annotations

import statistics
from pathlib import Path
from typing import Any

import matplotlib

matplotlib.use("agg")
import matplotlib.pyplot as plt  # noqa: E402

from summary import COMPARED, COMPARED_SCENES, cost  # noqa: E402

GROWTH = {
    "rate": ("frames a second", "per_second", "ms of CPU a second", "1280x720 repainting, by frame rate"),
    "size": ("megapixels", "ms", "ms of CPU a frame", "two thirds of the screen repainting, by its size"),
    "windows": ("windows", "ms", "ms of CPU a frame", "1280x720 repainting among windows"),
    "targets": ("captured windows", "per_second", "ms of CPU a second", "windows of 320x240 repainting"),
}


def save(figure: Any, path: Path) -> None:
    figure.tight_layout()
    figure.savefig(path, metadata={"Software": None})
    plt.close(figure)


def compare(data: dict[str, Any], path: Path) -> None:
    """Cost of the display capturers on each scene."""
    figure, axes = plt.subplots(figsize=(9, 4.5))
    width = 0.8 / len(COMPARED)
    for i, work in enumerate(COMPARED):
        values = [cost(data, scene, work) or 0 for scene in COMPARED_SCENES]
        axes.bar([x + (i - len(COMPARED) / 2 + 0.5) * width for x in range(len(COMPARED_SCENES))], values, width,
                 label=work)
    axes.set_xticks(range(len(COMPARED_SCENES)), list(COMPARED_SCENES.values()))
    axes.set_ylabel("ms of CPU a frame, X server included")
    axes.legend(fontsize="small")
    save(figure, path)


def grow(points: list[dict[str, Any]], words: tuple[str, str, str, str], path: Path) -> None:
    across, key, up, title = words
    figure, axes = plt.subplots(figsize=(6, 3.5))
    for work in sorted({point["work"] for point in points}):
        mine = [point for point in points if point["work"] == work]
        xs = sorted({point["x"] for point in mine})
        groups = [[point[key] for point in mine if point["x"] == x] for x in xs]
        axes.plot(xs, [statistics.median(group) for group in groups], marker="o", label=work)
    axes.set(xlabel=across, ylabel=up, title=title, ylim=(0, None), xlim=(0, None))
    axes.legend(fontsize="small")
    axes.grid(alpha=0.3)
    save(figure, path)


def draw(data: dict[str, Any], folder: Path) -> list[tuple[str, Path]]:
    """Titles and files of the charts that the figures give."""
    folder.mkdir(exist_ok=True)
    drawn = [("Cost of a frame by scene", folder / "scenes.png")]
    compare(data, drawn[0][1])
    for name, points in data.get("growth", {}).items():
        path = folder / f"{name}.png"
        grow(points, GROWTH[name], path)
        drawn.append((f"Growth: {GROWTH[name][3]}", path))
    return drawn
