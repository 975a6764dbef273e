#!/bin/bash
# Fails when the tests are a larger share of the code than they were; the limit only ever goes down.
set -euo pipefail
limit=0.34
ratio=$(scripts/commands/stats.sh | awk '$1 == "ratio" { print $2 }')
awk -v ratio="$ratio" -v limit="$limit" 'BEGIN {
    if (ratio <= limit) exit 0
    printf "tests are %.2f of the code, more than %.2f: give up weaker tests for new ones\n", ratio, limit
    exit 1
}'
