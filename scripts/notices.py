#!/usr/bin/env python3
"""Writes THIRD-PARTY-NOTICES.md from the copyright files of the Debian packages that are used.

usage: notices.py [--check BUILD]   --check: writes nothing; fails when the file is not what would be written, or when the
library and orvocap in BUILD hold, link or load anything that it does not name
"""
import re
import subprocess
import sys
from pathlib import Path

PAGE = Path("THIRD-PARTY-NOTICES.md")
PROGRAMS = ("OrvoScreenCaptureOSX", "orvocap")
SONAME = re.compile(rb"(?<![\w.+-])lib[\w+-][\w.+-]*\.so\.\d+(?![\w.])")
# The C and C++ runtime: the system's own, and headers under terms that let programs go without a notice.
RUNTIME = re.compile(r"(glibc|gcc-\d+|linux|libxcrypt|rpcsvc-proto|libnsl|libtirpc)$")

# Debian source package: name, a binary package to ask, how it is used, and the files whose terms are quoted (none: the
# copyright file is not in parts, and is quoted from its heading on).
COMPONENTS = {
    "libyuv": ("libyuv", "libyuv-dev", "inside the library and orvocap: scaling and conversion of pictures", ["*"]),
    "libxcb": ("XCB", "libxcb1", "the X11 protocol; its extensions inside the library, libxcb linked", []),
    "cli11": ("CLI11", "libcli11-dev", "inside orvocap: its command line", ["*"]),
    "nlohmann-json3": ("JSON for Modern C++", "nlohmann-json3-dev", "inside orvocap: JSON",
                       ["*", "include/nlohmann/detail/conversions/to_chars.hpp",
                        "include/nlohmann/detail/output/serializer.hpp"]),
    "libpng1.6": ("libpng", "libpng16-16", "linked by orvocap: PNG files", ["*", "pngwutil.c"]),
    "glib2.0": ("GLib", "libglib2.0-0", "loaded by the library on Linux: the main queue, names of applications", ["*"]),
    "gdk-pixbuf": ("GdkPixbuf", "libgdk-pixbuf-2.0-0", "loaded by the library on Linux: icon files", ["*"]),
}
COMMON = Path("/usr/share/common-licenses")
WHOLE_TEXTS = ("LGPL-2.1",)  # what the quoted terms refer to


def output_of(*command):
    return subprocess.run(command, check=True, capture_output=True, text=True).stdout


def stanzas(text):
    """The paragraphs of a copyright file: dictionaries from field to text, without the marks of empty lines."""
    for paragraph in re.split(r"\n\s*\n", text):
        fields = re.findall(r"^([A-Z][\w-]*):[ \t]*(.*(?:\n[ \t].*)*)", paragraph, re.M)
        if fields:
            yield {name: re.sub(r"^[ \t]+\.[ \t]*$", "", value, flags=re.M).strip("\n") for name, value in fields}


def terms(package, wanted):
    text = Path(f"/usr/share/doc/{package}/copyright").read_text(encoding="utf-8")
    if not wanted:
        return text[text.index("Copyright:"):].partition("\n")[2]
    parts = list(stanzas(text))
    files = [part for part in parts if "Files" in part and set(part["Files"].split()) & set(wanted)]
    names = {name for part in files for name in re.split(r"\s+(?:and|or)\s+", part["License"].partition("\n")[0])}
    quoted = []
    for part in files:
        quoted.append("\n".join(f"{field}: {part[field]}" for field in ("Files", "Copyright", "License", "Comment")
                                if field in part))
    for part in parts:
        if "Files" not in part and part.get("License", "").partition("\n")[0] in names:
            quoted.append("License: " + part["License"])
    return "\n\n".join(quoted)


def block(text):
    lines = [line.rstrip() for line in text.strip("\n").splitlines()]
    return ["", "```text", *lines, "```"]


def page():
    lines = ["# Third-party notices", "",
             "What the binaries of Orvo Screen Capture hold, link or load, as built on Debian 12, with its version and",
             "terms. Written by `scripts/notices.py`."]
    for name, package, use, wanted in COMPONENTS.values():
        version = re.sub(r"^\d+:|-[^-]*$", "", output_of("dpkg-query", "-W", "-f", "${source:Version}", package))
        lines += ["", f"## {name} {version}", "", use[0].upper() + use[1:] + "."]
        lines += block(terms(package, wanted))
    for name in WHOLE_TEXTS:
        lines += ["", f"## The text of {name}", "", f"On Debian systems also in {COMMON / name}."]
        lines += block((COMMON / name).read_text(encoding="utf-8").replace("\f", ""))
    return "\n".join(lines) + "\n"


def used_files(build):
    """Paths of the shared libraries, archives and headers of which the programs in the folder are made."""
    commands = output_of("ninja", "-C", build, "-t", "commands", *PROGRAMS)
    objects = set(re.findall(r"-o (\S+\.o)\b", commands))
    files = set(re.findall(r"(?<=\s)/\S+\.a\b", commands))
    for entry in output_of("ninja", "-C", build, "-t", "deps").split("\n\n"):
        if entry.partition(":")[0] in objects:
            files.update(re.findall(r"^\s+(/usr/\S+)", entry, re.M))
    places = {}
    for name, place in re.findall(r"^\t(\S+) .*=> (\S+)", output_of("/sbin/ldconfig", "-p"), re.M):
        places.setdefault(name, place)
    for binary in ("libOrvoScreenCaptureOSX.so", "orvocap"):
        for name in SONAME.findall(Path(build, binary).read_bytes()):
            if not name.startswith(b"libOrvo"):
                files.add(places.get(name.decode(), name.decode()))
    return {str(Path(file).resolve()) for file in files}


def used_packages(build):
    """Source packages of those files, and what belongs to none."""
    files = used_files(build)
    # Packages know a file below /usr by either of its two names.
    names = sorted(files | {file.removeprefix("/usr") for file in files})
    found = subprocess.run(["dpkg", "-S", *names], capture_output=True, text=True, check=False).stdout
    owners = dict(reversed(line.split(": ", 1)) for line in found.splitlines())
    packages = {package for owner in owners.values() for package in owner.split(", ")}
    sources = output_of("dpkg-query", "-W", "-f", "${source:Package}\n", *packages).splitlines()
    strays = {file for file in files if not {file, file.removeprefix("/usr")} & set(owners)}
    return {source for source in sources if not RUNTIME.match(source)} | strays


def main():
    if sys.argv[1:2] != ["--check"]:
        PAGE.write_text(page(), encoding="utf-8")
        return 0
    used, named = used_packages(sys.argv[2]), set(COMPONENTS)
    for source in sorted(used - named):
        print(f"{PAGE}: {source} is used and not named")
    for source in sorted(named - used):
        print(f"{PAGE}: {source} is named and not used")
    fresh = PAGE.read_text(encoding="utf-8") == page()
    if not fresh:
        print(f"{PAGE} is not up to date: run scripts/notices.py")
    return 0 if fresh and used == named else 1


if __name__ == "__main__":
    sys.exit(main())
