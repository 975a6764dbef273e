#!/bin/bash
# Configures and builds one preset, named as the first argument; what follows are targets.
set -euo pipefail
preset=$1
shift
# Configuring prints little that is new; it is shown only when it fails.
mkdir -p "build/$preset"
if ! cmake --preset "$preset" >"build/$preset/configure.log" 2>&1; then
    cat "build/$preset/configure.log" >&2
    exit 1
fi
cmake --build --preset "$preset" --parallel "${ORVO_JOBS:-$(nproc)}" ${1+--target "$@"}
