#!/bin/bash
# The demo itself, on the display of DISPLAY: opens a few programs, runs the acts, closes what it opened.
set -euo pipefail
orvocap=build/release/orvocap
output=demo-output
programs=()

finish() {
    for program in "${programs[@]}"; do kill "$program" 2>/dev/null || true; done
    wait 2>/dev/null || true
}
trap finish EXIT
trap 'exit 130' INT TERM

# Starts a program and remembers to stop it.
open() {
    "$@" >/dev/null 2>&1 &
    programs+=($!)
}

# Waits until that many windows of programs are mapped.
wait_for_windows() {
    for _ in $(seq 100); do
        [ "$(xdotool search --onlyvisible --class 'xterm|xclock|xeyes|xlogo' 2>/dev/null | wc -l)" -lt "$1" ] || return 0
        sleep 0.1
    done
    echo "demo: not all programs showed a window; going on" >&2
}

open_programs() {
    open xterm -geometry 80x24+40+60 -title 'Orvo demo' -e sh -c 'while :; do date; sleep 0.2; done'
    open xclock -update 1 -geometry 220x220+700+80
    open xeyes -geometry 260x180+760+380
    open xlogo -geometry 160x160+560+520
    wait_for_windows 4
}

# say TEXT, then run the command as a user would type it.
act() {
    printf '\n# %s\n$ %s\n' "$1" "${*:2}"
    "${@:2}"
}

screens_act() { act 'What can be captured' "$orvocap" screens; }

picker_act() {
    act 'The windows, front to back' "$orvocap" windows
    act 'The same as a page with pictures and icons' "$orvocap" picker --out "$output/picker.html"
}

recordings_act() {
    act 'The whole screen for two seconds, a PNG file each frame' \
        "$orvocap" record --screen main --fps 10 --seconds 2 --png "$output/screen"
    act 'The whole screen as a film' \
        "$orvocap" record --screen main --fps 25 --seconds 2 --y4m "$output/screen.y4m"
    act 'A rectangle with the cursor' \
        "$orvocap" record --screen main --rect 40,40,640,400 --cursor --fps 10 --seconds 2 --png "$output/rectangle"
    act 'The same rectangle as a film' \
        "$orvocap" record --screen main --rect 40,40,640,400 --cursor --fps 25 --seconds 2 --y4m "$output/rectangle.y4m"
}

open_programs
# A display that somebody works on keeps its pointer and its background.
if [ "${1-}" = private ]; then
    xsetroot -solid '#35506b'
    xdotool mousemove 560 250
fi
screens_act
picker_act
recordings_act

printf '\n# Written\n'
for entry in "$output"/*; do
    if [ -d "$entry" ]; then
        files=("$entry"/*)
        echo "$entry: ${#files[@]} files, ${files[0]##*/} to ${files[-1]##*/}, $(du -sh "$entry" | cut -f1)"
    else
        echo "$entry: $(du -h "$entry" | cut -f1)"
    fi
done
