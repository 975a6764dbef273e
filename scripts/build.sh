#!/bin/bash
# Configures and builds a preset: build.sh PRESET [-DOPTION=VALUE...] [TARGET...].
set -euo pipefail
preset=$1
shift
options=()
while [[ ${1-} == -D* ]]; do
    options+=("$1")
    shift
done
# Configuring prints little that is new; it is shown only when it fails.
mkdir -p "build/$preset"
# Older shells, a Mac's among them, take an empty array for one that is not set.
if ! cmake --preset "$preset" ${options[@]+"${options[@]}"} >"build/$preset/configure.log" 2>&1; then
    cat "build/$preset/configure.log" >&2
    exit 1
fi
cmake --build --preset "$preset" --parallel "${ORVO_JOBS:-$(getconf _NPROCESSORS_ONLN)}" ${1+--target "$@"}
