#!/usr/bin/env bash
# SPDX-FileCopyrightText: The Brenvoka authors
# SPDX-License-Identifier: MIT
#
#   Packaging/debian-changelog.sh CHANGELOG.md VERSION MAINTAINER
#
# Prints a Debian changelog with the entries of CHANGELOG.md. Unreleased changes become an entry of
# the version that is built, with the time SOURCE_DATE_EPOCH.
set -euo pipefail
page=$1 version=$2 maintainer=$3

# rfc_date ARGUMENT: as date -R, but without the language of the caller
rfc_date() {
    LC_ALL=C date -u -d "$1" '+%a, %d %b %Y %H:%M:%S +0000'
}

# bullet TEXT: without the markup of links, and wrapped
bullet() {
    sed -E 's/\[([^]]*)\]\([^)]*\)/\1/g' <<<"$1" | fold -s -w 74 |
        sed -e '1s/^/  * /' -e '2,$s/^/    /' -e 's/ *$//'
}

signature=
end_entry() {
    [ -z "$signature" ] || printf '\n -- %s  %s\n\n' "$maintainer" "$signature"
}

while IFS= read -r line; do
    case $line in
        '## Unreleased')
            echo "brenvoka ($version) UNRELEASED; urgency=medium"
            signature=$(rfc_date "@${SOURCE_DATE_EPOCH:-$(date +%s)}")
            ;;
        '## '*)
            end_entry
            read -r _ number _ day <<<"$line"
            echo "brenvoka ($number) unstable; urgency=medium"
            signature=$(rfc_date "$day 12:00 UTC")
            ;;
        '### '*) [ -z "$signature" ] || printf '\n  [ %s ]\n' "${line#\#\#\# }" ;;
        '- '*) bullet "${line#- }" ;;
        '' | '# '*) ;;
        *) [ -z "$signature" ] || { echo && bullet "$line"; } ;;
    esac
done <"$page"
end_entry
