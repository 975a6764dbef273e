#!/bin/sh
# Prints the linker's version script for Linux. The library's own syslog has no version, so that libc's keeps the name.
set -eu
echo "ORVO_1 {"
echo "  global:"
"$(dirname "$0")/exports.sh" linux | sed -e '/^syslog$/d' -e 's/.*/    &;/'
echo "  local: *;"
echo "};"
