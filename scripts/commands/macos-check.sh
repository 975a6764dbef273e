#!/bin/bash
# Type-checks, analyses, links and runs the macOS side without a Mac, and proves that the check reports planted mistakes.
# Clang compiles for macOS itself, so the sizes of BOOL and what is too new or gone are the real ones; the declarations
# of the system are our own (tools/macos-check/include), the C and C++ headers are this machine's.
set -euo pipefail
clang=${ORVO_CLANG:-clang++}
command -v "$clang" >/dev/null || { echo "macos-check: there is no $clang; ./dev setup installs it" >&2; exit 1; }
adapter=ScreenCapture/platform/macos

# The oldest system, where BOOL is a character, and one where it is a boolean and the window server's image functions
# cannot be named any more.
targets=(x86_64-apple-macosx10.13 arm64-apple-macosx15.0)

# Where this machine's C and C++ headers are, and what they need to be read for another system.
: "${ORVO_MACOS_CHECK_HEADERS:=$("$clang" -E -x c++ -v /dev/null 2>&1 >/dev/null |
    sed -n '/^#include <...>/,/^End of search/s/^ //p')}"
export ORVO_MACOS_CHECK_HEADERS
headers=(-nostdinc -nostdinc++)
while read -r folder; do headers+=(-isystem "$folder"); done <<<"$ORVO_MACOS_CHECK_HEADERS"
headers+=(-U__nonnull -U__nullable -D__linux__=1 -D__gnu_linux__=1 -D_GNU_SOURCE=1 -D__x86_64__=1 -D__ELF__=1
    '-D__builtin_ia32_pause()=((void)0)')
language=(-std=c++20 -fexceptions -faligned-allocation -fblocks)
objective=(-x objective-c++ -fobjc-arc -fobjc-exceptions)
warnings=(-Wall -Wextra -Wshadow -Wundef -Wnon-virtual-dtor -Woverloaded-virtual -Wextra-semi -Wunguarded-availability
    -Wundeclared-selector -Werror)
includes=(-Itools/macos-check/include -Icommon/plain_yuv -I. -Iinclude -DORVO_VERSION_TEXT='"0"')
options=("${headers[@]}" "${language[@]}" "${warnings[@]}" "${includes[@]}")

source tools/macos-check/standins.sh
source tools/macos-check/link.sh

# One step for one source: types TARGET FILE, portable TARGET FILE, analysis TARGET FILE, ownership - FILE,
# object VARIANT FILE.
step() {
    local kind=$1 target=$2 file=$3
    case $kind in
        types) "$clang" -target "$target" "${options[@]}" "${objective[@]}" -include-pch "$work/$target.objc.pch" \
            -fsyntax-only "$file" ;;
        portable) "$clang" -target "$target" "${options[@]}" -x c++ -include-pch "$work/$target.pch" \
            -fsyntax-only "$file" ;;
        darwin) "$clang" -target "$target" "${options[@]}" -x c++ -include darwin_libc.h -fsyntax-only "$file" ;;
        analysis) "$clang" -target "$target" "${options[@]}" "${objective[@]}" -include-pch "$work/$target.objc.pch" \
            --analyze -Xclang -analyzer-output=text -Xclang -analyzer-werror \
            -Xclang -analyzer-config -Xclang c++-stdlib-inlining=false -o /dev/null "$file" ;;
        ownership) python3 tools/macos-check/ownership.py "$file" ;;
        object) standin_object "$target" "$file" ;;
        plant) plant "$file" ;;
    esac
}

# One line of plants.txt: plants the mistake in a copy and expects the report.
plant() { # LINE
    local name kind source script report target
    IFS='|' read -r name kind source script report < <(sed -n "$1p" tools/macos-check/plants.txt)
    name=$(trim "$name") kind=$(trim "$kind") source=$(trim "$source") script=$(trim "$script") report=$(trim "$report")
    local folder=$work/planted/$1
    local copy=$folder/$source output=$folder/report
    mkdir -p "$folder"
    sed "$script" "$adapter/$source" >"$copy"
    if cmp -s "$copy" "$adapter/$source"; then
        echo "the plant '$name' changes nothing in $source" >&2
        return 1
    fi
    local targets_of_kind=("${targets[1]}")
    case $kind in
        types) targets_of_kind=("${targets[@]}") ;;
        plain:* | sanitized:*) targets_of_kind=("${kind%%:*}") ;;
    esac
    for target in "${targets_of_kind[@]}"; do
        case $kind in
            *:*) standin_plant "$target" "${kind#*:}" "$source" "$copy" >"$output" 2>&1 ;;
            *) step "$kind" "$target" "$copy" >"$output" 2>&1 ;;
        esac && continue
        if grep -Eq -- "$report" "$output"; then
            rm -rf "$folder"
            return 0
        fi
    done
    echo "the plant '$name' in $source was not reported; the last report was:" >&2
    cat "$output" >&2
    return 1
}

plants() {
    grep -nv -e '^#' -e '^$' tools/macos-check/plants.txt | cut -d: -f1 | sed 's/^/plant - /' | steps
}

trim() {
    local text=$1
    text=${text#"${text%%[![:space:]]*}"}
    printf '%s' "${text%"${text##*[![:space:]]}"}"
}

# Reads lines "KIND TARGET FILE" and runs them, as many at a time as there are cores.
steps() {
    xargs -r -L 1 -P "$(nproc)" "$BASH" "$0" --step
}

prefix() { # TARGET SUFFIX OPTIONS...
    "$clang" -target "$1" "${options[@]}" "${@:3}" -o "$work/$1$2" tools/macos-check/prefix.h
}

# Each step that runs beside others is a process of its own, which finds the precompiled headers in the caller's folder.
if [ "${1-}" = --step ]; then
    work=$ORVO_MACOS_CHECK
    step "$2" "$3" "$4"
    exit
fi
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
export ORVO_MACOS_CHECK=$work

part() {
    local start=$SECONDS
    "${@:2}" || { echo "macos-check: $1 FAILED" >&2; exit 1; }
    printf 'macos-check: %-42s ok (%d s)\n' "$1" $((SECONDS - start))
}

precompile() {
    local target
    for target in "${targets[@]}"; do prefix "$target" .objc.pch -x objective-c++-header -fobjc-arc -fobjc-exceptions & done
    prefix "${targets[0]}" .pch -x c++-header
    wait
}

types() {
    local target file
    for target in "${targets[@]}"; do
        for file in "$adapter"/*.mm; do echo "types $target $file"; done
    done | steps
}

portable() {
    git ls-files --cached --others --exclude-standard 'ScreenCapture/**.cpp' 'xplatform/**.cpp' 'common/**.cpp' \
        'tools/orvocap/*_darwin.cpp' |
        grep -v -e '_linux\.cpp$' -e '^ScreenCapture/platform/linux/' -e '^ScreenCapture/platform/x11/' |
        sed -e "s|^|portable ${targets[0]} |" -e '/_darwin\.cpp$/s/^portable/darwin/' | steps
}

analysis() {
    printf "analysis ${targets[1]} %s\n" "$adapter"/*.mm | steps
    python3 tools/macos-check/ownership.py "$adapter"/*
}

read_sources() {
    part 'headers' precompile
    part "adapter, ${#targets[@]} systems" types
    part 'portable sources' portable
    part 'static analysis' analysis
    part 'a host linked for 10.13 and 11.0' links
}

run_sources() {
    local variant
    part 'library logic' standin_logic
    for variant in plain sanitized; do
        part "adapter on the stand-ins, $variant" standin_build "$variant"
        part "programs on the stand-ins, $variant" standin_run_all "$work/$variant/check"
    done
}

# `./dev macos-check run` leaves out what only reads the sources, `./dev macos-check read` what runs them.
case ${1-} in
    run) run_sources ;;
    read) read_sources ;;
    *)
        read_sources
        run_sources
        part 'planted mistakes are reported' plants
        ;;
esac
