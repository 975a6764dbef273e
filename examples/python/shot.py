#!/usr/bin/env python3
"""Saves what a screen or a window shows as a PNG: shot.py FILE [--window TITLE]"""
from __future__ import annotations

import argparse
import sys

import orvo


def choose(capture: orvo.Capture, title: str | None) -> None:
    if title is None:
        main = [screen for screen in orvo.screens() if screen.is_primary]
        if not main:
            raise orvo.NoSuchTarget("there is no screen; is DISPLAY set to your X server?")
        capture.target_screen(main[0])
    else:
        found = [window for window in orvo.windows() if title.lower() in window.title.lower()]
        if not found:
            raise orvo.NoSuchTarget(f"no window on screen has {title!r} in its title")
        capture.target_windows(found[0])


def main() -> int:
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("file")
    parser.add_argument("--window", metavar="TITLE", help="a window with this in its title, instead of the main screen")
    arguments = parser.parse_args()
    try:
        with orvo.Capture(cursor=False) as capture:
            choose(capture, arguments.window)
            frame = capture.frame()
    except orvo.OrvoError as error:
        print(f"shot.py: {error}", file=sys.stderr)
        return 1
    frame.to_pil().save(arguments.file)
    return 0


if __name__ == "__main__":
    sys.exit(main())
