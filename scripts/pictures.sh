#!/bin/bash
# Makes the pictures of docs/pictures again, with the product itself on a private X server: scripts/pictures.sh
set -euo pipefail
if [ "${1-}" != inside ]; then
    cd "$(dirname "$0")/.."
    ORVO_SCREEN=960x600x24 exec scripts/with-xvfb.sh scripts/pictures.sh inside
fi
orvocap=build/release/orvocap
programs=()
work=$(mktemp -d)
trap 'kill "${programs[@]}" 2>/dev/null || true; wait 2>/dev/null || true; rm -rf "$work"' EXIT

xsetroot -solid '#35506b'
xterm -geometry 70x22+40+60 -title 'Orvo' -e sh -c "$orvocap doctor; sleep 60" & programs+=($!)
xclock -geometry 220x220+640+60 & programs+=($!)
xlogo -geometry 200x160+330+380 & programs+=($!)
xdotool search --sync --onlyvisible --class XTerm >/dev/null
xdotool search --sync --onlyvisible --class XLogo >/dev/null
sleep 3 # what the terminal prints
mkdir -p docs/pictures
"$orvocap" shot --force --screen main --out docs/pictures/desktop.png
covered=$(xdotool search --onlyvisible --class XTerm | tail -n 1)
"$orvocap" shot --force --window "$covered" --out docs/pictures/covered-window.png
if command -v chromium >/dev/null; then
    "$orvocap" picker --out "$work/picker.html"
    chromium --headless --no-sandbox --disable-gpu --hide-scrollbars --window-size=960,600 \
        --screenshot="$PWD/docs/pictures/picker-page.png" "file://$work/picker.html" >/dev/null 2>&1
fi
ls -l docs/pictures
