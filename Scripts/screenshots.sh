#!/usr/bin/env bash
# SPDX-FileCopyrightText: The Brenvoka authors
# SPDX-License-Identifier: MIT
#
# Takes pictures of every window and dialog at the scales 1, 1.25 and 2 into build/screenshots, with
# all of them on one sheet, build/screenshots/index.png. Installs and builds what is missing.
#
#   Scripts/screenshots.sh            # pictures and sheet
#   Scripts/screenshots.sh --golden   # renews the pictures that the tests compare with
set -euo pipefail
cd "$(dirname "$0")/.."

# Free photographs for the thumbnails.
Scripts/install-packages.sh lomiri-wallpapers-16.04

photographs=/usr/share/backgrounds

launcher=()
if command -v ccache >/dev/null; then
    launcher=(-DCMAKE_CXX_COMPILER_LAUNCHER=ccache)
    export CCACHE_BASEDIR=$PWD
fi
[ -f build/release/build.ninja ] || cmake --preset release "${launcher[@]}" >/dev/null
cmake --build --preset release --target screenshots

# take SCALE ARGUMENT...: the fonts, the resolution and the language are those of the tests
take() {
    local scale=$1
    shift
    env -u QT_STYLE_OVERRIDE -u QT_QPA_PLATFORMTHEME QT_QPA_PLATFORM="offscreen:configfile=$PWD/Tests/Look/screen.json" \
        QT_SCALE_FACTOR="$scale" QT_LOGGING_RULES='qt.qpa.*=false' LC_ALL=C.UTF-8 TZ=UTC \
        FONTCONFIG_FILE="$PWD/Tests/Look/fonts.conf" build/release/Tests/Look/screenshots "$@" \
        2> >(grep -vE '^(This plugin does not support|QStandardPaths: XDG_RUNTIME_DIR)' >&2)
}

if [ "${1:-}" = --golden ]; then
    rm -f Tests/Look/golden/*.png
    mkdir -p Tests/Look/golden
    take 1 --golden Tests/Look/golden
    du -sh Tests/Look/golden
    exit
fi

output=build/screenshots
rm -rf "$output"
for scale in 1 1.25 2; do
    mkdir -p "$output/$scale"
    take "$scale" --photographs "$photographs" "$output/$scale"
done
take 1 --photographs "$photographs" --sheet "$output"
echo "$output/index.png: $(ls "$output/1" | wc -l) scenes at three scales"
