#!/bin/bash
# Prints the non-blank lines of code and of tests, their ratio, and files over 500 lines.
set -euo pipefail

# Tracked and new sources below the given paths, without what .gitignore names.
sources() { git ls-files -z --cached --others --exclude-standard -- "$@" | grep -zE '\.(cpp|c|h|mm)$' | sort -zu || true; }
non_blank() { xargs -0 -r cat | grep -cv '^[[:space:]]*$' || true; }

code=$(sources . ':!tests' | non_blank)
tests=$(sources tests | non_blank)
printf 'code   %6d lines\ntests  %6d lines\n' "$code" "$tests"
awk -v code="$code" -v tests="$tests" 'BEGIN { if (code) printf "ratio  %6.2f\n", tests / code }'
sources . | xargs -0 -r wc -l | awk '$2 != "total" && $1 > 500 { print "over 500 lines: " $2 " (" $1 ")" }'
