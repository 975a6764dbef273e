#!/bin/bash
# Makes .deb, .rpm and .tar.gz (on a Mac .xcframework and .tar.gz) and tries them; --try installs the .deb and removes it, as root; --twice compares two builds.
set -euo pipefail
mode=${1-}
case $mode in
    --try | --twice | '') ;;
    *) echo "usage: ./dev package [--try | --twice]" >&2; exit 2 ;;
esac
if [ "$(uname)" = Darwin ]; then
    scripts/commands/setup.sh build
    exec scripts/package-darwin.sh
fi
scripts/commands/setup.sh build demo example package
out=build/release/package
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
fail() { echo "package: $*" >&2; exit 1; }

scripts/make-packages.sh
mapfile -t debs < <(ls $out/*.deb)
mapfile -t rpms < <(ls $out/*.rpm)
(cd $out && wc -c -- *.deb *.rpm *.tar.gz)
version=$(dpkg-deb -f "${debs[0]}" Version)
version=${version%-*}

if [ "$mode" = --twice ]; then
    [ -z "$(git status --porcelain)" ] || fail 'only committed sources can be built a second time'
    git clone -q . "$work/again"
    # A compiler's cache would answer with the objects of the first build.
    (cd "$work/again" && CCACHE_DISABLE=1 scripts/make-packages.sh)
    diff $out/SHA256SUMS "$work/again/$out/SHA256SUMS" || fail 'the second build is another one'
    echo 'package: two builds in two folders made the same files'
    exit 0
fi

lintian --fail-on error "${debs[@]}"
dpkg-deb --ctrl-tarfile "$(ls $out/liborvo*osx2_*.deb)" | tar -xO ./triggers | grep -q '^activate-noawait ldconfig$' ||
    fail 'the library triggers no ldconfig'
if [ "$mode" = --try ]; then
    dpkg -i "${debs[@]}"
    status=0
    { scripts/try-package.sh /usr "$version" cc c++ && ldconfig -p | grep -q 'libOrvoScreenCaptureOSX\.so\.2 '; } || status=1
    for deb in "${debs[@]}"; do dpkg-deb -f "$deb" Package; done | xargs dpkg -P
    # Their files, folders and entries in the loader's cache are gone.
    left=$(
        for deb in "${debs[@]}"; do dpkg-deb --fsys-tarfile "$deb" | tar -t; done | while read -r file; do
            case $file in *[oO]rvo*) [ ! -e "/$file" ] || echo "$file" ;; esac
        done
        ldconfig -p | grep libOrvo || true
    )
    [ -z "$left" ] || fail "the removal left: $left"
    [ "$status" -ne 0 ] || echo 'package: installed, tried and removed'
    exit "$status"
fi

tried() { # WHAT PREFIX
    LD_LIBRARY_PATH=$(dirname "$(find "$2" -name 'libOrvo*.so')") scripts/try-package.sh "$2" "$version" cc c++ >"$work/log" ||
        { cat "$work/log" >&2; fail "the $1 does not work"; }
    echo "package: the $1 unpacked and tried"
}
mkdir "$work/rpm" "$work/tar"
for deb in "${debs[@]}"; do dpkg-deb -x "$deb" "$work/deb"; done
tried .deb "$work/deb/usr"
for rpm in "${rpms[@]}"; do
    rpm -qp --qf '%{NAME} %{VERSION}-%{RELEASE}.%{ARCH}: %{SUMMARY}\n' "$rpm"
    rpm2archive - <"$rpm" | tar -xz -C "$work/rpm"
done
rpm -qp --requires "${rpms[@]}" | grep -q 'libOrvoScreenCaptureOSX.so.2(ORVO_2.9)(64bit)' || fail 'no .rpm needs the library'
tried .rpm "$work/rpm/usr"
tar -xf $out/*.tar.gz -C "$work/tar" --strip-components=1
tried .tar.gz "$work/tar"
