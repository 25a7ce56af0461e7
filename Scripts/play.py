# SPDX-FileCopyrightText: The Brenvoka authors
# SPDX-License-Identifier: MIT

"""Opens the program on three rehearsal servers and leaves the rest to the operator.

Usage: play.py BUILD-DIRECTORY OUTPUT-DIRECTORY
"""

import pathlib
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
sys.path.insert(0, str(ROOT / "Tests" / "EndToEnd"))

from stage.rehearsal import Rehearsal                   # noqa: E402


def main():
    build, output = (pathlib.Path(argument).resolve() for argument in sys.argv[1:3])
    rehearsal = Rehearsal(build / "media-server", output / "servers")
    try:
        print("Stage left and Stage right differ; Foyer stands in another subnet. Have a look.")
        return subprocess.run([str(build / "brenvoka")], check=False).returncode
    finally:
        rehearsal.close()


if __name__ == "__main__":
    sys.exit(main())
