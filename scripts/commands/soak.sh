#!/bin/bash
# Churns every feature for MINUTES (30) and plots what it costs; fails when memory, descriptors or server objects grow.
set -euo pipefail
minutes=${1:-30}
case $minutes in
    '' | *[!0-9.]*)
        echo "usage: ./dev soak [MINUTES]" >&2
        exit 2
        ;;
esac
scripts/commands/setup.sh build demo test
scripts/build.sh release x11_tests
out=build/soak
rm -rf "$out"
mkdir -p "$out"
status=0
ORVO_TEST_SOAK_MINUTES=$minutes ORVO_TEST_SOAK_CSV=$out/soak.csv build/release/x11_tests --gtest_filter='Soak.*' \
    2>&1 >/dev/null | tee "$out/soak.txt" || status=1
[ "$status" -eq 0 ] || echo "soak: FAILED" >&2

# The picture wants a package that nothing else does.
if /usr/bin/python3 -c 'import matplotlib' 2>/dev/null; then
    /usr/bin/python3 scripts/soak-plot.py "$out/soak.csv" "$out/soak.png"
    echo "soak: $out/soak.csv, $out/soak.png"
else
    echo "soak: $out/soak.csv; install python3-matplotlib for a picture"
fi
exit "$status"
