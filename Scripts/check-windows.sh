#!/usr/bin/env bash
# SPDX-FileCopyrightText: The Brenvoka authors
# SPDX-License-Identifier: MIT
#
# Compiles the whole program for Windows with warnings as errors, and runs the tests of the Windows
# code under Wine: the discovery socket, the machine-wide mutex, the debugger output. Nothing is
# linked with Qt, because Debian has no Qt libraries for Windows.
#
# It installs nothing. It needs these packages of Debian 12 in addition:
#   apt-get install --no-install-recommends g++-mingw-w64-x86-64-posix wine wine64
# Without Wine it only compiles. UDP port 3001 must be free.
set -euo pipefail
cd "$(dirname "$0")/.."

if ! command -v x86_64-w64-mingw32-g++-posix >/dev/null; then
    echo "There is no compiler for Windows. Install g++-mingw-w64-x86-64-posix, and wine for the tests." >&2
    exit 1
fi

source Scripts/build.sh
build windows

if ! command -v wine >/dev/null; then
    echo "windows: compiled; the tests were not run, because wine is not installed"
    exit 0
fi
# A separate Wine prefix without display, browser and .NET.
export WINEPREFIX=$PWD/build/windows/wine WINEDEBUG=-all DISPLAY= WINEDLLOVERRIDES='mscoree=;mshtml='
trap 'wineserver -k 2>/dev/null || true' EXIT
wineboot --init >/dev/null 2>&1 || true
ctest --preset windows
echo "windows: compiled, tests passed"
