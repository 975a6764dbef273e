#!/bin/bash
# Runs shellcheck over every shell script.
set -euo pipefail
git ls-files -z --cached --others --exclude-standard dev .ci/run '*.sh' |
    xargs -0 -r shellcheck --exclude=SC2317 --external-sources --source-path=.
