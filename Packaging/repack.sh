#!/usr/bin/env bash
# SPDX-FileCopyrightText: The Brenvoka authors
# SPDX-License-Identifier: MIT
#
#   Packaging/repack.sh PACKAGE
#
# Packs a package of CPack again with dpkg-deb, which takes the times of its files from
# SOURCE_DATE_EPOCH: the same commit always gives the same bytes. Adds what CPack cannot: the
# overrides of lintian, and in a package of symbols the documentation and right checksums.
set -euo pipefail
package=$(realpath "$1")
folder=$(realpath "$(dirname "$0")")
name=$(dpkg-deb --field "$package" Package)
tree=$package.tree

rm -rf "$tree"
dpkg-deb --raw-extract "$package" "$tree"
cd "$tree"
level=6
if [[ $name == *-dbgsym ]]; then
    mkdir -p usr/share/doc
    ln -s "${name%-dbgsym}" "usr/share/doc/$name"
    sed -i '/^Package-Type:/d' DEBIAN/control
    find usr/lib/debug -name '*.debug' -exec chmod a-x {} +
    level=1 # faster; few people need the package
else
    objcopy --remove-section=.comment usr/bin/*
    mkdir -p usr/share/lintian/overrides
    sed "s/@PACKAGE@/$name/" "$folder/lintian-overrides.in" >"usr/share/lintian/overrides/$name"
fi
find usr -type f -print0 | LC_ALL=C sort -z | xargs -0 md5sum >DEBIAN/md5sums
# Whatever the umask of the caller is.
chmod -R u=rwX,go=rX .
rm "$package"
dpkg-deb --root-owner-group -Zxz "-z$level" --build . "$package" >/dev/null
rm -rf "$tree"
