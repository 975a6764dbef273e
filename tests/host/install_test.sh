#!/bin/bash
# The installed package works from wherever it is moved to: its files name neither prefix nor sources, orvocap finds
# its library, and hosts are built against it by CMake and by pkg-config.
# usage: install_test.sh SOURCE_FOLDER BUILD_FOLDER VERSION C_COMPILER CXX_COMPILER [FLAGS...]
set -euo pipefail
root=$1 build=$2 version=$3 cc=$4 cxx=$5
flags=("${@:6}")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
prefix=$work/moved

fail() {
    echo "install_test: $*" >&2
    exit 1
}
expect_version() { # WHAT COMMAND...
    local line
    line=$("${@:2}" | grep -x "version $version") || fail "$1 did not print version $version"
    echo "$1: $line"
}

cmake --install "$build" --prefix "$work/first" >/dev/null
mv "$work/first" "$prefix"

! grep -rlF -e "$work" -e "$root" -e "$build" "$prefix"/{lib,share,include} --include='*.cmake' --include='*.pc' ||
    fail 'these files name a folder of this machine'
[ "$(readlink "$prefix/lib/libOrvoScreenCaptureOSX.so.2")" = "libOrvoScreenCaptureOSX.so.$version" ] ||
    fail 'the link of the soname does not lead to the library'
readelf -d "$prefix/lib/libOrvoScreenCaptureOSX.so" | grep -q 'SONAME.*\[libOrvoScreenCaptureOSX.so.2\]' ||
    fail 'the library has another soname'
[ "$("$prefix/bin/orvocap" --version)" = "orvocap $version" ] || fail 'orvocap does not run'

# Every installed header, as a host includes it.
mkdir "$work/headers"
(cd "$prefix/include/orvo" && find . -name '*.h' | sort | sed 's|^\./\(.*\)|#include "\1"|') >"$work/headers/all_headers.h"

cmake -S "$root/tests/host/consumers/cmake" -B "$work/cmake" -DCMAKE_PREFIX_PATH="$prefix" \
    -DCMAKE_CXX_COMPILER="$cxx" -DCMAKE_CXX_FLAGS="${flags[*]} -I$work/headers" >"$work/cmake.log" 2>&1 ||
    { cat "$work/cmake.log" >&2; fail 'CMake does not find the package'; }
cmake --build "$work/cmake" >"$work/cmake.log" 2>&1 || { cat "$work/cmake.log" >&2; fail 'the CMake host does not build'; }
expect_version 'CMake and C++' "$root/scripts/with-xvfb.sh" "$work/cmake/consumer"

export PKG_CONFIG_PATH=$prefix/lib/pkgconfig
[ "$(pkg-config --modversion orvo-screencapture)" = "$version" ] || fail 'pkg-config answers another version'
read -ra options <<<"$(pkg-config --cflags --libs orvo-screencapture)"
"$cc" "${flags[@]}" -std=c11 -Wall -Wextra -Wpedantic -Werror "$root/tests/host/consumers/pkgconfig/consumer.c" \
    "${options[@]}" -Wl,-rpath,"$prefix/lib" -o "$work/consumer"
expect_version 'pkg-config and C' "$root/scripts/with-xvfb.sh" "$work/consumer"
