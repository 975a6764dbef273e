#!/bin/bash
# Measures the library beside its limits and its peers; --quick in two minutes, --costs the table of its page alone.
set -euo pipefail
scripts/commands/setup.sh build demo test example bench peers
scripts/build.sh release orvo_bench
# The system's own interpreter is the one that has the packages.
exec /usr/bin/python3 -B bench/harness "$@"
