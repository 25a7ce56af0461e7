# SPDX-FileCopyrightText: The Brenvoka authors
# SPDX-License-Identifier: MIT

"""Compares the instructions of the pure parts with those in instruction-counts.txt.

    test_instruction_counts.py PROGRAM VERSIONS [--write]

PROGRAM is pure-parts, VERSIONS names the compiler and Qt. Counts of other versions cannot be
compared: the test is skipped. With --write it stores the counts instead.
"""

import os
import pathlib
import re
import subprocess
import sys

COUNTS = pathlib.Path(__file__).with_name("instruction-counts.txt")
TOLERANCE = 0.02
SKIPPED = 77
# Without a seed each run would order the entries of a hash differently. The two libraries choose
# other functions on other processors, and a copy by one repeated instruction counts each byte.
SAME_EVERYWHERE = {"QT_HASH_SEED": "0", "QT_NO_CPU_FEATURE": "aes avx avx2",
                   "GLIBC_TUNABLES": "glibc.cpu.hwcaps=-AVX,-AVX2,-ERMS,-FSRM"}


def count(program, part):
    """How many instructions the part needs."""
    command = ["valgrind", "--tool=callgrind", "--callgrind-out-file=/dev/null",
               "--toggle-collect=measured*", program, part]
    result = subprocess.run(command, env=os.environ | SAME_EVERYWHERE, check=True,
                            capture_output=True, text=True)
    return int(re.search(r"Collected : (\d+)", result.stderr).group(1))


def read():
    """The versions of the file, and its counts by part."""
    versions, *lines = COUNTS.read_text().splitlines()
    return versions, {part: int(number) for part, number in (line.split() for line in lines)}


def main(program, versions, *options):
    if "--write" not in options and read()[0] != versions:
        print(f"The counts are those of {read()[0]}, this is {versions}")
        return SKIPPED
    parts = subprocess.run([program], check=True, capture_output=True, text=True).stdout.split()
    counts = {part: count(program, part) for part in parts}
    if "--write" in options:
        lines = [versions, *(f"{part} {number}" for part, number in counts.items())]
        COUNTS.write_text("\n".join(lines) + "\n")
        return 0
    expected = read()[1]
    failed = counts.keys() != expected.keys()
    for part, number in counts.items():
        change = number / expected.get(part, number) - 1
        print(f"{part}: {number} instructions, {change:+.2%}")
        # A part that has become faster must be written, too: the next change is compared with it.
        failed = failed or abs(change) > TOLERANCE
    if failed:
        print(f"Outside {TOLERANCE:.0%}. If that is intended, run this test with --write.")
    return int(failed)


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
