# SPDX-FileCopyrightText: The Brenvoka authors
# SPDX-License-Identifier: MIT

"""Runs the program with three rehearsal servers for the operator to try. Its settings, log and
caches are in the output directory and not in the operator's home directory.

Usage: play.py BUILD-DIRECTORY OUTPUT-DIRECTORY
"""

import contextlib
import os
import pathlib
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
sys.path.insert(0, str(ROOT / "Tests" / "EndToEnd"))

from fixtures.children import folders_below, start      # noqa: E402
from fixtures.machine import demonstrate                # noqa: E402
from fixtures.rehearsal import Rehearsal                # noqa: E402


def play(build, output):
    """Returns the exit code of the program."""
    with contextlib.closing(Rehearsal(build / "media-server", output / "servers")):
        print("Stage left and Stage right differ; Foyer is in another subnet.")
        with open(output / "program.txt", "wb") as output_file:
            program = start([build / "brenvoka"], stdout=output_file,
                            env={**os.environ, **folders_below(output / "home")})
        try:
            return program.wait()
        finally:
            program.terminate()


if __name__ == "__main__":
    sys.exit(demonstrate(play))
