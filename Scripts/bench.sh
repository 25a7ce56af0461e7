#!/usr/bin/env bash
# SPDX-FileCopyrightText: The Brenvoka authors
# SPDX-License-Identifier: MIT
#
# Measures the program against baselines: installs missing packages, builds, runs the benchmarks one
# after the other and prints one table. Arguments select single programs, such as tst_LibraryBenchmark.
# Docs/performance.md explains the rows. Exits with 0 only if no row is worse than "good", no cost per
# unit grows by more than 10 % from a quarter of the size to the full size, and no benchmark fails.
set -euo pipefail
cd "$(dirname "$0")/.."

Scripts/install-packages.sh
source Scripts/build.sh
build release --target benchmarks

pattern=$(IFS='|' && echo "$*")
log=build/release/bench.log
failed=0
ctest --test-dir build/release -L bench -R "^(${pattern:-.*})\$" --verbose >"$log" 2>&1 || failed=1

sed -n 's/.* bench: //p' "$log" | awk -F ' [|] ' '
    BEGIN {
        print "| What | Baseline | Figures | Ratio | Good | Goal | Growth per unit | |"
        print "| --- | --- | --- | --- | --- | --- | --- | --- |"
    }
    {
        verdict = $4 > $5 ? "WORSE THAN GOOD" : $4 > $6 ? "good" : "goal"
        bad += $4 > $5
        reached += $4 <= $6
        if ($7 + 0 > 10) {
            verdict = verdict ", GROWS"
            growing++
        }
        print "| " $1 " | " $2 " | " $3 " | " $4 " | " $5 " | " $6 " | " $7 " | " verdict " |"
    }
    END {
        printf "\n%d rows: %d at \"goal\", %d worse than \"good\", %d grow\n", NR, reached, bad, growing
        exit NR == 0 || bad + growing > 0
    }' || failed=1
if [ $failed -ne 0 ]; then
    grep -E '^[0-9]+: (FAIL!|QFATAL)|\*\*\*' "$log" || true
fi
exit $failed
