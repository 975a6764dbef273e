#!/bin/bash
# Builds a parent project with the library inside, by each compiler that is here or is named: ./dev embed [CXX...].
set -euo pipefail
scripts/commands/setup.sh build demo embed
compilers=("$@")
if [ $# -eq 0 ]; then
    for cxx in g++-11 g++-12 clang++-14 clang++-16; do ! command -v "$cxx" >/dev/null || compilers+=("$cxx"); done
fi
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
# The library alone needs none of these.
absent=()
for package in GTest PNG CLI11 nlohmann_json benchmark Qt6; do absent+=("-DCMAKE_DISABLE_FIND_PACKAGE_$package=ON"); done

run() { # COMMAND...: its messages are shown when it fails
    "$@" >"$work/log" 2>&1 || { grep -E '(rror|arning)' -A5 "$work/log" | head -60 >&2; return 1; }
}
configure() { # FOLDER CXX OPTIONS...
    local cc=${2/clang++/clang}
    run cmake -S tests/host/consumers/embedded -B "$work/$1" -DORVO_SOURCE="$PWD" -DCMAKE_CXX_COMPILER="$2" \
        -DCMAKE_C_COMPILER="${cc/g++/gcc}" "${absent[@]}" "${@:3}"
}

# In turn by add_subdirectory for one configuration, and by FetchContent for several.
ways=(add_subdirectory FetchContent)
for i in "${!compilers[@]}"; do
    start=$SECONDS
    cxx=${compilers[i]} way=${ways[i % 2]}
    rm -rf "$work/parent"
    case $way in
        add_subdirectory) options=(-G Ninja -DCMAKE_BUILD_TYPE=Release) config=Release folder=$work/parent ;;
        FetchContent) options=(-G 'Ninja Multi-Config' -DFETCH=ON) config=Debug folder=$work/parent/Debug ;;
    esac
    configure parent "$cxx" "${options[@]}" -DORVO_WARNINGS_AS_ERRORS=ON
    run cmake --build "$work/parent" --config "$config" --parallel "${ORVO_JOBS:-$(nproc)}"
    for host in c_consumer cpp_consumer; do run scripts/with-xvfb.sh "$folder/$host"; done
    echo "embed: $config by $way, with $cxx: built without warnings, hosts in C and C++ run ($((SECONDS - start)) s)"
done
