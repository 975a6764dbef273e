#!/bin/bash
# Builds the library and orvocap into build/release (another preset: ./dev build debug).
set -euo pipefail
scripts/commands/setup.sh
exec scripts/build.sh "${@:-release}"
