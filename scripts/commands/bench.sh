#!/bin/bash
# Measures the library beside its limits and its peers; --quick in two minutes. A full run renews docs/performance.md.
set -euo pipefail
source scripts/packages.sh
# shellcheck disable=SC2154 # of packages.sh
scripts/commands/setup.sh "${peer_packages[@]}"
scripts/build.sh release bench_programs
# The system's own interpreter is the one that has the packages.
exec /usr/bin/python3 -B bench/harness "$@"
