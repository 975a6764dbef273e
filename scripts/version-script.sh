#!/bin/sh
# Prints the linker's version script for Linux: a node for each release that added exports, so that the loader refuses a host
# that needs a newer library. The library's own syslog has no version, so that libc's keeps the name.
set -eu
awk '
    { sub(/#.*/, ""); sub(/[ \t]+$/, ""); sub(/^linux: */, "") }
    /^since .*:$/ {
        end()
        before = node
        node = "ORVO_" substr($2, 1, length($2) - 1)
        print node " {\n  global:"
        next
    }
    /^$/ || /:/ || /^syslog$/ { next }
    { print "    " $0 ";" }
    END { end() }
    function end() {
        if (node) print (before ? "" : "  local: *;\n") "}" (before ? " " before : "") ";"
    }' "$(dirname "$0")/../ScreenCapture/api/exports.list"
