#!/bin/bash
# Tries an installed package: orvocap and the soname, then hosts built against it by CMake and by pkg-config, and run.
# usage: try-package.sh PREFIX VERSION C_COMPILER CXX_COMPILER
set -euo pipefail
prefix=$1 version=$2 cc=$3 cxx=$4
root=$(cd "$(dirname "$0")/.." && pwd)
consumers=$root/tests/host/consumers
# lib, lib64 or the folder of the processor
library=$(find "$prefix"/lib* -maxdepth 2 -name libOrvoScreenCaptureOSX.so | head -n 1)
libraries=$(dirname "$library")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

fail() {
    echo "try-package: $*" >&2
    exit 1
}
expect_version() { # WHAT PROGRAM
    local line
    line=$("$root/scripts/with-xvfb.sh" "$2" | grep -x "version $version") || fail "$1 did not print version $version"
    echo "$1: $line"
}

[[ $("$prefix/bin/orvocap" --version) =~ ^"orvocap $version"( \(commit [0-9a-f]+(-dirty)?\))?$ ]] || fail 'orvocap does not run'
"$prefix/bin/orvocap" --licenses | cmp - "$prefix/share/doc/orvo-screencapture/copyright" ||
    fail 'orvocap --licenses and the copyright file differ'
[ "$(readlink "$libraries/libOrvoScreenCaptureOSX.so.2")" = "libOrvoScreenCaptureOSX.so.$version" ] ||
    fail 'the link of the soname does not lead to the library'
readelf -d "$libraries/libOrvoScreenCaptureOSX.so" | grep -q 'SONAME.*\[libOrvoScreenCaptureOSX.so.2\]' ||
    fail 'the library has another soname'
for page in man/man1/orvocap.1.gz bash-completion/completions/orvocap doc/orvo-screencapture/{README.md,copyright} \
    doc/orvo-screencapture/{docs/quick-start.md,examples/minimal.c}; do
    [ -s "$prefix/share/$page" ] || fail "there is no $page"
done
[ -s "$prefix/share/zsh/site-functions/_orvocap" ] || [ -s "$prefix/share/zsh/vendor-completions/_orvocap" ] ||
    fail 'there is no completion for zsh'

# The package's folder is its distribution's; CMake on another one does not search there.
config=$(dirname "$(find "$prefix" -path '*/cmake/OrvoScreenCapture/*Config.cmake' | head -n 1)")
if ! { cmake -S "$consumers/cmake" -B "$work/cmake" -DOrvoScreenCapture_DIR="$config" -DCMAKE_CXX_COMPILER="$cxx" && cmake --build "$work/cmake"; } >"$work/cmake.log" 2>&1; then
    cat "$work/cmake.log" >&2
    fail 'the CMake host does not build'
fi
if cmake -S "$consumers/cmake" -B "$work/unknown" -DOrvoScreenCapture_DIR="$config" -DCOMPONENT=Unknown >"$work/cmake.log" 2>&1; then
    fail 'the CMake package accepts an unknown component'
fi
expect_version 'CMake and C++' "$work/cmake/consumer"

export PKG_CONFIG_PATH=$libraries/pkgconfig
[ "$(pkg-config --modversion orvo-screencapture)" = "$version" ] || fail 'pkg-config answers another version'
read -ra options <<<"$(pkg-config --cflags --libs orvo-screencapture)"
"$cc" -std=c11 -Wall -Wextra -Wpedantic -Werror "$consumers/pkgconfig/consumer.c" "${options[@]}" \
    -Wl,-rpath,"$libraries" -o "$work/consumer"
expect_version 'pkg-config and C' "$work/consumer"

"$root/scripts/exports.sh" linux | "$consumers/every_export.py" "$prefix/include" >"$work/every_export.c"
"$cc" -std=c11 -Wall -Wextra -Wpedantic -Werror "$work/every_export.c" "${options[@]}" -Wl,-rpath,"$libraries" -o "$work/every_export"
"$root/scripts/with-xvfb.sh" timeout 60 "$work/every_export" >"$work/calls" || fail "the call of $(tail -n 1 "$work/calls") fails"
echo "every function called from C: $(grep -c '^orvo_' "$work/calls")"

# The sample that publishes, as a host developer copies it.
if pkg-config --exists gstreamer-app-1.0 gstreamer-video-1.0; then
    if ! { cmake -S "$root/examples/publish" -B "$work/publish" -DOrvoScreenCapture_DIR="$config" -DCMAKE_C_COMPILER="$cc" && cmake --build "$work/publish"; } >"$work/cmake.log" 2>&1; then
        cat "$work/cmake.log" >&2
        fail 'the sample publish does not build'
    fi
fi

# The Python module finds the library of its own prefix.
[ "$(PYTHONDONTWRITEBYTECODE=1 PYTHONPATH=$(echo "$prefix"/lib/python3*/*-packages) python3 -c 'import orvo; print(orvo.version())')" = "$version" ] ||
    fail 'the Python module does not find the library'

# Every installed header compiles alone: as C++ of a host that is older than the library, the C parts as C11 as well.
mapfile -t headers < <(find "$prefix"/include/orvo* -name '*.h')
mapfile -t c_headers < <(grep -lF __cplusplus "${headers[@]}")
read -ra options <<<"$(pkg-config --cflags orvo-runtime)"
check=(-Wall -Wextra -Wpedantic -Werror -fsyntax-only "${options[@]}")
"$cxx" "${check[@]}" -std=c++17 -x c++ "${headers[@]}"
"$cc" "${check[@]}" -std=c11 -x c "${c_headers[@]}"
echo "headers: ${#headers[@]}, of them in C: ${#c_headers[@]}"
