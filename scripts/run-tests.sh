#!/bin/bash
# Builds the preset named as the first argument and runs its tests; what follows goes to ctest.
set -euo pipefail
preset=$1
shift
scripts/commands/setup.sh build demo test example
scripts/build.sh "$preset"
ctest --preset "$preset" "$@"
