#!/bin/bash
# Compares the C interface of the built library, records and functions, with the recorded one; --record, after the folder,
# records it again: every change there is one that hosts see.
set -euo pipefail
library=$1/libOrvoScreenCaptureOSX.so
record=scripts/lint/interface.abi
if [ "$(uname -m)" != x86_64 ]; then
    echo "$record is of x86_64; nothing is compared here"
    exit 0
fi
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
# The C interface stands in the list of exports before the log core; tests/host/symbols.txt has the rest.
{ echo '[abi_whitelist]'; sed -e '/^# log core/,$d' -e 's/^linux: //' -e '/^#/d' -e '/:$/d' ScreenCapture/api/exports.list; } >"$work/names"
abidw --kmi-whitelist "$work/names" --exported-interfaces-only --headers-dir include/orvo --drop-private-types \
    --no-elf-needed --no-show-locs --no-comp-dir-path --no-corpus-path --out-file "$work/interface.abi" "$library"
if [ "${2-}" = --record ]; then
    cp "$work/interface.abi" $record
    exit 0
fi
abidiff $record "$work/interface.abi" >"$work/changes" && exit 0
cat "$work/changes"
echo "the interface differs from $record; when that is meant: scripts/lint/abi.sh $1 --record"
exit 1
