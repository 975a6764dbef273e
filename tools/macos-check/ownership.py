#!/usr/bin/env python3
"""Checks that Core Foundation references change hands as their functions' names say.

What a Create or Copy function answers goes straight into adopt(), or comes through out(); what a Get function answers
goes into retain(), never into adopt(). The static analyser does not look into the RAII type, this does.
"""
import re
import sys

OWNED = re.compile(r"\b(?:CF|CG|CV|CM|AX)[A-Za-z]*(?:Create|Copy)[A-Za-z0-9]*\s*\(")
WRAPPED = re.compile(r"::adopt\(\s*$")
WRONG = (
    (re.compile(r"::retain\(\s*\w*(?:Create|Copy)\w*\s*\("), "a reference that is owned already is retained"),
    (re.compile(r"::adopt\(\s*(?:CF|CG|CV|CM|AX)[A-Za-z]*Get\w*\s*\("), "a borrowed reference is adopted"),
)
# Looked up when the process runs, so their calls do not carry their names.
LOOKED_UP = re.compile(r"functions\(\)\.\w+\(\s*(?!\))")
COMMENT_OR_TEXT = re.compile(r'//[^\n]*|"(?:[^"\\]|\\.)*"')


def blank(match):
    return " " * len(match.group())


def arguments(text, start):
    """The text between the bracket before `start` and the one that closes it."""
    depth = 1
    for end in range(start, len(text)):
        depth += {"(": 1, ")": -1}.get(text[end], 0)
        if depth == 0:
            return text[start:end]
    return text[start:]


def findings(text):
    text = COMMENT_OR_TEXT.sub(blank, text)
    for pattern in (OWNED, LOOKED_UP):
        for match in pattern.finditer(text):
            adopted = WRAPPED.search(text, 0, match.start())
            if not adopted and ".out()" not in arguments(text, match.end()):
                yield match.start(), "an owned reference goes into neither adopt() nor out()"
    for pattern, what in WRONG:
        for match in pattern.finditer(text):
            yield match.start(), what


def main():
    failed = False
    for path in sys.argv[1:]:
        with open(path, encoding="utf-8") as file:
            text = file.read()
        for position, what in findings(text):
            failed = True
            print(f"{path}:{text.count(chr(10), 0, position) + 1}: {what}")
    sys.exit(failed)


main()
