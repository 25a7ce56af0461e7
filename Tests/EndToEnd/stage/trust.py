# SPDX-FileCopyrightText: The Brenvoka authors
# SPDX-License-Identifier: MIT

"""The sizes and the report of the tests in Tests/Trust."""

import os

FULL = os.environ.get("BRENVOKA_TRUST") == "full"


def size(in_short, in_full):
    """The first of two sizes in the short form, the second at full size."""
    return in_full if FULL else in_short


def report(item, figures):
    """Prints the item's line with the measured figures."""
    print(f"trust: {item}: {figures}", flush=True)
