#!/bin/bash
# Makes the Debian package and tries it unpacked; with --try, as root, installed into this system and removed again.
set -euo pipefail
in_system=
case ${1-} in
    --try) in_system=yes ;;
    '') ;;
    *) echo "usage: ./dev package [--try]" >&2; exit 2 ;;
esac
scripts/commands/setup.sh
scripts/build.sh release OrvoScreenCaptureOSX orvocap orvocap_page_files
# The system's own folder of libraries, for the package alone; only what names the folder is linked again.
libraries_in() {
    cmake -DCMAKE_INSTALL_LIBDIR="$1" build/release >build/release/configure.log
    cmake --build build/release --target OrvoScreenCaptureOSX orvocap orvocap_page_files >>build/release/configure.log
}
work=$(mktemp -d)
trap 'rm -rf "$work"; libraries_in lib' EXIT
libraries_in "lib/$(dpkg-architecture -qDEB_HOST_MULTIARCH)"

rm -rf build/release/package
(cd build/release && cpack -G DEB) >build/release/package.log 2>&1 || { cat build/release/package.log >&2; exit 1; }
packages=(build/release/package/*.deb)
package=${packages[0]}
version=$(dpkg-deb -f "$package" Version)
echo "package: $package ($(($(stat -c %s "$package") / 1024)) KiB)"
echo "package: needs $(dpkg-deb -f "$package" Depends)"
dpkg-deb --ctrl-tarfile "$package" | tar -xO ./triggers | grep -q '^activate-noawait ldconfig$' ||
    { echo 'package: ldconfig is not triggered by the library' >&2; exit 1; }

if [ -z "$in_system" ]; then
    dpkg-deb -x "$package" "$work"
    scripts/try-package.sh "$work/usr" "$version" cc c++
    echo 'package: unpacked and tried'
    exit 0
fi

dpkg -i "$package"
status=0
{ scripts/try-package.sh /usr "$version" cc c++ && ldconfig -p | grep -q 'libOrvoScreenCaptureOSX\.so\.2 '; } || status=1
dpkg -P orvo-screencapture
# Nothing of it is left: no record of dpkg's, no file, no folder of its own, no word of the loader's.
left=$(
    dpkg-query -W -f '${Status} ${Package}\n' orvo-screencapture 2>/dev/null | grep -v not-installed || true
    dpkg-deb --fsys-tarfile "$package" | tar -t | while read -r file; do
        case $file in */orvo* | */_orvo* | */libOrvo* | */Orvo*) [ ! -e "/$file" ] || echo "$file" ;; esac
    done
    ldconfig -p | grep libOrvo || true
)
[ -z "$left" ] || { printf 'package: the removal left:\n%s\n' "$left" >&2; exit 1; }
[ "$status" -ne 0 ] || echo 'package: installed, tried and removed'
exit "$status"
