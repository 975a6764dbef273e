#!/bin/bash
# Builds the fuzzers and runs them, 10 seconds each, two at a time: ./dev fuzz [NAME] [SECONDS].
set -euo pipefail
name=
seconds=10
for argument in "$@"; do
    case $argument in
        '' | *[!0-9]*) name=$argument ;;
        *) seconds=$argument ;;
    esac
done
if [ -n "$name" ] && [ ! -f "tests/fuzz/$name.cpp" ]; then
    echo "fuzz: there is no tests/fuzz/$name.cpp" >&2
    exit 2
fi
scripts/commands/setup.sh build demo test
scripts/build.sh fuzz
mkdir -p build/fuzz/found
export seconds

# What was learnt is kept in the build's folder for the next run; an input that ends a fuzzer stays in found/.
one() {
    local corpus=build/fuzz/learnt/$1 log=build/fuzz/$1.log
    mkdir -p "$corpus"
    if build/fuzz/fuzz_"$1" -max_total_time="$seconds" -timeout=10 -rss_limit_mb=2048 -max_len=2048 \
        -artifact_prefix="build/fuzz/found/$1-" "$corpus" "tests/fuzz/corpus/$1" >"$log" 2>&1; then
        echo "fuzz: $1: $(tail -n 1 "$log")"
    else
        grep -v '^#' "$log" | tail -n 40 >&2
        echo "fuzz: $1 FAILED; run build/fuzz/fuzz_$1 with the input in build/fuzz/found" >&2
        return 1
    fi
}
export -f one
# shellcheck disable=SC2016 # the inner shell reads its own argument
for source in tests/fuzz/${name:-*}.cpp; do basename "$source" .cpp; done | grep -vx seeded | xargs -n 1 -P 2 bash -c 'one "$1"' one
