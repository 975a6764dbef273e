#!/bin/bash
# Makes the pages of the C interface in build/docs/html; a word that is missing in a header is an error.
set -euo pipefail
scripts/commands/setup.sh lint
scripts/lint/docs.sh
echo 'docs: build/docs/html/index.html'
