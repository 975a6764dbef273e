#!/bin/bash
# orvocap shot shows the colours that are on the screen; orvocap doctor tells what a server lacks.
# usage, on a display of its own: tool_test.sh ORVOCAP PART
set -euo pipefail
orvocap=$1
work=$(mktemp -d)
trap 'rm -rf "$work"; kill $(jobs -p) 2>/dev/null || true' EXIT
failed=0
expect() { # WHAT EXPECTED ACTUAL
    [ "$2" = "$3" ] || { printf '%s: expected "%s", got "%s"\n' "$1" "$2" "$3" >&2; failed=1; }
}
# What a command ends with; what it prints is in the file out.
code_of() {
    local code=0
    "$@" >"$work/out" 2>"$work/err" || code=$?
    echo "$code"
}

# pixel FILE X Y: size of a picture and one of its pixels.
pixel() {
    /usr/bin/python3 -c 'import sys; from PIL import Image; image = Image.open(sys.argv[1]).convert("RGB")
print("%dx%d #%02x%02x%02x" % (*image.size, *image.getpixel(tuple(map(int, sys.argv[2:])))))' "$@"
}

# On the screen: one colour, and a window of another.
show() {
    xsetroot -solid '#20c060'
    xclock -bg '#c02060' -geometry 200x150+700+300 &
    shot=("$orvocap" shot --force --out "$work/shot.png")
    # The window manager may still be at work on the window: for a moment it is not on screen.
    for _ in $(seq 20); do
        code=$(code_of "${shot[@]}" --class xclock)
        [ "$code" != 0 ] || break
        sleep 0.1
    done
    expect 'a shot of a window' 0 "$code"
}

part_shots() {
    show
    expect 'a shot of the screen' 0 "$(code_of "${shot[@]}" --screen main)"
    expect 'the screen' '1280x800 #20c060' "$(pixel "$work/shot.png" 5 795)"
    expect 'a shot of a rectangle' 0 "$(code_of "${shot[@]}" --rect 690,290,31,41)"
    expect 'the rectangle' '31x41 #20c060' "$(pixel "$work/shot.png" 0 0)"
    code_of "${shot[@]}" --class xclock >/dev/null
    expect 'the window' '200x150 #c02060' "$(pixel "$work/shot.png" 1 1)"
    expect 'a rectangle beside the screen' 2 "$(code_of "${shot[@]}" --screen main --rect 1270,0,30,30)"
    for level in error info; do
        code_of "$orvocap" shot --log-level "$level" --out -
        cmp -n 8 "$work/out" "$work/shot.png" || true
        sed -n 's/.*\[notice\].*/log/p' "$work/err" | sort -u
    done >"$work/logs"
    expect 'the log beside a picture' '0 0 log' "$(paste -sd' ' "$work/logs")"
    expect 'a folder that is not there' 1 "$(code_of "$orvocap" shot --screen main --out "$work/none/shot.png")"
    expect 'a picture that is there' 1 "$(code_of "$orvocap" shot --out "$work/shot.png" </dev/null)"
    expect 'a name of another format' 2 "$(code_of "$orvocap" shot --out "$work/shot.jpg")"
}

part_clicks() {
    show
    for click in '400 1' '310 1' '400 3'; do # the window, its title bar, the wrong button
        (sleep 1 && xdotool mousemove 800 "${click% *}" click "${click#* }") &
        code_of "${shot[@]}" --window pick
    done >"$work/codes"
    expect 'a window that is clicked' '0 0 3' "$(paste -sd' ' "$work/codes")"
}

part_doctor() {
    show
    expect 'a healthy server' 0 "$(code_of "$orvocap" doctor)"
    expect 'its windows' 'works    windows: 1 on screen' "$(grep ' windows: ' "$work/out")"
    expect 'findings on it' '' "$(grep -v '^works' "$work/out" || true)"
    expect 'what capture costs' 0 "$(code_of "$orvocap" bench --screen main --seconds 0.5 --json)"
    expect 'its figures' '1280 True True True' "$(python3 -c 'import json,sys; c = json.load(sys.stdin)
print(c["width"], c["frames"] > 0, c["serverMillisecondsPerFrame"] is not None, c["copyMillisecondsPerFrame"] > 0)' <"$work/out")"
    xsetroot -solid black
    kill %1
    wait %1 2>/dev/null || true
    expect 'a black screen' 0 "$(code_of "$orvocap" doctor)"
    expect 'its finding' 1 "$(grep -c '^limited  picture' "$work/out" || true)"
}

part_misuse() {
    expect 'no display' 1 "$(code_of env -u DISPLAY "$orvocap" doctor --json)"
    expect 'its findings' "['display']" "$(python3 -c \
        'import json,sys; print([i["subject"] for i in json.load(sys.stdin) if i["state"] == "broken" and i["advice"]])' <"$work/out")"

    for endless in /dev/zero "$work/pipe"; do
        [ -e "$endless" ] || mkfifo "$endless"
        expect "a log of $endless" 1 "$(code_of timeout 5 "$orvocap" log "$endless")"
    done
    expect 'a slip of the fingers' 2 "$(code_of "$orvocap" recrod)"
    expect 'its correction' 1 "$(grep -c 'did you mean record?' "$work/err")"
    expect 'a dead display' 1 "$(code_of env DISPLAY=:65000 "$orvocap" doctor)"
    expect 'its finding' 1 "$(grep -c '^broken   display: no screen on display :65000' "$work/out" || true)"
}

part_lacks() {
    # Each lack is told, with what to do, and capture goes on without it.
    mkfifo "$work/display"
    for lacking in MIT-SHM Composite RANDR DAMAGE; do
        Xvfb -displayfd 3 -nolisten tcp -noreset -extension "$lacking" 3>"$work/display" 2>/dev/null &
        server=$!
        read -r -t 20 number <"$work/display"
        DISPLAY=":$number" xsetroot -solid "#20c060"
        expect "a server without $lacking" 0 "$(code_of env DISPLAY=":$number" "$orvocap" doctor)"
        expect "findings without $lacking" "verdict,extension $lacking,window manager" \
            "$(sed -n 's/^limited  \([^:]*\):.*/\1/p' "$work/out" | paste -sd,)"
        expect "advice without $lacking" 2 "$(grep -c '^         -> ' "$work/out" || true)"
        kill "$server"
    done
}

"part_$2"
exit "$failed"
