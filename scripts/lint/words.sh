#!/bin/bash
# Fails when the pages together are longer than they may be, as wc -w counts. Every page counts but the changelog, the
# notices and the page of figures, which ./dev bench writes.
set -euo pipefail
at_most() { # LIMIT WHAT PAGES...
    local count
    count=$(cat "${@:3}" | wc -w)
    [ "$count" -le "$1" ] || { echo "$2: $count words, more than $1"; status=1; }
}
status=0
mapfile -t pages < <(git ls-files '*.md' | grep -vxE 'CHANGELOG.md|THIRD-PARTY-NOTICES.md|docs/performance/figures.md')
at_most 8000 'all pages' "${pages[@]}"
at_most 500 README.md README.md
at_most 1200 docs/macos.md docs/macos.md
exit "$status"
