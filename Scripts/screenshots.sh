#!/usr/bin/env bash
# SPDX-FileCopyrightText: The Brenvoka authors
# SPDX-License-Identifier: MIT
#
# Saves screenshots of every window and dialog at the scales 1, 1.25 and 2 in build/screenshots, and
# an overview of all in build/screenshots/index.png. Installs missing packages and builds.
#
#   Scripts/screenshots.sh            # screenshots and overview
#   Scripts/screenshots.sh --golden   # updates the pictures that the tests compare with, and those
#                                     # in Docs/pictures
set -euo pipefail
cd "$(dirname "$0")/.."

# Free photographs for the thumbnails.
Scripts/install-packages.sh lomiri-wallpapers-16.04

photographs=/usr/share/backgrounds

source Scripts/build.sh
build release --target screenshots

# take SCALE ARGUMENT...: with the fonts, the screen and the language of the tests
take() {
    local scale=$1
    shift
    env -u QT_STYLE_OVERRIDE -u QT_QPA_PLATFORMTHEME QT_SCALE_FACTOR="$scale" \
        QT_QPA_PLATFORM="offscreen:configfile=$PWD/Tests/Look/screen.json" \
        FONTCONFIG_FILE="$PWD/Tests/Look/fonts.conf" LC_ALL=C.UTF-8 TZ=UTC \
        build/release/Tests/Look/screenshots --photographs "$photographs" "$@" \
        2> >(grep -vE '^(This plugin does not support|QStandardPaths: XDG_RUNTIME_DIR)' >&2)
}

if [ "${1:-}" = --golden ]; then
    mkdir -p Tests/Look/golden Docs/pictures
    rm -f Tests/Look/golden/*.png
    take 1 --golden Tests/Look/golden
    for scene in photographs-grid-large window-folders-list-medium transfer; do
        take 1 --only "^$scene\$" Docs/pictures
    done
    git status --short Tests/Look/golden Docs/pictures
    exit
fi

output=build/screenshots
rm -rf "$output"
for scale in 1 1.25 2; do
    mkdir -p "$output/$scale"
    take "$scale" "$output/$scale"
done
take 1 --sheet "$output"
echo "$output/index.png: $(ls "$output/1" | wc -l) scenes at three scales"
