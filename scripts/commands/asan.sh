#!/bin/bash
# Builds and runs the tests under the address and undefined-behaviour sanitizers.
exec scripts/run-tests.sh asan "$@"
