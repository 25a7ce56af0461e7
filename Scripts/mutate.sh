#!/usr/bin/env bash
# SPDX-FileCopyrightText: The Brenvoka authors
# SPDX-License-Identifier: MIT
#
# Do the tests bite? Plants the faults of Scripts/mutations one at a time into a copy of the tree,
# rebuilds what must be rebuilt and runs the tests of that file. Prints a table; the exit code is 0
# only if every fault was caught or says itself why it cannot be seen.
#
#   Scripts/mutate.sh                      all faults
#   Scripts/mutate.sh Server UIController  those of these tables
#   Scripts/mutate.sh --jobs 2 --fault "hash" --list     see --help
set -euo pipefail
exec python3 -B "$(dirname "$0")/mutate.py" "$@"
