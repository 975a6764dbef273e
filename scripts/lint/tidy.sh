#!/bin/bash
# Runs clang-tidy over the sources of the product that the given build knows, as many at a time as there are cores; what
# is compiled as one is checked as one.
# A source that passed is not checked again until it, a header or the settings change.
set -euo pipefail
build=$1
stamps=$build/tidy
mkdir -p "$stamps"
base=$(git ls-files -z --cached --others --exclude-standard '*.h' .clang-tidy 'CMake*' 'cmake/*' | xargs -0 cat | sha1sum | cut -c1-40)
export build stamps base

one() {
    local stamp
    stamp=$stamps/$({
        cat "$1"
        [[ $1 != */Unity/* ]] || sed -n 's/^#include "\(.*\)"$/\1/p' "$1" | xargs cat
        echo "$1 $base"
    } | sha1sum | cut -c1-40)
    [ ! -e "$stamp" ] || return 0
    # Only the summary of suppressed warnings goes to the error stream.
    clang-tidy --quiet --extra-arg=-Wno-unknown-warning-option -p "$build" "$1" 2>"$stamp.log" && mv "$stamp.log" "$stamp" && return 0
    grep -v 'warnings generated' "$stamp.log" >&2 || true
    rm -f "$stamp.log"
    return 1
}
export -f one
# shellcheck disable=SC2016 # the inner shell reads its own argument
sed -n 's/^ *"file": "\(.*\)",*$/\1/p' "$build/compile_commands.json" | sort -u |
    grep -e '/Unity/unity' -e "^$PWD/\(ScreenCapture\|common\|xplatform\|tools\|bench\|examples\)/.*\.cpp$" |
    xargs -r -n 1 -P "$(nproc)" bash -c 'one "$1"' one
