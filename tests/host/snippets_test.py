#!/usr/bin/env python3
"""Runs every fenced block of README.md and docs/*.md, in order, and follows their links to files.

usage, on a display of its own: snippets_test.py SOURCE_FOLDER BUILD_FOLDER C_COMPILER CXX_COMPILER

sh is run, c is compiled against the installed package and run, cmake becomes the CMakeLists.txt of the commands after it,
python is run; text is text. The sources in docs are compiled. A block below "<!-- only on a Mac -->" is only
checked for its syntax elsewhere. The pages see a folder that looks like the sources; its dev knows the commands but runs
none of them: .ci/run does.
"""
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import time

source, build = pathlib.Path(sys.argv[1]), pathlib.Path(sys.argv[2])
compilers = {"cc": sys.argv[3], "c++": sys.argv[4]}
work = pathlib.Path(tempfile.mkdtemp())
tree = work / "tree"
environment = dict(os.environ, HOME=str(work), CC=compilers["cc"], CXX=compilers["c++"],
                   LD_LIBRARY_PATH=f"{work}/orvo/lib", PYTHONPATH=f"{work}/orvo/lib/python3/dist-packages",
                   PATH=f"{work}/bin:{work}/orvo/bin:{os.environ['PATH']}")
failures = []


def script(path: pathlib.Path, text: str) -> None:
    path.parent.mkdir(parents=True, exist_ok=True)
    path.write_text("#!/bin/sh\n" + text)
    path.chmod(0o755)


def prepare() -> None:
    (tree / "build").mkdir(parents=True)
    (tree / "build/release").symlink_to(build)
    for name in ("docs", "examples", "include", "scripts"):
        if (source / name).exists():
            (tree / name).symlink_to(source / name)
    shutil.copy(source / "examples/minimal.c", tree)
    script(tree / "dev", f'test -x "{source}/scripts/commands/$1.sh"\n')
    for name, compiler in compilers.items():
        script(work / "bin" / name, f'exec {compiler} "$@"\n')


def windows() -> tuple[list, list]:
    """Two windows, whose numbers stand in for those that the pages print."""
    programs = [subprocess.Popen(["xlogo", "-name", name, "-geometry", "420x400+%d+50" % left])
                for name, left in (("snippet1", 50), ("snippet2", 500))]
    numbers = []
    for name in ("snippet1", "snippet2"):
        command = ["xdotool", "search", "--sync", "--onlyvisible", "--classname", f"^{name}$"]
        numbers.append(subprocess.run(command, capture_output=True, text=True, timeout=20).stdout.split()[-1])
    return programs, numbers


def run(*command: str, text: str = "") -> None:
    result = subprocess.run(command, cwd=tree, env=environment, input=text, text=True, timeout=120,
                            stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
    if result.returncode != 0:
        raise RuntimeError(f"{' '.join(command)} ended with {result.returncode}:\n{result.stdout}")


def run_c(text: str) -> None:
    if "int main" in text and text.startswith("/* Captures the main screen"):
        assert text == (source / "examples/minimal.c").read_text(), "differs from examples/minimal.c"
    (work / "snippet.c").write_text(text)
    orvo = work / "orvo"
    run("cc", "-std=c11", "-pedantic", "-Wall", "-Wextra", "-Werror", f"-I{orvo}/include", f"{work}/snippet.c",
        f"-L{orvo}/lib", "-lOrvoScreenCaptureOSX", "-o", f"{work}/snippet")
    run(f"{work}/snippet")


def run_block(language: str, text: str, here: bool) -> None:
    if language == "sh":
        run("bash", "-eu" if here else "-n", text=text)
    elif not here or language == "text":
        return
    elif language == "c":
        run_c(text)
    elif language == "cmake":
        (tree / "CMakeLists.txt").write_text(text)
    elif language == "python":
        run("/usr/bin/python3", "-", text=text)
    else:
        raise RuntimeError(f'a block of "{language}": nobody runs that; name it text if nobody should')


def walk(page: pathlib.Path, numbers: list) -> None:
    content = page.read_text()
    for match in re.finditer(r"^(<!-- only on a Mac -->\n)?```(\w*)\n(.*?)^```$", content, re.M | re.S):
        mac, language, text = match.groups()
        for printed, real in zip(("8388620", "6291459"), numbers):
            text = text.replace(printed, real)
        place = f"{page.relative_to(source)}:{content.count(chr(10), 0, match.start(2)) + 1}"
        here = not mac or sys.platform == "darwin"
        begin = time.monotonic()
        try:
            run_block(language, text, here)
            print(f"{place}: {language}, {time.monotonic() - begin:.1f} s" + ("" if here else ", ONLY ON A MAC, not run"))
        except (RuntimeError, AssertionError, subprocess.TimeoutExpired) as error:
            failures.append(f"{place}: {error}")
    for link, anchor in re.findall(r"\]\(([^)#:]*)(?:#([^)]*))?\)", content):
        for root in source, work / "orvo/share/doc/orvo-screencapture":
            target = (root / page.relative_to(source)).parent / link if link else page
            if not target.exists() or anchor and f"# {anchor}".replace("-", " ") not in target.read_text().lower():
                failures.append(f"{page.relative_to(source)}: leads to {link}#{anchor}, which is not in {root}")


prepare()
programs, numbers = windows()
first = [source / "docs/quick-start.md", source / "README.md"]
try:
    for page in first + sorted(set((source / "docs").glob("*.md")) - set(first)) + [source / "CONTRIBUTING.md"]:
        walk(page, numbers)
    run("c++", "-std=c++20", "-Wall", "-Wextra", "-Werror", f"-I{source}", f"-I{source}/include", "-fsyntax-only",
        *map(str, (source / "docs").rglob("*.cpp")))
finally:
    for program in programs:
        program.kill()
        program.wait()
    shutil.rmtree(work)
print(*failures, sep="\n", file=sys.stderr)
sys.exit(1 if failures else 0)
