#!/bin/bash
# Measures the library beside its limits and its peers; --quick in two minutes. A full run renews docs/performance.md.
set -euo pipefail
source scripts/packages.sh
ORVO_PACKAGES="${peer_packages[*]}" scripts/doors/setup.sh
scripts/build.sh release bench_programs
# The system's own interpreter is the one that has the packages.
exec /usr/bin/python3 -B bench/harness "$@"
