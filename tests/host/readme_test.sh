#!/bin/bash
# The C host that the README prints is examples/minimal.c, compiles without a warning and runs.
# usage: readme_test.sh SOURCE_FOLDER BUILD_FOLDER COMPILER [FLAGS...]
set -euo pipefail
root=$1
build=$2
compile=("${@:3}")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

awk '/^```c$/ { inside = 1; next } /^```$/ { inside = 0 } inside' "$root/README.md" >"$work/minimal.c"
diff "$root/examples/minimal.c" "$work/minimal.c"
"${compile[@]}" -std=c11 -Wall -Wextra -Wpedantic -Werror -I"$root/include" "$work/minimal.c" \
    -L"$build" -lOrvoScreenCaptureOSX -Wl,-rpath,"$build" -o "$work/minimal"
"$root/scripts/with-xvfb.sh" "$work/minimal"
