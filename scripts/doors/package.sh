#!/bin/bash
# Makes the Debian package, and installs, tries and removes it in a folder (--try: in this system, as root).
set -euo pipefail
in_system=
case ${1-} in
    --try) in_system=yes ;;
    '') ;;
    *) echo "usage: ./dev package [--try]" >&2; exit 2 ;;
esac
scripts/doors/setup.sh
scripts/build.sh release OrvoScreenCaptureOSX orvocap

rm -rf build/release/package
(cd build/release && cpack -G DEB) >build/release/package.log 2>&1 || { cat build/release/package.log >&2; exit 1; }
packages=(build/release/package/*.deb)
package=${packages[0]}
version=$(dpkg-deb -f "$package" Version)
echo "package: $package ($(($(stat -c %s "$package") / 1024)) KiB)"
echo "package: needs $(dpkg-deb -f "$package" Depends)"

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
if [ -n "$in_system" ]; then
    root=
    dpkg=(dpkg)
else
    root=$work/root
    mkdir -p "$root/var/lib/dpkg/updates" "$root/var/lib/dpkg/info"
    touch "$root/var/lib/dpkg/status"
    # An empty system: what the package needs is outside it.
    dpkg=(dpkg "--root=$root" --force-not-root --force-depends --log=/dev/null)
fi
"${dpkg[@]}" -i "$package" >"$work/log" 2>&1 || { cat "$work/log" >&2; exit 1; }
status=0
scripts/try-package.sh "$root/usr" "$version" cc c++ || status=$?
"${dpkg[@]}" -P orvo-screencapture >"$work/log" 2>&1 || { cat "$work/log" >&2; exit 1; }
left=$(dpkg-deb --fsys-tarfile "$package" | tar -t | grep -v '/$' | while read -r file; do
    [ ! -e "$root/$file" ] || echo "$file"
done)
[ -z "$left" ] || { printf 'package: the removal left:\n%s\n' "$left" >&2; exit 1; }
[ "$status" -ne 0 ] || echo 'package: installed, tried and removed'
exit "$status"
