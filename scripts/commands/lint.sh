#!/bin/bash
# Checks format, clang-tidy, shell scripts, the floors and words of the sources, the exports and the tests' share; --quick leaves clang-tidy out.
set -uo pipefail
quick=
[ "${1-}" != --quick ] || quick=yes
scripts/commands/setup.sh || exit 1
scripts/build.sh release || exit 1

failed=0
check() {
    local start=$SECONDS result=ok
    "${@:2}" || { result=FAILED; failed=1; }
    printf 'lint: %-10s %s (%d s)\n' "$1" "$result" $((SECONDS - start))
}
check format scripts/lint/format.sh
check shell scripts/lint/shell.sh
check floors python3 scripts/lint/floors.py
check text python3 scripts/lint/text.py
check types mypy --strict bindings/python/orvo examples/python
check version scripts/lint/version.sh
check exports scripts/lint/exports.sh build/release
check abi scripts/lint/abi.sh build/release
check faults scripts/lint/reliability.sh build/release
check notices scripts/notices.py --check build/release
check docs scripts/lint/docs.sh
check ratio scripts/lint/ratio.sh
check words scripts/lint/words.sh
[ -n "$quick" ] || check tidy scripts/lint/tidy.sh build/release
exit "$failed"
