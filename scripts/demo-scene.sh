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

# The number of the newest window of a class.
window_of() { xdotool search --onlyvisible --class "$1" 2>/dev/null | tail -n 1; }

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
    act 'The whole screen as a video' \
        "$orvocap" record --screen main --fps 25 --seconds 2 --y4m "$output/screen.y4m"
    act 'A rectangle with the cursor' \
        "$orvocap" record --screen main --rect 40,40,640,400 --cursor --fps 10 --seconds 2 --png "$output/rectangle"
    act 'The same rectangle as a video' \
        "$orvocap" record --screen main --rect 40,40,640,400 --cursor --fps 25 --seconds 2 --y4m "$output/rectangle.y4m"
}

# A window under another one, the same with bars above and below, and the screen without one of its windows.
windows_act() {
    local xterm xlogo
    xterm=$(window_of xterm)
    xlogo=$(window_of xlogo)
    xdotool windowmove "$xlogo" 200 160 windowactivate "$xlogo"
    act 'A window that another one covers: its own content all the same' \
        "$orvocap" record --window "$xterm" --fps 10 --seconds 1 --png "$output/window-covered"
    act 'The area under it, with what covers it' \
        "$orvocap" record --window "$xterm" --mode area --fps 10 --seconds 1 --png "$output/window-area"
    act 'The window in a square, with bars' \
        "$orvocap" record --window "$xterm" --size 400x400 --fit letterbox --fps 10 --seconds 1 \
        --png "$output/window-letterbox"
    act 'Two windows at once, each with a video of its own' \
        "$orvocap" record --window "$xterm" --extra "$xlogo" --fps 15 --seconds 1 --y4m "$output/video.y4m"
    act 'The screen without the window in front; the root has no picture, so it is black' \
        "$orvocap" record --screen main --exclude "$xlogo" --fps 10 --seconds 1 --png "$output/screen-without-xlogo"
}

# What a user does to the watched window.
drive() {
    sleep 1
    xdotool windowmove "$1" 640 120
    sleep 1
    xdotool windowsize "$1" 300 300
    sleep 1
    xdotool windowminimize "$1"
    sleep 1
    xdotool windowmap "$1"
    sleep 1
    kill "$2"
}

# A watch whose window is closed ends with 1, as a capture that has failed.
events_act() {
    local status=0
    open xclock -update 1 -geometry 200x200+900+560
    local clock=${programs[-1]}
    wait_for_windows 5
    local window
    window=$(xdotool search --onlyvisible --pid "$clock" 2>/dev/null | tail -n 1 || true)
    [ -n "$window" ] || window=$(window_of xclock)
    drive "$window" "$clock" &
    programs+=($!)
    act 'What happens to a window while it is moved, resized, minimised, restored and closed' \
        "$orvocap" watch --window "$window" --seconds 10 | tee "$output/events.txt" || status=$?
    echo "(the watch ended with $status: its window was closed)"
}

open_programs
# A display that a user works on keeps its pointer and its background.
if [ "${1-}" = private ]; then
    xsetroot -solid '#35506b'
    xdotool mousemove 560 250
fi
screens_act
picker_act
recordings_act
windows_act
events_act

printf '\n# Written\n'
for entry in "$output"/*; do
    if [ -d "$entry" ]; then
        files=("$entry"/*)
        echo "$entry: ${#files[@]} files, ${files[0]##*/} to ${files[-1]##*/}, $(du -sh "$entry" | cut -f1)"
    else
        echo "$entry: $(du -h "$entry" | cut -f1)"
    fi
done
