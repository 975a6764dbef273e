#!/bin/bash
# Builds the library and orvocap into build/release (another preset: ./dev build debug).
set -euo pipefail
scripts/commands/setup.sh build
preset=${1:-release}
exec scripts/build.sh "$preset" -DORVO_BUILD_TESTS=OFF -DORVO_BUILD_EXAMPLES=OFF -DORVO_BUILD_BENCH=OFF "${@:2}"
