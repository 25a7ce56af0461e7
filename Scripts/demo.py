# SPDX-FileCopyrightText: The Brenvoka authors
# SPDX-License-Identifier: MIT

"""The main job on a virtual display: two servers are found, compared and made equal.

Usage: demo.py BUILD-DIRECTORY OUTPUT-DIRECTORY
"""

import pathlib
import shutil
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
sys.path.insert(0, str(ROOT / "Tests" / "EndToEnd"))

from stage.banks import FOLDERS, SLOTS, Bank            # noqa: E402
from stage.display import Display                       # noqa: E402
from stage.program import Program                       # noqa: E402
from stage.rehearsal import Rehearsal                   # noqa: E402
from stage.waiting import wait_for                      # noqa: E402


class Before:
    """What the two libraries say of themselves before the work, and what was ordered so far."""

    def __init__(self, source, destination):
        self._destination = destination
        self._orders = {kind: len(destination.commands(kind)) for kind in (1, 2, 5)}
        have, want = destination.slots(), source.slots()
        self.compared = len(set(have) | set(want))
        self.differing = sum(have.get(slot) != want.get(slot) for slot in set(have) | set(want))
        ours, theirs = source.folder_names(), destination.folder_names()
        self.renames = sum(ours[slot] != theirs.get(slot) for slot in ours)

    def orders_since(self, kind):
        return len(self._destination.commands(kind)) - self._orders[kind]


def compare_two_servers(program, rehearsal, pictures):
    """Chooses the two servers, opens a folder, goes back."""
    bank_a, bank_b = Bank(program, 0), Bank(program, 1)
    names = {server.name for server in rehearsal.servers}
    wait_for(lambda: set(bank_a.servers()) == names, "all servers to be listed", 60)
    found = len(bank_a.servers())
    bank_a.choose(rehearsal.left.name)
    bank_b.choose(rehearsal.right.name)
    bank_a.wait_for_rows(FOLDERS)
    bank_b.wait_for_rows(FOLDERS)
    assert program.out_of_sync(), "the out-of-sync sign is hidden although the libraries differ"
    pictures.take("1-folders-before")

    bank_a.open(1)
    bank_a.wait_for_rows(SLOTS)
    bank_b.wait_for_rows(SLOTS)
    pictures.take("2-inside-a-folder")
    bank_a.open(0)
    bank_a.wait_for_rows(FOLDERS)
    bank_b.wait_for_rows(FOLDERS)
    pictures.take("3-back-at-the-folders")
    return found


def make_equal(program, rehearsal, pictures):
    """Presses left-to-right with nothing selected and answers the warning."""
    program.button("from bank a to bank b").click()
    warning = program.wait_for_dialog("Visual synchronize")
    pictures.take("4-warning")
    program.press_button(warning, "Yes")
    program.wait_for_dialog("Ongoing Transfers")
    pictures.take("5-transfers")
    program.wait_until_no_dialog(120)
    for server in rehearsal.servers:
        server.wait_until_quiet()
    wait_for(lambda: not program.out_of_sync(), "the out-of-sync sign to go", 60)
    pictures.take("6-folders-after")


class Pictures:
    def __init__(self, folder):
        self.folder = folder

    def take(self, name):
        Display.screenshot(self.folder / f"{name}.png")


def main():
    build, output = (pathlib.Path(argument).resolve() for argument in sys.argv[1:3])
    shutil.rmtree(output, ignore_errors=True)
    output.mkdir(parents=True)
    pictures = Pictures(output)
    display = Display()
    rehearsal = Rehearsal(build / "media-server", output / "servers")
    program = None
    try:
        before = Before(rehearsal.left, rehearsal.right)
        program = Program(build / "brenvoka", output / "home", output / "program.txt")
        program.wait_for_window()
        found = compare_two_servers(program, rehearsal, pictures)
        make_equal(program, rehearsal, pictures)
        code = program.close_window()
        equal = rehearsal.left.files() == rehearsal.right.files() and code == 0
        copied, removed, renamed = (before.orders_since(kind) for kind in (1, 2, 5))
    except BaseException:
        pictures.take("at-the-failure")
        raise
    finally:
        if program:
            program.close()
        rehearsal.close()
        display.close()

    print(f"servers found:      {found}")
    print(f"visuals compared:   {before.compared}")
    print(f"visuals differing:  {before.differing}")
    print(f"visuals copied:     {copied}")
    print(f"visuals removed:    {removed}")
    print(f"folders renamed:    {renamed} (names that differed: {before.renames})")
    print(f"program's exit:     {code}")
    print(f"libraries equal: {'yes' if equal else 'no'}")
    print(f"screenshots: {output}")
    return 0 if equal else 1


if __name__ == "__main__":
    sys.exit(main())
