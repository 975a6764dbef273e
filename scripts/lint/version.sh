#!/bin/bash
# The version stands in CMakeLists.txt; the headers, the Python module and the changelog say the same.
set -euo pipefail
version=$(sed -n 's/^project(OrvoScreenCapture VERSION \([0-9.]*\) .*/\1/p' CMakeLists.txt)
IFS=. read -r major minor patch <<<"$version"
status=0
has() { # FILE TEXT
    grep -qF -- "$2" "$1" || { echo "$1 does not hold: $2"; status=1; }
}
header=include/orvo/screencapture_additions.h
has $header "#define ORVO_SCREENCAPTURE_VERSION_MAJOR $major "
has $header "#define ORVO_SCREENCAPTURE_VERSION_MINOR $minor "
has $header "#define ORVO_SCREENCAPTURE_VERSION_PATCH $patch "
has $header "#define ORVO_SCREENCAPTURE_VERSION \"$version\""
has bindings/python/pyproject.toml "version = \"$version\""
grep -q '^## \[Unreleased\]$' CHANGELOG.md || has CHANGELOG.md "## [$version] - "
exit $status
