#!/bin/sh
# Prints what the library exports on a system (linux or darwin), one symbol or pattern a line, from the one list of
# exports. A list line may begin with a system and a colon; what follows a # is a comment.
set -eu
list=$(dirname "$0")/../ScreenCapture/api/exports.list
sed -e 's/#.*//' -e 's/[[:space:]]*$//' -e '/^$/d' "$list" | sed -n -e "s/^$1: *//" -e '/:/!p'
