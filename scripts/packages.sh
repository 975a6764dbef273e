#!/bin/bash
# The Debian packages that the commands need, by purpose; prints them all when it is run.
build_packages=(
    cmake ninja-build g++ pkg-config
    libxcb1-dev libxcb-shm0-dev libxcb-randr0-dev libxcb-xfixes0-dev libxcb-composite0-dev libxcb-damage0-dev
    libxcb-res0-dev libxcb-xinput-dev libxcb-sync-dev libxcb-shape0-dev libxcb-render0-dev
    libglib2.0-dev libgdk-pixbuf-2.0-dev libyuv-dev libpng-dev libcli11-dev nlohmann-json3-dev
)
test_packages=(libgtest-dev xvfb openbox icewm x11-utils x11-xserver-utils x11-apps xdotool xterm lld groff-base zsh
    python3-numpy python3-pil)
example_packages=(libgstreamer-plugins-base1.0-dev gstreamer1.0-tools gstreamer1.0-plugins-{base,good,bad,ugly}
    qt6-base-dev fonts-dejavu-core)
lint_packages=(clang-format clang-tidy clang shellcheck python3 mypy git doxygen)
fuzz_packages=(libclang-rt-dev) # and clang, as above
bench_packages=(libbenchmark-dev)
packaging_packages=(dpkg-dev file)
# What only the command bench installs: peers to compare with, and what draws its charts.
# shellcheck disable=SC2034 # used by the command bench
peer_packages=(ffmpeg gstreamer1.0-plugins-good libgstreamer1.0-dev libtgowt-dev libspdlog-dev python3-matplotlib)

# What a Mac needs from Homebrew beside Xcode. The commands want a newer bash than the system's, and nproc.
# shellcheck disable=SC2034 # used by the command setup
brew_packages=(bash coreutils cmake ninja googletest libpng cli11 nlohmann-json)

all_packages=("${build_packages[@]}" "${test_packages[@]}" "${lint_packages[@]}" "${fuzz_packages[@]}" "${bench_packages[@]}" "${example_packages[@]}" "${packaging_packages[@]}")
if [ "${BASH_SOURCE[0]}" = "$0" ]; then
    printf '%s\n' "${all_packages[@]}"
fi
