#!/bin/bash
# Fails when clang-format would change a source.
set -euo pipefail
git ls-files -z --cached --others --exclude-standard '*.cpp' '*.c' '*.h' '*.mm' |
    xargs -0 -r clang-format --dry-run -Werror
