#!/usr/bin/env bash
# SPDX-FileCopyrightText: The Brenvoka authors
# SPDX-License-Identifier: MIT
#
# Installs what is missing, builds, starts three rehearsal servers and opens the program on them.
# Without a display it works by itself on a virtual one: it moves, removes, uploads, makes the two
# servers equal, and prints and shows each step. The screenshots are left in build/demo. It exits
# with 0 only if the two libraries are equal at the end.
set -euo pipefail
cd "$(dirname "$0")"

Scripts/install-packages.sh

launcher=()
if command -v ccache >/dev/null; then
    launcher=(-DCMAKE_CXX_COMPILER_LAUNCHER=ccache)
    export CCACHE_BASEDIR=$PWD
fi
mkdir -p build
cmake --preset release "${launcher[@]}" >build/demo-configure.log 2>&1 || {
    cat build/demo-configure.log
    exit 1
}
cmake --build --preset release --parallel "$(nproc)" --target brenvoka media-server

# A display that is named but does not answer is none.
if timeout 10 xdpyinfo >/dev/null 2>&1; then
    exec /usr/bin/python3 Scripts/play.py build/release build/demo
fi
echo "There is no X display: the program works on a virtual one."
exec /usr/bin/python3 Scripts/demo.py build/release build/demo
