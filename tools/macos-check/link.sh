#!/bin/bash
# Links a host as the pkg-config file and the CMake package say, against text stubs of the C library and of ours, and reads
# which library each of its names was bound to. Sourced by the check's script.
# shellcheck disable=SC2154 # $clang and $work are that script's

stub() { # FILE INSTALL_NAME SYMBOLS...
    printf '%s\n' '--- !tapi-tbd' 'tbd-version: 4' 'targets: [ x86_64-macos, arm64-macos ]' "install-name: '$2'" exports: \
        '  - targets: [ x86_64-macos, arm64-macos ]' "    symbols: [ $(printf "'%s', " "${@:3}")]" ... >"$1"
}

# Prints "NAME LIBRARY" of all that the linked host takes from elsewhere.
bound() { # ARCH SYSTEM LINK_OPTIONS...
    local linker
    linker=$(compgen -c ld64.lld | sort | head -n 1)
    "$linker" -arch "$1" -platform_version macos "$2" "$2" -o "$work/host" "$work/host.o" "${@:3}" || return 1
    llvm-objdump --macho --bind --lazy-bind "$work/host" | awk '$1 ~ /^__/ { print $NF, $(NF - 1) }' | sort -u
}

# What the package files put on a host's link line.
options_of_packages() {
    local before
    before=$(sed -n 's/^ *set(ORVO_PC_BEFORE "\(.*\) ")$/\1/p' cmake/install.cmake)
    grep -q '^target_link_options(OrvoScreenCaptureOSX INTERFACE -lSystem)$' cmake/library_darwin.cmake || return 1
    sed -n "s|^Libs: @ORVO_PC_BEFORE@\(.*\)@ORVO_PC_AFTER@\$|$before \1|p" cmake/orvo-screencapture.pc.in |
        sed "s|\${libdir}|$work|"
}

links() {
    local arch system names options
    names=$(scripts/exported-symbols.sh | grep -v '[*?]')
    stub "$work/libSystem.tbd" /usr/lib/libSystem.B.dylib _syslog dyld_stub_binder
    # shellcheck disable=SC2086 # names of symbols are words
    stub "$work/libOrvoScreenCaptureOSX.tbd" @rpath/libOrvoScreenCaptureOSX.dylib $names
    options=$(options_of_packages) || return 1
    printf '%s\n' 'void syslog(int, const char*, ...);' 'void orvo_syslog(int, const char*, int, const char*, ...);' \
        'void orvo_screencapture_init(void);' \
        'int main(void) { syslog(3, "of the host"); orvo_syslog(3, "of", 1, "the library"); orvo_screencapture_init(); }' \
        >"$work/host.c"
    for system in x86_64:10.13 arm64:11.0; do
        arch=${system%:*} system=${system#*:}
        "$clang" -x c -target "$arch-apple-macosx$system" -fno-builtin -c "$work/host.c" -o "$work/host.o" || return 1
        # shellcheck disable=SC2086 # options are words
        bound "$arch" "$system" $options >"$work/bound" || return 1
        grep -v dyld_stub_binder "$work/bound" | diff - <(printf '%s\n' '_orvo_screencapture_init libOrvoScreenCaptureOSX' \
            '_orvo_syslog libOrvoScreenCaptureOSX' '_syslog libSystem') || return 1
        # The other way round the host's own calls would reach this library: the check above can see that.
        bound "$arch" "$system" "-L$work" -lOrvoScreenCaptureOSX -lSystem | grep -qx '_syslog libOrvoScreenCaptureOSX' || return 1
    done
}
