#!/usr/bin/env bash
# SPDX-FileCopyrightText: The Brenvoka authors
# SPDX-License-Identifier: MIT
#
# Installs missing packages, builds, starts three rehearsal servers and runs the program. Without a
# display it runs a scripted demonstration on a virtual one: it moves, removes and uploads visuals,
# makes two servers equal, and prints a line and saves a screenshot in build/demo for each step. It
# exits with 0 only if the two libraries are equal at the end.
set -euo pipefail
cd "$(dirname "$0")"

Scripts/install-packages.sh

source Scripts/build.sh
build release --target brenvoka media-server

# DISPLAY may be set although no X server answers.
if timeout 10 xdpyinfo >/dev/null 2>&1; then
    exec /usr/bin/python3 Scripts/play.py build/release build/demo
fi
echo "There is no X display: running the demonstration on a virtual one."
exec /usr/bin/python3 Scripts/demo.py build/release build/demo
