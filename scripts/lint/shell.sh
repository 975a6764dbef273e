#!/bin/bash
# Runs shellcheck over every shell script, and finds what a Mac's bash, which is 3.2, does not know in those that run there.
set -euo pipefail
git ls-files -z --cached --others --exclude-standard dev .ci/run '*.sh' |
    xargs -0 -r shellcheck --exclude=SC2317 --external-sources --source-path=.

mac=(dev scripts/build.sh scripts/run-tests.sh scripts/package-darwin.sh scripts/exports.sh scripts/exported-symbols.sh
    scripts/commands/{asan,build,package,setup,test,tsan}.sh)
newer='mapfile|readarray|declare -A|local -n|coproc|wait -n|&>>|[|]&|\$\{[a-z_]+(,,|\^\^)|\[-[0-9]+\]|nproc\)'
# package.sh goes on in package-darwin.sh.
for script in "${mac[@]}"; do
    sed '/exec scripts.package-darwin/q' "$script" | grep -nE -- "$newer" | sed "s|^|$script:|; s|\$| (not in bash 3.2)|" && status=1
done
exit "${status:-0}"
