#!/bin/bash
# orvocap's pages: the manual page is clean roff and knows every option of --help, the completions complete.
# usage: pages_test.sh ORVOCAP FOLDER_OF_PAGES
set -euo pipefail
orvocap=$1 pages=$2
failed=0
expect() { # WHAT EXPECTED ACTUAL
    [ "$2" = "$3" ] || { printf '%s: expected "%s", got "%s"\n' "$1" "$2" "$3" >&2; failed=1; }
}

expect 'a date' 1 "$(grep -c '^.TH ORVOCAP 1 "20[0-9-]*" ' "$pages/orvocap.man")"
messages=$(mktemp)
trap 'rm -f "$messages"' EXIT
manual=$(groff -man -Tascii -P-c -P-b -P-u -ww "$pages/orvocap.man" 2>"$messages")
expect 'messages of groff' '' "$(cat "$messages")"
for command in screens windows picker shot record watch log doctor bench; do
    for option in $("$orvocap" "$command" --help | grep -oE -- '^ +(-[a-z], )?--[a-z0-9-]+' | sed 's/.*--/--/'); do
        [ "$option" = --help ] || sed -n "/^   orvocap $command\$/,/^   orvocap/p" <<<"$manual" |
            grep -qE -- "^ +(-[a-z], )?$option( |\$)" || { echo "the manual lacks $command $option" >&2; failed=1; }
    done
done

# shellcheck source=/dev/null
source "$pages/orvocap.bash"
complete_bash() { # WORDS...: prints what the last word becomes
    COMP_WORDS=(orvocap "$@") COMP_CWORD=$#
    _orvocap
    echo "${COMPREPLY[*]}"
}
cd "$pages"
expect 'a command' 'record' "$(complete_bash rec)"
expect 'an option' '--follow' "$(complete_bash log --fo)"
expect 'an option of a group' '--y4m' "$(complete_bash record --y)"
expect 'a choice' 'fill' "$(complete_bash record --fit f)"
orvocap() { printf '%-6s %-10s 10x10 at 0,0 name\n' "${1%s}" 123 screen 9; }
expect 'a window' 'pick 123' "$(complete_bash record --window '')"
expect 'a screen' '123 9' "$(complete_bash shot -s '' | sed 's/main //')"
unset -f orvocap
expect 'a file' 'orvocap.man' "$(complete_bash record --y4m orvocap.m)"
expect 'a file without an option' 'orvocap.man' "$(complete_bash log orvocap.m)"
expect 'a number that cannot be known' '' "$(complete_bash record --fps '')"

# zsh, with its own functions replaced by what tells their arguments.
complete_zsh() { # WORDS...
    zsh -f -c 'compdef() {}; _describe() { print -rl -- $commands; }
        _arguments() { print -rl -- "$@"; }
        words=(orvocap "${@:2}") CURRENT=$#; source "$1"' zsh "$pages/orvocap.zsh" "$@"
}
expect 'zsh: an option' '--fit[how the picture fills the size; letterbox by default]:letterbox|fill|stretch:(letterbox fill stretch)' \
    "$(complete_zsh record --f | grep -- '^--fit')"
expect 'zsh: two names' 2 "$(complete_zsh log --f | grep -c -- '^(-f --follow)-')"
expect 'zsh: a window' 2 "$(complete_zsh shot --w | grep -c ':_orvocap_listed windows pick')"
expect 'fish: a choice' 1 "$(grep -c -- "-n '__fish_seen_subcommand_from shot' -l fit -x -a 'letterbox fill stretch' -d" "$pages/orvocap.fish")"
expect 'zsh: an option of orvocap' 2 "$(complete_zsh '' | grep -c -- '^(-V --version)')"
exit "$failed"
