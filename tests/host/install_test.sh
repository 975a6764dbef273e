#!/bin/bash
# What is installed works from wherever it is moved to.
# usage: install_test.sh SOURCE_FOLDER BUILD_FOLDER VERSION C_COMPILER CXX_COMPILER
set -euo pipefail
root=$1 build=$2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

cmake --install "$build" --prefix "$work/first" >/dev/null
mv "$work/first" "$work/moved"
if grep -rlF --include='*.cmake' --include='*.pc' -e "$work" -e "$root" -e "$build" "$work/moved"; then
    echo 'install_test: these files name a folder of this machine' >&2
    exit 1
fi
"$root/scripts/try-package.sh" "$work/moved" "${@:3}"
