#!/bin/bash
# One kind of trouble, numbers 0 to LAST of it, each in a process and a folder of its own.
# usage, on a display of its own: trouble_test.sh TROUBLE_HOST TROUBLE LAST
set -euo pipefail
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
chmod 755 "$work"
for number in $(seq 0 "$3"); do
    mkdir "$work/$number"
    status=0
    "$1" "$2" "$number" "$work/$number" || status=$?
    [ "$status" != 77 ] || exit 0 # nothing of that number is left to go wrong
    [ "$status" = 0 ] || { echo "trouble_test: $2 $number ended with $status" >&2; exit 1; }
done
