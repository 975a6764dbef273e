#!/usr/bin/env python3
"""Checks the floors: includes point down, system headers and system switches stay in their rooms."""
import posixpath
import re
import sys

from sources import Report, project_files

# Rank by longest prefix. A file may include lower ranks and its own room (the prefix that ranked it).
RANKS = {
    "tests/": 10,
    "tools/": 9,
    "examples/": 9,
    "bench/": 9,
    "bindings/": 9,
    "ScreenCapture/api/": 8,
    "ScreenCapture/capture/": 7,
    "ScreenCapture/window/": 6,
    "ScreenCapture/thumbnail/": 5,
    # Records and registry, which everyone above reads.
    "ScreenCapture/window/OrvoWindow.": 4,
    "ScreenCapture/capture/OrvoCaptureSettings": 4,
    "ScreenCapture/capture/host_callbacks": 4,
    "ScreenCapture/capture/capture_statistics": 4,
    "ScreenCapture/platform/x11/": 3.5,
    "ScreenCapture/platform/macos/": 3.5,
    "docs/porting/": 3.5,  # stands for an adapter
    "ScreenCapture/platform/linux/": 3.2,
    "ScreenCapture/platform/software/": 3,
    "ScreenCapture/log/": 3,
    "ScreenCapture/platform/": 2,
    "common/utils/": 2,
    "common/plain_yuv/": 1,
    "xplatform/common/": 1,
    "include/orvo/": 0,
}
OUTSIDE = ("tools/", "examples/", "bench/", "bindings/", "tests/host/")  # see only the public headers
# What measures or runs parts that the public headers do not show.
INSIDE = ("bench/picture_bench.cpp", "tools/macos-check/checks/")
# The public headers beside include/orvo/: the base runtime's and the log's.
PUBLIC = ("xplatform/common/", "common/utils/orvo_queue_runner.h", "ScreenCapture/log/orvo_log.h", "ScreenCapture/log/sym_encrypt.h")
SHARED_RANKS = (4,)  # several prefixes, one room

INCLUDE = re.compile(r'^\s*#\s*(?:include|import)\s*(?:"([^"]+)"|<([^>]+)>)')
SYSTEM_SWITCH = re.compile(
    r"^\s*#\s*(?:if|elif|ifdef|ifndef)\b.*\b(?:__APPLE__|__MACH__|__linux__|__linux|__gnu_linux__|__unix__|_WIN32|TARGET_OS_\w+)"
)
X11_HEADER = re.compile(r"^(?:xcb|X11)/")
GLIB_HEADER = re.compile(r"^(?:glib|gio|gobject|gdk-pixbuf|gmodule|glib-unix|glib-object)(?:/|\.h|-)")
APPLE_HEADER = re.compile(
    r"^(?:Foundation|AppKit|Cocoa|CoreFoundation|CoreGraphics|CoreMedia|CoreVideo|CoreImage|CoreServices|AVFoundation"
    r"|ApplicationServices|ScreenCaptureKit|QuartzCore|ImageIO|IOSurface|IOKit|Accelerate|Carbon|Metal|objc|dispatch|mach)/"
)


def rank_of(path):
    """The rank of a file and its room, or nothing for a file outside the floors."""
    prefix = max((p for p in RANKS if path.startswith(p)), key=len, default=None)
    if prefix is None:
        return None
    rank = RANKS[prefix]
    return rank, str(rank) if rank in SHARED_RANKS else prefix


def may_include(path, target):
    rank, room = rank_of(path)
    target_rank, target_room = rank_of(target)
    if path.startswith(OUTSIDE) and not path.startswith(INSIDE):
        return target_rank == 0 or target.startswith(PUBLIC) or target.startswith(path.split("/")[0] + "/")
    return target_rank < rank or target_room == room


def resolve(path, name, files):
    folder = path.rsplit("/", 1)[0] + "/" if "/" in path else ""
    roots = (folder, "", "include/", "tests/" if path.startswith("tests/") else "")
    paths = (posixpath.normpath(root + name) for root in roots)
    return next((path for path in paths if path in files), None)


def check_system_header(path, name):
    """What is wrong with including a system's header here, or nothing."""
    in_x11 = path.startswith(("ScreenCapture/platform/x11/", "tests/x11/", "tests/support/x11/", "tests/fuzz/", "tests/host/", "examples/", "tools/orvocap/system_linux.", "bench/"))
    in_macos = path.startswith(("ScreenCapture/platform/macos/", "tools/macos-check/", "examples/")) or "_darwin." in path
    in_linux = in_x11 or path.startswith("ScreenCapture/platform/linux/")
    if X11_HEADER.match(name) and not in_x11:
        return "belongs into ScreenCapture/platform/x11"
    if GLIB_HEADER.match(name) and not in_linux:
        return "belongs into ScreenCapture/platform/linux"
    if APPLE_HEADER.match(name) and not in_macos:
        return "belongs into ScreenCapture/platform/macos"
    return None


def main():
    report = Report()
    files = {path: lines for path, lines in project_files((".cpp", ".c", ".h", ".mm"))}
    for path, lines in files.items():
        if rank_of(path) is None:
            report.add(path, 1, "stands on no floor; scripts/lint/floors.py lists them")
            continue
        own_system = path.startswith(("include/orvo/", "tests/", "tools/macos-check/", "examples/")) or re.search(r"_(?:linux|darwin)\.", path)
        for number, line in enumerate(lines, 1):
            if SYSTEM_SWITCH.match(line) and not own_system:
                report.add(path, number, "switches on the system; use a _linux and a _darwin file")
            include = INCLUDE.match(line)
            if not include:
                continue
            name = include[1] or include[2]
            target = resolve(path, name, files)
            if target is not None:
                if rank_of(target) is not None and not may_include(path, target):
                    report.add(path, number, f"includes {target}, which is not below it")
            elif include[1]:
                report.add(path, number, f"includes \"{name}\", which is not there")
            else:
                wrong = check_system_header(path, name)
                if wrong:
                    report.add(path, number, f"<{name}> {wrong}")
    return report.finish()


if __name__ == "__main__":
    sys.exit(main())
