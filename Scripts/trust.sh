#!/usr/bin/env bash
# SPDX-FileCopyrightText: The Brenvoka authors
# SPDX-License-Identifier: MIT
#
# Runs the tests of reliability: hostile networks, faults, long shows. Installs missing packages,
# builds, runs each test at full size and prints a line with its figures, then runs the analysis
# tools of check-tools.sh. With --short it runs the tests at the size of ./test.sh, and no tools.
# Arguments select single tests, such as trust_DialogEvents, or Tools. All traffic is on loopback
# addresses. Exits with 0 only if all pass.
set -euo pipefail
cd "$(dirname "$0")/.."

size=full
export BRENVOKA_FUZZ_LIMIT=-runs=1000000
if [ "${1:-}" = --short ]; then
    size=short
    BRENVOKA_FUZZ_LIMIT=-max_total_time=20
    shift
fi

Scripts/install-packages.sh

build() {
    mkdir -p "build/$1"
    cmake --preset "$1" >"build/$1/configure.log" 2>&1 || {
        cat "build/$1/configure.log"
        exit 1
    }
    cmake --build --preset "$1" --parallel "$(nproc)"
}
source Scripts/compiler-cache.sh
build release
[ $# -gt 0 ] || build fuzz

failed=0
# run PRESET LABEL PATTERN [JOBS]: one test at a time by default, since some of them measure time
run() {
    local log=build/$1/trust.log
    BRENVOKA_TRUST=$size ctest --preset "$1" -L "$2" -R "$3" --parallel "${4:-1}" --verbose >"$log" 2>&1 || failed=1
    sed -n 's/^[0-9]*: \(trust: .*\)/\1/p' "$log"
    sed -n '/% tests passed/,$p' "$log"
}
tools() {
    Scripts/check-tools.sh | sed 's/^/trust: Tools: /' || failed=1
}
if [ $# -gt 0 ]; then
    for item in "$@"; do
        if [ "$item" = Tools ]; then tools; else run release trust "^$item\$"; fi
    done
else
    run release trust .
    run fuzz fuzz . "$(nproc)"
    cat build/fuzz/Tests/Fuzz/*.figures
    [ $size = short ] || tools
fi
exit $failed
