#!/usr/bin/env bash
# SPDX-FileCopyrightText: The Brenvoka authors
# SPDX-License-Identifier: MIT
#
# Compiles the whole program for Windows, with warnings as errors, and runs what the Windows branches
# do under Wine: the discovery socket, the machine-wide mutex, the debugger output. Nothing is linked
# with Qt, for which Debian has no Windows libraries.
#
# Needs more than the program itself, and installs nothing. On Debian 12:
#   apt-get install --no-install-recommends g++-mingw-w64-x86-64-posix wine wine64
# Without Wine it compiles, and says that nothing was run. UDP port 3001 must be free.
set -euo pipefail
cd "$(dirname "$0")/.."

if ! command -v x86_64-w64-mingw32-g++-posix >/dev/null; then
    echo "No compiler for Windows. Please install g++-mingw-w64-x86-64-posix, and wine to run the tests." >&2
    exit 1
fi

launcher=()
if command -v ccache >/dev/null; then
    launcher=(-DCMAKE_CXX_COMPILER_LAUNCHER=ccache)
    export CCACHE_BASEDIR=$PWD
fi
cmake --preset windows "${launcher[@]}"
cmake --build --preset windows

if ! command -v wine >/dev/null; then
    echo "windows: compiled; nothing was run, because there is no wine"
    exit 0
fi
# A Windows of its own, with no screen, browser or .NET.
export WINEPREFIX=$PWD/build/windows/wine WINEDEBUG=-all DISPLAY= WINEDLLOVERRIDES='mscoree=;mshtml='
trap 'wineserver -k 2>/dev/null || true' EXIT
wineboot --init >/dev/null 2>&1 || true
ctest --preset windows
echo "windows: compiled, and the Windows branches ran"
