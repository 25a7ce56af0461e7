#!/usr/bin/env bash
# SPDX-FileCopyrightText: The Brenvoka authors
# SPDX-License-Identifier: MIT
#
# Installs the missing packages for the program, its tests and the demonstration on Debian 12 (or a
# distribution with the same package names). On other systems it prints what to install. Arguments
# are additional packages.
set -euo pipefail

packages=(
    # building
    cmake ninja-build g++ ccache git
    qt6-base-dev qt6-qpa-plugins libgl-dev
    libspdlog-dev libfmt-dev libboost-filesystem-dev libcpp-httplib-dev
    # tests and the demonstration: a virtual display, input events, the accessibility tree, pictures,
    # a network of their own, locales, system calls
    xvfb openbox xdotool x11-utils imagemagick iproute2
    at-spi2-core dbus dbus-x11 python3 python3-pyatspi python3-jsonschema
    curl fonts-dejavu-core fonts-liberation fonts-wqy-microhei locales strace valgrind
    # fuzzers
    clang libclang-rt-dev
    # the manual
    pandoc
    # the Debian packages and their tests
    dpkg-dev file desktop-file-utils appstream groff-base lintian mandoc reuse fakeroot
    # style and pictures
    clang-format librsvg2-bin
    "$@"
)

by_hand() {
    cat >&2 <<'TEXT'
Please install what is missing of this list:
  a C++20 compiler (GCC 12 or later), CMake 3.25 or later, Ninja, git, clang-format 14
  Qt 6.4 or later: Core, Gui, Widgets, Network, Test, and the xcb and offscreen platform plug-ins
  spdlog 1.10 or later, fmt 9 or later, Boost.Filesystem 1.74 or later, cpp-httplib 0.11 or later
  for tests and the demonstration: Xvfb, openbox, xdotool, xdpyinfo, xprop, xwininfo, ImageMagick,
  iproute2, curl, D-Bus, at-spi2-core, /usr/bin/python3 with pyatspi and jsonschema, rsvg-convert,
  strace, valgrind, the sources of the locales, and the fonts DejaVu, Liberation and WenQuanYi Micro
  Hei
  for the manual: pandoc 2.17 or later
  for the fuzzers: clang 14 or later with libFuzzer and the sanitizers
  for the Debian packages: dpkg-dev, file, desktop-file-utils, appstreamcli, groff, lintian, mandoc,
  reuse, fakeroot
TEXT
}

if ! command -v apt-get >/dev/null || ! command -v dpkg-query >/dev/null; then
    echo "This system has no apt-get." >&2
    by_hand
    # The caller continues if the tools of the build are installed.
    command -v cmake >/dev/null && command -v ninja >/dev/null
    exit
fi

missing=()
for package in "${packages[@]}"; do
    status=$(dpkg-query -W -f '${db:Status-Status}' "$package" 2>/dev/null || true)
    [ "$status" = installed ] || missing+=("$package")
done
[ ${#missing[@]} -gt 0 ] || exit 0

as_root=()
if [ "$(id -u)" -ne 0 ]; then
    if ! command -v sudo >/dev/null; then
        echo "Please install as root: apt-get install ${missing[*]}" >&2
        exit 1
    fi
    as_root=(sudo)
fi
echo "Installing ${missing[*]}"
install() {
    "${as_root[@]}" apt-get update -qq &&
        "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive \
            apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
}
install || {
    echo "apt-get failed. The package names are those of Debian 12." >&2
    by_hand
    exit 1
}
