#!/usr/bin/env bash
# SPDX-FileCopyrightText: The Brenvoka authors
# SPDX-License-Identifier: MIT

# Renders the drawings of Bin/bitmap/drawings to the PNG files that Resources.qrc names.
# Needs rsvg-convert (Debian: librsvg2-bin). The PNG files are committed, so that a build needs
# neither this script nor the tool.

set -euo pipefail
cd "$(dirname "$0")/../Bin/bitmap"

# Pictures that are shown as icons come in double density too; those that others are painted on,
# or that are painted themselves, in single density only.
double_density='^(back|grid.*|image.*|leftToRight|list.*|remove|rightToLeft|upload)$'

for drawing in drawings/*.svg; do
    name=$(basename "$drawing" .svg)
    folder=icons
    [[ $name == zorvikLogo ]] && folder=bitmaps
    rsvg-convert "$drawing" --output "$folder/$name.png"
    if [[ $name =~ $double_density ]]; then
        rsvg-convert --zoom 2 "$drawing" --output "$folder/$name@2x.png"
    fi
done
