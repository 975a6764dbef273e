#!/bin/bash
# Shows the library at work on this display, or on one it starts itself; pictures and videos go to demo-output.
set -euo pipefail
scripts/commands/setup.sh demo
scripts/commands/build.sh
rm -rf demo-output
mkdir -p demo-output
if [ -n "${DISPLAY-}" ]; then
    exec scripts/demo-scene.sh
fi
echo "demo: no DISPLAY, so on a private Xvfb"
exec scripts/with-xvfb.sh scripts/demo-scene.sh private
