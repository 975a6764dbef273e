#!/usr/bin/env python3
"""Draws a soak's figures over time: plot.py CSV PNG."""
import csv
import sys

import matplotlib

matplotlib.use("Agg")
import matplotlib.pyplot as plt  # noqa: E402 (the backend is chosen first)

ROWS = (
    ("memory, MB", (("resident_kb", "resident", 1024), ("proportional_kb", "proportional", 1024))),
    ("descriptors, threads", (("files", "descriptors", 1), ("threads", "threads", 1))),
    ("X server", (("server_objects", "objects", 1), ("server_clients", "connections", 1))),
    ("longest gap, ms", (("longest_gap_ms", "since the start of the capture", 1),)),
)


def main(source, target):
    with open(source, encoding="utf-8") as file:
        samples = list(csv.DictReader(file))
    minutes = [float(sample["seconds"]) / 60 for sample in samples]
    _, plots = plt.subplots(len(ROWS), 1, sharex=True, figsize=(9, 10), constrained_layout=True)
    for plot, (title, lines) in zip(plots, ROWS):
        for name, label, scale in lines:
            plot.plot(minutes, [float(sample[name]) / scale for sample in samples], label=label, linewidth=1)
        plot.set_ylabel(title)
        plot.set_ylim(bottom=0)
        plot.grid(alpha=0.3)
        plot.legend(loc="lower right", fontsize="small")
    plots[-1].set_xlabel("minutes")
    plt.savefig(target, dpi=90)


if __name__ == "__main__":
    main(*sys.argv[1:])
