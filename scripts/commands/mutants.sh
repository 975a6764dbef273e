#!/bin/bash
# Plants faults in a copy of the sources, one after another, and prints how many the tests catch; WORD... chooses some.
set -euo pipefail
scripts/commands/setup.sh build demo test
exec python3 tests/mutants/run.py . build/mutants "$@"
