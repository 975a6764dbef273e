#!/bin/bash
# Installs what is missing: ./dev setup [PURPOSE...], such as build or test; without, all but the benchmarks' peers.
set -euo pipefail
table=scripts/packages.txt
known=$(sed -n 's/^\([a-z]*\) .*/\1/p' "$table" | sort -u)
purposes=("$@")
# shellcheck disable=SC2207 # a purpose is a word
[ $# -gt 0 ] || purposes=($(grep -vx peers <<<"$known"))
for purpose in "${purposes[@]}"; do
    grep -qxF -- "$purpose" <<<"$known" ||
        { echo "setup: there is no purpose '$purpose', but: $(tr '\n' ' ' <<<"$known")" >&2; exit 2; }
done

# Of each package manager: which of the packages are not here, and how to install them.
without() { comm -23 <(printf '%s\n' "${@:2}" | sort -u) <(sort -u <<<"$1"); }
apt_missing() { without "$(dpkg-query -W -f '${db:Status-Status} ${Package}\n' "$@" 2>/dev/null | sed -n 's/^installed //p')" "$@"; }
apt_install() {
    local apt=(env DEBIAN_FRONTEND=noninteractive apt-get -q -y -o DPkg::Lock::Timeout=300)
    as_root "${apt[@]}" update
    as_root "${apt[@]}" install --no-install-recommends "$@"
}
dnf_missing() { for package in "$@"; do rpm -q --quiet --whatprovides "$package" || echo "$package"; done; }
dnf_install() { as_root dnf -y --setopt=install_weak_deps=False install "$@"; }
zypper_missing() { dnf_missing "$@"; }
zypper_install() { as_root zypper --non-interactive install --no-recommends "$@"; }
pacman_missing() { pacman -T "$@" || true; }
pacman_install() { as_root pacman -S --noconfirm --needed "$@"; }
brew_missing() { without "$(brew list -1)" "$@"; }
brew_install() { brew install "$@"; }
as_root() {
    if [ "$(id -u)" -eq 0 ]; then
        "$@"
    elif command -v sudo >/dev/null; then
        sudo "$@"
    else
        echo "setup: neither root nor sudo; as root run: $*" >&2
        exit 1
    fi
}

manager=""
column=1
for program in apt-get dnf pacman zypper brew; do
    column=$((column + 1))
    ! command -v "$program" >/dev/null || { manager=${program%-get}; break; }
done
if [ -z "$manager" ]; then
    echo "setup: no apt, dnf, pacman, zypper or brew here; install the counterparts of the packages in $table" >&2
    exit 1
fi

# Names of packages are single words.
# shellcheck disable=SC2207
packages=($(awk -v column=$column -v purposes=" ${purposes[*]} " \
    '/^[a-z]/ && index(purposes, " " $1 " ") && $column != "-" { print $column }' "$table" | sort -u))
[ ${#packages[@]} -gt 0 ] || exit 0
# shellcheck disable=SC2207
missing=($("${manager}_missing" "${packages[@]}"))
[ ${#missing[@]} -gt 0 ] || exit 0
echo "setup: installing ${missing[*]}"
"${manager}_install" "${missing[@]}" </dev/null
