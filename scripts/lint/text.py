#!/usr/bin/env python3
"""Checks lines: file length, library features missing on the oldest macOS, and text that does not stand on its own."""
import re
import sys

from sources import Report, project_files

MAX_LINES = 500
CODE = (".cpp", ".c", ".h", ".mm")
TEXT = CODE + (".md", ".txt", ".sh", ".py", ".cmake", ".list", "/dev", ".ci/run", ".yml", ".json")

# The oldest macOS that is supported, 10.13, has no library support for these.
MISSING_FEATURES = {
    r"std::filesystem|<filesystem>": "std::filesystem",
    r"<latch>|std::latch|<barrier>|std::barrier": "latches and barriers",
    r"<semaphore>|std::(?:counting|binary)_semaphore": "semaphores",
    r"std::atomic(?:_flag)?_(?:wait|notify)": "waiting on atomics",
    r"<format>|std::v?format(?:_to)?\b": "std::format",
    r"\bjthread\b|<stop_token>": "jthread",
    r"std::chars_format": "floating to_chars",
    r"std::(?:to|from)_chars\([^)]*\b(?:double|float)\b": "floating to_chars",
    r"std::atomic<\s*std::(?:shared|weak)_ptr": "atomic shared pointers",
    r"<memory_resource>|std::pmr": "memory resources",
}
ATOMIC_NAME = re.compile(r"std::atomic(?:_\w+|<[^;=]*?>)\s+(\w+)")

# A reader has the repository and nothing else: no sections of other texts, no path of one machine, no trailers.
FOREIGN_TEXT = {
    r"\b(?:Part|Section|Chapter) \d|\u00a7": "cites a section of another text",
    r"/(?:home|work|Users|root)/\w": "names a path of one machine",
    r"[Cc]o-[Aa]uthored|[Gg]enerated [b]y": "names authorship",
}
# Names in code may read so, prose may not.
FOREIGN_WORD = re.compile(r"\b[Ss][p]ec(?:s|ifi[c]ations?)?\b")
COMMENT = re.compile(r"//.*|^\s*/?\*.*")


def prose(path, line):
    if not path.endswith(CODE):
        return line
    comment = COMMENT.search(line)
    return comment[0] if comment else ""


def portable(path):
    inside = path.startswith(("include/", "ScreenCapture/", "common/", "xplatform/", "tools/", "examples/"))
    return inside and not path.startswith(("ScreenCapture/platform/linux/", "ScreenCapture/platform/x11/")) and "_linux." not in path


def check_features(path, lines, headers, report):
    atomics = set()
    header = re.sub(r"\.\w+$", ".h", path)
    for line in lines + headers.get(header, []):
        atomics.update(ATOMIC_NAME.findall(line))
    waits = re.compile(rf"\b(?:{'|'.join(sorted(atomics))})(?:\.|->)(?:wait|notify_one|notify_all)\(") if atomics else None
    for number, line in enumerate(lines, 1):
        for pattern, feature in MISSING_FEATURES.items():
            if re.search(pattern, line):
                report.add(path, number, f"uses {feature}, which macOS 10.13 does not have")
        if waits and waits.search(line):
            report.add(path, number, "waits on an atomic, which macOS 10.13 cannot")


def main():
    report = Report()
    files = dict(project_files(TEXT))
    del files["THIRD-PARTY-NOTICES.md"]  # other people's words
    headers = {path: lines for path, lines in files.items() if path.endswith(".h")}
    for path, lines in files.items():
        if path.endswith(CODE + (".sh", ".py")) and len(lines) > MAX_LINES:
            report.add(path, len(lines), f"has over {MAX_LINES} lines; split it by subject")
        if path.endswith(CODE) and portable(path):
            check_features(path, lines, headers, report)
        for number, line in enumerate(lines, 1):
            for pattern, fault in FOREIGN_TEXT.items():
                if re.search(pattern, line):
                    report.add(path, number, fault)
            if FOREIGN_WORD.search(prose(path, line)):
                report.add(path, number, "cites another text")
    return report.finish()


if __name__ == "__main__":
    sys.exit(main())
