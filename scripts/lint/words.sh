#!/bin/bash
# Fails when the pages together are longer than they may be. Every page counts but the changelog, the notices and what
# ./dev bench writes; a word has a letter or a digit, so the lines of a table are none.
set -euo pipefail
words() { sed '/<!-- figures: /,/<!-- end of the figures /d' "$@" | grep -oE '[^[:space:]]+' | grep -c '[[:alnum:]]'; }
at_most() { # LIMIT WHAT PAGES...
    local count
    count=$(words "${@:3}")
    [ "$count" -le "$1" ] || { echo "$2: $count words, more than $1"; status=1; }
}
status=0
mapfile -t pages < <(git ls-files '*.md' | grep -vxE 'CHANGELOG.md|THIRD-PARTY-NOTICES.md|docs/performance/.*')
at_most 8000 'all pages' "${pages[@]}"
at_most 500 README.md README.md
at_most 1200 docs/macos.md docs/macos.md
exit "$status"
