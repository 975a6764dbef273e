#!/bin/bash
# Builds the adapter's own sources on the stand-ins and runs the programs in checks/. Sourced by the check's script.
# shellcheck disable=SC2154 # $clang, $adapter and $work are that script's
# A variant is "plain" or "sanitized"; its objects lie in $work/VARIANT.
standin_options=(-std=c++20 -O1 -g1 -fblocks -fexceptions -fobjc-runtime=macosx-10.13 -fobjc-legacy-dispatch
    -Wall -Wextra -Wno-unused-parameter -Wno-objc-root-class -Werror
    -Itools/macos-check/include -I. -Iinclude -DORVO_VERSION_TEXT='"0"')
standin_objective=(-fobjc-arc -fobjc-exceptions -fno-objc-convert-messages-to-runtime-calls)
standin_sanitizers=("-fsanitize=address,undefined" -fno-sanitize=vptr -fno-sanitize=function -fno-sanitize-recover=undefined)

variant_options() { # VARIANT
    options_of_variant=("${standin_options[@]}")
    [ "$1" = plain ] || options_of_variant+=("${standin_sanitizers[@]}")
}

# The adapter's messages and look-ups go where the stand-ins count them.
redirect() { # OBJECT
    objcopy --redefine-sym objc_msgSend=adapter_msgSend --redefine-sym objc_msgSend_stret=adapter_msgSend_stret \
        --redefine-sym dlsym=standin_dlsym "$1"
}

standin_prefix() { # VARIANT
    mkdir -p "$work/$1"
    variant_options "$1"
    "$clang" "${options_of_variant[@]}" "${standin_objective[@]}" -x objective-c++-header \
        -o "$work/$1/prefix.pch" tools/macos-check/prefix.h
}

standin_object() { # VARIANT SOURCE [OBJECT]
    local object=${3:-$work/$1/${2//\//_}.o}
    variant_options "$1"
    case $2 in
        *.cpp) "$clang" "${options_of_variant[@]}" -c "$2" -o "$object" ;;
        *) "$clang" "${options_of_variant[@]}" "${standin_objective[@]}" -x objective-c++ \
            -include-pch "$work/$1/prefix.pch" -c "$2" -o "$object" ;;
    esac || return 1
    case $2 in "$adapter"/* | "$work"/*) redirect "$object" ;; esac
}

# Links the variant's objects; one of the adapter's may be replaced by another.
standin_link() { # VARIANT PROGRAM [REPLACED REPLACEMENT]
    local objects=() object
    for object in "$work/$1"/*.o; do
        if [ "$object" = "${3-}" ]; then objects+=("$4"); else objects+=("$object"); fi
    done
    variant_options "$1"
    "$clang" "${options_of_variant[@]}" "${objects[@]}" "$work/logic.a" -lBlocksRuntime -ldl -lpthread -o "$2" \
        2> >(grep -v 'unused during compilation' >&2)
}

# The library's own logic, as ./dev build makes it.
standin_logic() {
    cmake --preset release >/dev/null
    cmake --build build/release --target orvo_logic orvo_log orvo_runtime >/dev/null
    find build/release/CMakeFiles/orvo_{logic,log,runtime}.dir -name '*.o' -print0 |
        xargs -0 ar rcs "$work/logic.a"
}

standin_build() { # VARIANT
    standin_prefix "$1"
    printf "object $1 %s\n" "$adapter"/*.mm tools/macos-check/standin/*.{mm,cpp} tools/macos-check/checks/*.mm | steps
    standin_link "$1" "$work/$1/check"
}

standin_run() { # PROGRAM PARTS...
    ASAN_OPTIONS=detect_leaks=0 timeout 60 "$@"
}

# Each part has a process of its own: what the adapter looks up once stays.
standin_run_all() { # PROGRAM
    local part failed=0
    for part in calls pictures device accessibility exceptions host streams; do
        standin_run "$1" "$part" || failed=1
    done
    return "$failed"
}

# One planted mistake: the source is compiled with it, linked in place of the right one, and the part has to fail.
standin_plant() { # VARIANT PART SOURCE COPY
    local variant=$1 part=$2 source=$3 copy=$4
    standin_object "$variant" "$copy" "$copy.o" &&
        standin_link "$variant" "$copy.check" "$work/$variant/${adapter//\//_}_$source.o" "$copy.o" &&
        standin_run "$copy.check" "$part"
}
