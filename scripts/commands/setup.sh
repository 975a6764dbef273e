#!/bin/bash
# Installs the packages that build, tests, lint and demo need (on a Mac: build and tests); does nothing when they are there.
set -euo pipefail
source scripts/packages.sh
all_packages+=("$@") # further packages, for a command that needs more

if [ "$(uname)" = Darwin ] && command -v brew >/dev/null; then
    for package in "${brew_packages[@]}"; do
        brew list --versions "$package" >/dev/null || brew install "$package"
    done
    exit 0
fi
if ! command -v dpkg-query >/dev/null; then
    echo "setup: neither Debian nor a Mac with Homebrew; install the counterparts of: ${all_packages[*]}" >&2
    exit 1
fi

installed=" $(dpkg-query -W -f '${db:Status-Status}=${Package} ' "${all_packages[@]}" 2>/dev/null || true)"
missing=()
for package in "${all_packages[@]}"; do
    [[ $installed == *" installed=$package "* ]] || missing+=("$package")
done
[ ${#missing[@]} -gt 0 ] || exit 0

as_root=()
if [ "$(id -u)" -ne 0 ]; then
    if ! command -v sudo >/dev/null; then
        echo "setup: neither root nor sudo; as root run: apt-get install -y --no-install-recommends ${missing[*]}" >&2
        exit 1
    fi
    as_root=(sudo)
fi
apt=("${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get -q -y -o DPkg::Lock::Timeout=300)
echo "setup: installing ${missing[*]}"
"${apt[@]}" update </dev/null
"${apt[@]}" install --no-install-recommends "${missing[@]}" </dev/null
