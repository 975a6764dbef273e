#!/bin/bash
# Fails when the pages together are longer than they may be; tables of calls and what ./dev bench writes do not count.
set -euo pipefail
words=$(cat README.md CONTRIBUTING.md SECURITY.md docs/*.md | sed '/<!-- figures: /,/<!-- end of the figures /d' | wc -w)
words=$((words - $(wc -w <docs/macos-calls.md)))
[ "$words" -le 8000 ] || { echo "the pages have $words words, more than 8000"; exit 1; }
[ "$(wc -w <README.md)" -le 500 ] || { echo 'README.md has more than 500 words'; exit 1; }
[ "$(wc -w <docs/macos.md)" -le 1200 ] || { echo 'docs/macos.md has more than 1200 words'; exit 1; }
