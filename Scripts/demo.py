# SPDX-FileCopyrightText: The Brenvoka authors
# SPDX-License-Identifier: MIT

"""A demonstration on a virtual display: finds and compares two servers, moves a visual, removes two
visuals, uploads a picture, and makes the servers equal.

Usage: demo.py BUILD-DIRECTORY OUTPUT-DIRECTORY
"""

import contextlib
import pathlib
import shutil
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
sys.path.insert(0, str(ROOT / "Tests" / "EndToEnd"))

from fixtures.banks import FOLDERS, SLOTS, Bank         # noqa: E402
from fixtures.display import Display                    # noqa: E402
from fixtures.library import GREEN, picture             # noqa: E402
from fixtures.machine import demonstrate                # noqa: E402
from fixtures.program import Program, press             # noqa: E402
from fixtures.rehearsal import Rehearsal                # noqa: E402
from fixtures.waiting import wait_for                   # noqa: E402

FOLDER = 1         # the folder whose visuals are moved, removed and uploaded
FREE_SLOT = 12     # an empty slot of that folder, visible without scrolling
REMOVE, MOVE, RENAME, SYNC = 2, 3, 5, 1


class Before:
    """The libraries before the synchronisation, and the commands that were sent until then."""

    def __init__(self, source, destination):
        self._destination = destination
        self._sent = {kind: len(destination.commands(kind)) for kind in (SYNC, REMOVE, RENAME)}
        have, want = destination.slots(), source.slots()
        self.compared = len(set(have) | set(want))
        self.differing = sum(have.get(slot) != want.get(slot) for slot in set(have) | set(want))
        ours, theirs = source.folder_names(), destination.folder_names()
        self.renames = sum(ours[slot] != theirs.get(slot) for slot in ours)

    def commands_since(self, kind):
        return len(self._destination.commands(kind)) - self._sent[kind]


class Demonstration:
    """Each step saves a screenshot and prints a line."""

    def __init__(self, program, rehearsal, output):
        self.program = program
        self.rehearsal = rehearsal
        self.output = output
        self.pictures = 0
        self.banks = Bank(program, 0), Bank(program, 1)

    def show(self, name):
        self.pictures += 1
        Display.screenshot(self.output / f"{self.pictures:02d}-{name}.png")

    def wait_for_rows(self, count):
        for bank in self.banks:
            bank.wait_for_rows(count)

    def answer(self, title, name):
        warning = self.program.wait_for_dialog(title)
        self.show(name)
        self.program.press_button(warning, "Yes")

    def choose_two_servers(self):
        names = {server.name for server in self.rehearsal.servers}
        wait_for(lambda: set(self.banks[0].servers()) == names, "all servers to be listed", 60)
        print(f"servers found:      {len(self.banks[0].servers())}")
        self.banks[0].choose(self.rehearsal.left.name)
        self.banks[1].choose(self.rehearsal.right.name)
        self.wait_for_rows(FOLDERS)
        assert self.program.out_of_sync(), \
            "the out-of-sync sign is hidden although the libraries differ"
        self.show("folders-before")

    def change_the_left_server(self):
        """Moves, removes and uploads visuals on the left server, the source of the sync."""
        bank, left = self.banks[0], self.rehearsal.left
        bank.open(FOLDER)
        self.wait_for_rows(SLOTS)
        self.show("inside-a-folder")
        moved, *removed = sorted(slot for folder, slot in left.slots() if folder == FOLDER)[:3]
        self.move(bank, left, moved)
        self.remove(bank, left, removed)
        self.upload(bank, left, removed[0])
        bank.open(0)
        self.wait_for_rows(FOLDERS)
        self.show("back-at-the-folders")

    def move(self, bank, server, slot):
        name = server.slots()[FOLDER, slot][0]
        bank.drag(slot + 1, FREE_SLOT + 1)
        self.answer("Visual remove", "move-warning")
        wait_for(lambda: bank.rows()[FREE_SLOT + 1][3:] == name[3:], "the visual in its new row")
        self.show("moved")
        print(f'visual moved:       "{name}" to "{server.slots()[FOLDER, FREE_SLOT][0]}"')

    def remove(self, bank, server, slots):
        names = [server.slots()[FOLDER, slot][0] for slot in slots]
        bank.select(*(slot + 1 for slot in slots))
        bank.remove()
        self.answer("Visual remove", "remove-warning")
        wait_for(lambda: not set(names) & set(bank.rows()), "the visuals to be removed")
        self.show("removed")
        assert not any((FOLDER, slot) in server.slots() for slot in slots)
        print("visuals removed:    " + ", ".join(f'"{name}"' for name in names))

    def upload(self, bank, server, slot):
        path = self.output / "Meadow at noon.ppm"
        path.write_bytes(picture(GREEN))
        bank.select(slot + 1)
        bank.upload()
        self.program.fill_in_file(path)
        self.show("file-dialog")
        press("Return")
        wait_for(lambda: f"{slot:03d}: {path.stem}" in bank.rows(), "the row of the new visual")
        wait_for(lambda: Display.count_pixels(GREEN) > 500, "its picture")
        self.show("uploaded")
        print(f'visual uploaded:    "{server.slots()[FOLDER, slot][0]}"')

    def make_equal(self):
        """Clicks left-to-right with nothing selected and confirms the warning."""
        before = Before(self.rehearsal.left, self.rehearsal.right)
        self.program.button("from bank a to bank b").click()
        self.answer("Visual synchronize", "sync-warning")
        self.program.wait_for_dialog("Ongoing Transfers")
        self.show("transfers")
        self.program.wait_until_no_dialog(120)
        for server in self.rehearsal.servers:
            server.wait_until_quiet()
        wait_for(lambda: not self.program.out_of_sync(), "the out-of-sync sign to be hidden", 60)
        self.show("folders-after")
        print(f"visuals compared:   {before.compared}")
        print(f"visuals differing:  {before.differing}")
        print(f"visuals copied:     {before.commands_since(SYNC)}")
        print(f"visuals cleared:    {before.commands_since(REMOVE)}")
        print(f"folders renamed:    {before.commands_since(RENAME)} "
              f"(names that differed: {before.renames})")


def perform(build, output):
    """Runs all steps; returns 0 if the program exits with 0 and the libraries are equal."""
    shutil.rmtree(output, ignore_errors=True)
    output.mkdir(parents=True)
    with contextlib.ExitStack() as stage:
        display = Display()
        stage.callback(display.close)
        rehearsal = Rehearsal(build / "media-server", output / "servers")
        stage.callback(rehearsal.close)
        program = Program(build / "brenvoka", output / "home", output / "program.txt")
        stage.callback(program.close)
        demonstration = Demonstration(program, rehearsal, output)
        try:
            program.wait_for_window()
            demonstration.choose_two_servers()
            demonstration.change_the_left_server()
            demonstration.make_equal()
            code = program.close_window()
        except Exception:
            demonstration.show("at-the-failure")
            raise
        print(f"exit code:          {code}")
        equal = rehearsal.left.files() == rehearsal.right.files() and code == 0
    print(f"libraries equal: {'yes' if equal else 'no'}")
    print(f"screenshots: {output}")
    return 0 if equal else 1


if __name__ == "__main__":
    sys.exit(demonstrate(perform))
