#!/bin/bash
# On a Mac: makes an .xcframework with debug symbols and a .tar.gz of the library for both processors, and checks them.
set -euo pipefail
preset=macos-universal
scripts/build.sh $preset
build=$PWD/build/$preset
library=$build/libOrvoScreenCaptureOSX.dylib
out=$build/package
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
fail() { echo "package: $*" >&2; exit 1; }

# What an application bundle relies on: both processors, a name that the run path completes, versions, and no framework
# that the oldest system lacks.
lipo "$library" -verify_arch x86_64 arm64 || fail 'a processor is missing'
[ "$(otool -D "$library" | tail -n 1)" = @rpath/libOrvoScreenCaptureOSX.dylib ] || fail 'the install name is another one'
otool -l "$library" | grep -A2 LC_LOAD_WEAK_DYLIB | grep -q ScreenCaptureKit || fail 'ScreenCaptureKit is not linked weakly'
for processor in x86_64 arm64; do
    nm -gUj -arch $processor "$library" | sort >"$work/exported"
    scripts/exported-symbols.sh | sort | diff - "$work/exported" || fail "the exports for $processor are not those of the list"
done

rm -rf "$out"
mkdir -p "$out" "$work/headers"
symbols=$work/libOrvoScreenCaptureOSX.dylib.dSYM
dsymutil "$library" -o "$symbols"
dwarfdump --uuid "$library" | sed 's/ [^ ]*$//' | sort >"$work/of-library"
dwarfdump --uuid "$symbols" | sed 's/ [^ ]*$//' | sort | diff "$work/of-library" - || fail 'the debug symbols are of another library'
cmake --install "$build" --component development --prefix "$work/installed" >/dev/null
cp -R "$work/installed/include/orvo" "$work/headers"
xcodebuild -create-xcframework -library "$library" -headers "$work/headers" -debug-symbols "$symbols" \
    -output "$out/OrvoScreenCapture.xcframework" >/dev/null
(cd "$out" && zip -qry OrvoScreenCapture.xcframework.zip OrvoScreenCapture.xcframework)
(cd "$build" && cpack -G TGZ >/dev/null)
tar -tzf "$out"/*.tar.gz | grep -q '/lib/libOrvoScreenCaptureOSX\.dylib$' || fail 'the .tar.gz has no library'
(cd "$out" && shasum -a 256 -- *.tar.gz *.zip >SHA256SUMS && cat SHA256SUMS)
