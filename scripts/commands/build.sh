#!/bin/bash
# Builds the library and orvocap into build/release (another preset: ./dev build debug).
set -euo pipefail
scripts/commands/setup.sh build
preset=${1:-release}
first=()
[ -e "build/$preset/CMakeCache.txt" ] || first=(-DORVO_TOOL_UNITY=ON)
exec scripts/build.sh "$preset" ${first[@]+"${first[@]}"} -DORVO_BUILD_TESTS=OFF -DORVO_BUILD_EXAMPLES=OFF -DORVO_BUILD_BENCH=OFF "${@:2}"
