#!/usr/bin/env bash
# SPDX-FileCopyrightText: The Brenvoka authors
# SPDX-License-Identifier: MIT
#
#   Scripts/render-pictures.sh            renders the drawings of Bin/bitmap/drawings to PNG files,
#                                         and the program's icon in the sizes that desktops use
#   Scripts/render-pictures.sh --check    reports PNG files that differ from their drawings, drawings
#                                         and PNG files without their counterparts, and differences
#                                         between the files and the list in Resources.qrc
#
# The PNG files are committed, so a build needs neither this script nor its tools: rsvg-convert and
# ImageMagick (Debian: librsvg2-bin, imagemagick).
set -euo pipefail
cd "$(dirname "$0")/../Bin/bitmap"

# Icons and pictures of the style sheet, for which Qt selects the @2x file. The program paints the
# other pictures, or paints on them, pixel by pixel.
double_density='^(back|combobox-arrows|grid.*|image.*|leftToRight|list.*|remove|rightToLeft|unsynced|upload|zorvikLogo)$'
desktop_sizes='16 22 24 32 48 64 128 256'
# Renderers may round the colours of edges differently; this is not visible.
tolerance=2%

# render SCALE DRAWING PNG: writes 8-bit RGBA without dates and other metadata.
render() {
    rsvg-convert "$1" "$2" |
        convert png:- -strip -define png:compression-level=9 -define png:exclude-chunks=all "PNG32:$3"
}

# render_all FOLDER: renders every drawing into FOLDER/icons and FOLDER/bitmaps, and FOLDER/hicolor.
render_all() {
    local drawing name png size
    for drawing in drawings/*.svg; do
        name=$(basename "$drawing" .svg)
        png=$1/icons/$name
        [[ $name == zorvikLogo ]] && png=$1/bitmaps/$name
        render --zoom=1 "$drawing" "$png.png"
        [[ ! $name =~ $double_density ]] || render --zoom=2 "$drawing" "$png@2x.png"
    done
    for size in $desktop_sizes; do
        mkdir -p "$1/hicolor/${size}x$size/apps"
        render --width="$size" drawings/Brenvoka.svg "$1/hicolor/${size}x$size/apps/brenvoka.png"
    done
}

# pictures FOLDER SUBFOLDER...
pictures() {
    (cd "$1" && find "${@:2}" -name '*.png' | LC_ALL=C sort)
}

all_pictures() {
    pictures "$1" icons bitmaps hicolor
}

named_pictures() {
    sed -n 's,.*<file[^>]*>Bin/bitmap/\(.*\.png\)</file>.*,\1,p' ../../Resources.qrc | LC_ALL=C sort
}

# same_picture FIRST SECOND: same size, and all pixels equal within the tolerance.
same_picture() {
    cmp -s "$1" "$2" && return
    [[ $(identify -format %wx%h "$1") == $(identify -format %wx%h "$2") ]] &&
        compare -metric AE -fuzz "$tolerance" "$1" "$2" null: 2>/dev/null
}

check() {
    local rendered png failed=0
    rendered=$(mktemp -d)
    trap 'rm -rf "$rendered"' RETURN
    mkdir "$rendered/icons" "$rendered/bitmaps"
    render_all "$rendered"

    diff <(all_pictures "$rendered") <(all_pictures .) >"$rendered/files" || {
        sed -n 's/^< /Not rendered: /p; s/^> /Without a drawing: /p' "$rendered/files"
        failed=1
    }
    diff <(pictures . icons bitmaps) <(named_pictures) >"$rendered/names" || {
        sed -n 's/^< /Not in Resources.qrc: /p; s/^> /In Resources.qrc only: /p' "$rendered/names"
        failed=1
    }
    for png in $(comm -12 <(all_pictures "$rendered") <(all_pictures .)); do
        same_picture "$rendered/$png" "$png" || {
            echo "Differs from its drawing: $png"
            failed=1
        }
    done
    return $failed
}

case ${1:-} in
    '') render_all . ;;
    --check) check ;;
    *)
        echo "usage: $0 [--check]" >&2
        exit 2
        ;;
esac
