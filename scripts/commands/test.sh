#!/bin/bash
# Builds and runs the tests; --full also runs the long loops; other options go to ctest.
set -euo pipefail
options=()
for option in "$@"; do
    if [ "$option" = --full ]; then
        export ORVO_TEST_FULL=1
    else
        options+=("$option")
    fi
done
exec scripts/run-tests.sh release ${options[@]+"${options[@]}"}
