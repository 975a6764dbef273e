#!/bin/bash
# The commands and the CMake file of docs/quick-start.md do what the page says, with a home folder of its own.
# usage: quick_start_test.sh SOURCE_FOLDER BUILD_FOLDER COMPILER [FLAGS...]
set -euo pipefail
root=$1
export build=$2 # named by a command that is evaluated
flags=("${@:4}")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
export HOME=$work CC=$3 CFLAGS="${flags[*]}" PATH=$work/orvo/bin:$PATH
cc() { command "$CC" "${flags[@]}" "$@"; }
# The N-th block of a language.
block() { awk -v fence="^\`\`\`$1\$" -v n="$2" '$0 ~ fence { i++; inside = 1; next } /^```$/ { inside = 0 } inside && i == n' "$root/docs/quick-start.md"; }

# The build is there already, in another folder perhaps.
install=$(block sh 1 | grep '^cmake --install build/release ')
eval "${install/build\/release/\"\$build\"}" >/dev/null
cd "$work"
block sh 2 >see.sh
"$root/scripts/with-xvfb.sh" bash -eu see.sh >/dev/null 2>&1
[ -s screen.png ]

cp "$root/examples/minimal.c" .
block cmake 1 >CMakeLists.txt
eval "$(block sh 3)" >cmake.log 2>&1 || { cat cmake.log >&2; exit 1; }
"$root/scripts/with-xvfb.sh" build/host
eval "$(block sh 4)"
"$root/scripts/with-xvfb.sh" ./host
