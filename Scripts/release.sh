#!/usr/bin/env bash
# SPDX-FileCopyrightText: The Brenvoka authors
# SPDX-License-Identifier: MIT
#
#   Scripts/release.sh              makes the Debian packages and the source archive of the current
#                                   commit, and their checksums, in build/dist
#   Scripts/release.sh --reproduce  makes the packages twice, in two folders and with different
#                                   settings of the user, and compares their bytes
#   Scripts/release.sh --trial      accepts unreleased changes in CHANGELOG.md; with --reproduce or
#                                   without
#
# Everything is built from the source archive, so the archive is complete. The tree must be clean and
# the newest version of CHANGELOG.md must be that of CMakeLists.txt.
set -euo pipefail
cd "$(dirname "$0")/.."

fail() {
    echo "release: $1" >&2
    exit 1
}

reproduce=false
trial=false
for argument in "$@"; do
    case $argument in
        --reproduce) reproduce=true ;;
        --trial) trial=true ;;
        *)
            echo "usage: $0 [--reproduce] [--trial]" >&2
            exit 2
            ;;
    esac
done

[ -z "$(git status --porcelain)" ] || fail 'the tree is not clean'
version=$(sed -n 's/^project(Brenvoka VERSION \([0-9.]*\).*/\1/p' CMakeLists.txt)
case $(grep -m 1 '^## ' CHANGELOG.md) in
    "## $version - "????-??-??) ;;
    '## Unreleased') $trial || fail "CHANGELOG.md has unreleased changes; version $version needs a date" ;;
    *) fail "the newest version of CHANGELOG.md is not $version" ;;
esac
SOURCE_DATE_EPOCH=$(git log -1 --format=%ct)
export SOURCE_DATE_EPOCH CCACHE_DISABLE=1

Scripts/install-packages.sh
output=$PWD/build/dist
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
rm -rf "$output"
mkdir -p "$output"
name=brenvoka-$version
git archive --prefix="$name/" HEAD | gzip --best --no-name >"$output/$name.tar.gz"

# build FOLDER: makes the packages in FOLDER/packages
build() {
    mkdir -p "$1"
    tar -C "$1" -xzf "$output/$name.tar.gz"
    cd "$1/$name"
    cmake --preset release -DBRENVOKA_TESTS=OFF >"$1/configure.log" || fail "see $1/configure.log"
    cmake --build --preset release
    cpack --preset release -B "$1/packages"
}

(build "$work/first")
if $reproduce; then
    (
        umask 027
        export TZ=Pacific/Auckland LC_ALL=C
        build "$work/another-folder"
    )
    for package in "$work"/first/packages/*.*deb; do
        cmp "$package" "$work/another-folder/packages/$(basename "$package")"
        echo "same bytes: $(basename "$package")"
    done
fi
for package in "$work"/first/packages/*.*deb; do
    # CPack names the packages of symbols .ddeb; apt accepts only .deb.
    file=$(basename "$package")
    cp "$package" "$output/${file%.*}.deb"
done
cd "$output"
sha256sum -- *.deb *.tar.gz >SHA256SUMS
cat SHA256SUMS
