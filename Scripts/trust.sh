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
source Scripts/build.sh
build release
if [ $# -eq 0 ]; then
    build fuzz
    build asan --target brenvoka media-server
fi

failed=0
# run NAME PRESET CTEST-OPTION...: prints the figures at the end; the output is in NAME.log
run() {
    local log=build/$2/$1.log preset=$2 status=0
    shift 2
    BRENVOKA_TRUST=$size ctest --preset "$preset" "$@" --verbose >"$log" 2>&1 || status=1
    sed -n 's/^[0-9]*:.* \(trust: .*\)/\1/p' "$log"
    sed -n '/% tests passed/,$p' "$log"
    return $status
}
tools() {
    Scripts/check-tools.sh | sed 's/^/trust: Tools: /'
}
if [ $# -gt 0 ]; then
    for item in "$@"; do
        if [ "$item" = Tools ]; then tools; else run "$item" release -R "^$item\$"; fi || failed=1
    done
else
    # One test at a time, since some of them measure time. Two of them mostly wait for the program,
    # so one of these with the sanitizers, the fuzzers and the tools run beside them.
    waiting='^trust_(Deaths|Exits)$'
    run trust release -L trust -E "$waiting" || failed=1
    run sanitized asan -R '^trust_Exits$' &
    sanitized=$!
    (
        renice -n 10 -p $BASHPID >/dev/null
        run fuzz fuzz --parallel "$(nproc)" || failed=1
        cat build/fuzz/Tests/Fuzz/*.figures
        [ $size = short ] || tools || failed=1
        exit $failed
    ) &
    beside=$!
    run waiting release -R "$waiting" || failed=1
    wait $sanitized || failed=1
    wait $beside || failed=1
fi
exit $failed
