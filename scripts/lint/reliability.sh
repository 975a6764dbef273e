#!/bin/bash
# Finds tests that the reliability page names and that do not exist; a name may stand for all of its cases.
set -euo pipefail
page=docs/reliability.md
# The last column of the tables, where each name stands in backquotes.
# shellcheck disable=SC2016 # they are meant as they are
named=$(sed -n 's/^|.*| *\([^|]*\) |$/\1/p' "$page" | grep -o '`[^`]*`' | tr -d '`')
known=$(ctest --test-dir "$1" -N | sed -n 's/^ *Test *#[0-9]*: //p')
status=0
while read -r name; do
    case $name in
        "fuzz "*) [ -f "tests/fuzz/${name#fuzz }.cpp" ] && continue ;;
        *) grep -qE "^${name//./[.]}(/|$)" <<<"$known" && continue ;;
    esac
    echo "$page names the test $name, which does not exist" && status=1
done <<<"$named"
exit "$status"
