#!/bin/bash
# Builds and runs the tests under the thread sanitizer.
exec scripts/run-tests.sh tsan "$@"
