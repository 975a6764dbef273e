#!/usr/bin/env python3
"""Prints a host in C that calls every function of the C interface with nothing in every argument.

usage: every_export.py INCLUDE_FOLDER < NAMES   NAMES: what the library exports, a symbol a line
"""
import re
import sys
from pathlib import Path

FIRST, LAST = "orvo_screencapture_init", "orvo_screencapture_uninit"
FUNCTION = re.compile(r'^ORVO_API [^;(]*?(orvo_\w+)\(([^;"]*?)\)(?:\s+ORVO_SYMBOL\("(\w+)"\))?;', re.M)

# C sees nothing of what stands between these marks.
CXX_ONLY = re.compile(r"#ifdef __cplusplus\n.*?#(?:endif|else)", re.S)
functions, symbols = {}, set()
headers = sorted(Path(sys.argv[1], "orvo").glob("*.h"))
for header in headers:
    for name, parameters, symbol in FUNCTION.findall(CXX_ONLY.sub("", header.read_text(encoding="utf-8"))):
        functions[name] = 0 if parameters == "void" else parameters.count(",") + 1
        symbols.add(symbol or name)
names = set(sys.stdin.read().split())
exported = {name for name in names if re.match(r"orvo_(screencapture|windowthumbnail|pixelbuffer)_", name)}
if not exported <= symbols <= names:
    sys.exit(f"every_export: exported or declared only: {sorted(exported - symbols | symbols - names)}")
print(*(f"#include <orvo/{header.name}>" for header in headers), "#include <stdio.h>", "int main(void) {", sep="\n")
for name in [FIRST, *sorted(set(functions) - {FIRST, LAST}), LAST]:
    print(f'    puts("{name}");\n    fflush(stdout);\n    (void){name}({", ".join(["0"] * functions[name])});')
print("    return 0;\n}")
