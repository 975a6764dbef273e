#!/bin/bash
# Makes the .tar.gz, the .deb and the .rpm packages of these sources in build/release/package, and a file of their checksums.
set -euo pipefail
build=build/release
# Dates in packages are those of the sources.
SOURCE_DATE_EPOCH=${SOURCE_DATE_EPOCH:-$(git log -1 --format=%ct 2>/dev/null || stat -c %Y CHANGELOG.md)}
export SOURCE_DATE_EPOCH
parts=(OrvoScreenCaptureOSX orvocap orvocap_page_files)
scripts/build.sh release -DORVO_BUILD_TESTS=OFF -DORVO_BUILD_EXAMPLES=OFF -DORVO_BUILD_BENCH=OFF "${parts[@]}"

log=$(mktemp)
quietly() { "$@" >"$log" 2>&1 || { cat "$log" >&2; return 1; }; }
# Only what depends on the prefix and on the kind of libraries is linked again.
configured() { # OPTIONS...
    quietly cmake -B $build -UCMAKE_INSTALL_LIBDIR "$@"
    quietly cmake --build $build --target "${parts[@]}"
}
as_before() { configured -DCMAKE_INSTALL_PREFIX=/usr/local -DORVO_STATIC_DEPS=ON -DORVO_DEBIAN_FILES=OFF; }
trap 'as_before; rm -f "$log"' EXIT
pack() { # GENERATOR
    (cd $build && quietly cpack -G "$1")
}

rm -rf $build/package
as_before
pack TGZ
configured -DCMAKE_INSTALL_PREFIX=/usr -DORVO_STATIC_DEPS=OFF -DORVO_DEBIAN_FILES=ON
pack DEB
configured -DCMAKE_INSTALL_PREFIX=/usr -DCMAKE_INSTALL_LIBDIR=lib64 -DORVO_DEBIAN_FILES=OFF
pack RPM
rm -rf $build/package/_CPack_Packages
(cd $build/package && sha256sum -- *.tar.gz *.deb *.rpm >SHA256SUMS)
