#!/usr/bin/env bash
# SPDX-FileCopyrightText: The Brenvoka authors
# SPDX-License-Identifier: MIT
#
# Mutation tests: applies the faults of Scripts/mutations one at a time to a copy of the tree,
# rebuilds it and runs the tests that the table names. Prints a table. Exits with 0 only if every
# fault is caught, or is marked as unseen and is not caught.
#
#   Scripts/mutate.sh                      all faults
#   Scripts/mutate.sh Server UIController  the faults of these tables
#   Scripts/mutate.sh --jobs 2 --fault "hash" --list     see --help
set -euo pipefail
exec python3 -B "$(dirname "$0")/mutate.py" "$@"
