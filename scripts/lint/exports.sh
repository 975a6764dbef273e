#!/bin/bash
# Compares what the built library exports with the list of exports, both ways; a list line may be a pattern.
set -euo pipefail
list=ScreenCapture/api/exports.list
library=$1/libOrvoScreenCaptureOSX.so
mapfile -t wanted < <(scripts/exports.sh linux)
# The name of the symbol version itself is of type A.
mapfile -t found < <(nm -D --defined-only "$library" | awk '$2 != "A" { sub(/@.*/, "", $3); print $3 }' | sort -u)

status=0
for name in "${found[@]}"; do
    known=
    for pattern in "${wanted[@]}"; do
        # shellcheck disable=SC2053 # the right side is a pattern on purpose
        [[ $name != $pattern ]] || known=yes
    done
    [ -n "$known" ] || { echo "$library exports $name, which $list does not name" && status=1; }
done
for pattern in "${wanted[@]}"; do
    known=
    for name in "${found[@]}"; do
        # shellcheck disable=SC2053 # the right side is a pattern on purpose
        [[ $name != $pattern ]] || known=yes
    done
    [ -n "$known" ] || { echo "$list names $pattern, which $library does not export" && status=1; }
done

# The patterns of the list stand for many names. Those of functions and objects are kept one by one: none of them goes, or
# comes unnoticed. (The others, weak ones, differ between compilers.)
kept=tests/host/symbols.txt
if ! changes=$(diff "$kept" <(nm -D --defined-only "$library" | awk '$2 ~ /^[TDB]$/ { sub(/@.*/, "", $3); print $3 }' | LC_ALL=C sort)); then
    echo "$kept (<) and what $library exports (>) differ; hosts are linked against these names:"
    grep '^[<>]' <<<"$changes"
    status=1
fi

# Every public record says its size.
while read -r record; do
    grep -qs "^ORVO_RECORD_SIZE($record," include/orvo/*.h || { echo "no ORVO_RECORD_SIZE holds the size of $record" && status=1; }
done < <(sed -n 's/^typedef struct \(.*\) {$/\1/p' include/orvo/*.h)

exit "$status"
