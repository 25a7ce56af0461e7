#!/usr/bin/env bash
# SPDX-FileCopyrightText: The Brenvoka authors
# SPDX-License-Identifier: MIT
#
# run.sh PROGRAM ARGUMENT...: runs a fuzzer for 20 seconds, or with the limit in the environment
# variable BRENVOKA_FUZZ_LIMIT ("-runs=1000000"), and prints a line with its figures.
set -uo pipefail
program=$1
name=$(basename "$program")
# Some fuzzers write files in each run, which is faster in memory.
[ ! -w /dev/shm ] || export TMPDIR=/dev/shm
limit=${BRENVOKA_FUZZ_LIMIT:--max_total_time=20}

start=$(date +%s)
"$@" "$limit" -print_final_stats=1 -artifact_prefix="$name." >"$name.log" 2>&1
status=$?
seconds=$(($(date +%s) - start))

runs=$(sed -n 's/^stat::number_of_executed_units: *//p' "$name.log")
memory=$(sed -n 's/^stat::peak_rss_mb: *//p' "$name.log")
edges=$(sed -n 's/^#.* cov: \([0-9]*\) .*/\1/p' "$name.log" | tail -1)
[ $status -eq 0 ] || tail -n 60 "$name.log"
echo "$name: ${runs:-no} runs, $seconds s, ${edges:-no} edges, ${memory:-?} MB, exit code $status" |
    tee "$name.figures"
exit $status
