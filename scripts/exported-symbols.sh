#!/bin/sh
# Prints the linker's list of exported symbols for macOS, where each name begins with an underscore.
set -eu
"$(dirname "$0")/exports.sh" darwin | sed 's/^/_/'
