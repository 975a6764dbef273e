#!/bin/sh
# Prints the linker's version script for the list of exports named as the only argument.
# A list line is a symbol or a pattern; what follows a # is a comment.
set -eu
echo "ORVO_1 {"
echo "  global:"
sed -e 's/#.*//' -e 's/[[:space:]]*$//' -e '/^$/d' -e 's/.*/    &;/' "$1"
echo "  local: *;"
echo "};"
