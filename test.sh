#!/usr/bin/env bash
# SPDX-FileCopyrightText: The Brenvoka authors
# SPDX-License-Identifier: MIT
#
# Installs what is missing, builds the program optimised and again with the address and
# undefined-behaviour sanitizers (warnings are errors), runs every test on both, runs each fuzzer for
# 20 seconds, and checks the style. Ends with the closing lines of the test runs; the exit code is 0
# only if all passed.
set -euo pipefail
cd "$(dirname "$0")"

Scripts/install-packages.sh

source Scripts/build.sh
jobs=$(nproc)
failed=0
summaries=()

for preset in release asan fuzz; do
    echo "== $preset: build"
    build "$preset"
    echo "== $preset: test"
    log=build/$preset/tests.log
    # Most tests wait for sockets and not for the processor, so more run at once than it has cores.
    case $preset in
        release) parallel=$((jobs * 3)) ;;
        asan) parallel=$((jobs * 2)) ;;
        fuzz) parallel=$jobs ;;
    esac
    ctest --preset "$preset" --parallel "$parallel" 2>&1 | tee "$log" || failed=1
    summaries+=("== $preset" "$(sed -n '/% tests passed/,$p' "$log")")
done
summaries+=("$(cat build/fuzz/Tests/Fuzz/*.figures)")

echo "== style"
Scripts/check-style.sh || failed=1

printf '%s\n' "${summaries[@]}"
exit $failed
