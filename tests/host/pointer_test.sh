#!/bin/bash
# C hosts link every function that the headers declare, and the exported pointer is one variable for library and host,
# however the host is compiled.
# usage: pointer_test.sh SOURCE_FOLDER LIBRARY C_COMPILER...
set -euo pipefail
root=$1 library=$2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
printf '#include "%s"\n' "$root"/include/orvo/*.h >"$work/every.c"
declared=$("$3" -E -I"$root/include" "$work/every.c" | grep -oE '\borvo_[a-z_]+\(' | sort -u | sed 's/\(.*\)($/    (void*)\1,/')
printf 'void* const every[] = {\n%s\n};\n' "$declared" >>"$work/every.c"
for compiler in "${@:3}"; do
    for options in '-fno-pic -no-pie' '-fPIE -pie' ''; do
        echo "$compiler $options"
        # shellcheck disable=SC2086
        "$compiler" $options -Wall -Wextra -Werror -I"$root/include" "$root/tests/host/pointer_host.c" "$work/every.c" "$library" \
            -Wl,-rpath,"$(dirname "$library")" -o "$work/host"
        "$work/host"
    done
done
