# SPDX-FileCopyrightText: The Brenvoka authors
# SPDX-License-Identifier: MIT

"""The largest possible synchronisation: 256 folders of 255 visuals into an empty server."""

import time
import unittest

from fixtures.case import SANITIZED, EndToEndCase, loopback
from fixtures.waiting import wait_for

FOLDERS, VISUALS = 256, 255


def tail(path, size=4096):
    """The last bytes of a file."""
    with path.open("rb") as file:
        file.seek(max(0, path.stat().st_size - size))
        return file.read()


class LargestSync(EndToEndCase):
    def full_library(self, folder):
        """As many tiny files as a library can have, in the folders of the rehearsal server."""
        for number in range(FOLDERS):
            for slot in range(1, VISUALS + 1):
                place = folder / f"{number:03d}" / f"{slot:03d}"
                place.mkdir(parents=True)
                (place / "Clip.bin").write_bytes(b"%d %d" % (number, slot))

    def test_sync_of_65280_visuals(self):
        self.full_library(self.folder / "Full")
        source = self.serve(loopback(2), "Full")
        destination = self.serve(loopback(3), "Answering", "--answer-only",
                                 "--generate", "5", "--folders", "1", "--visuals", "1")
        self.assertEqual(len(source.slots()), FOLDERS * VISUALS)
        names = destination.folder_names()
        renames = sum(names.get(slot) != name for slot, name in source.folder_names().items())
        program = self.start_program()
        self.show(program, source, destination)
        before = program.memory_peak_megabytes()

        begin = time.monotonic()
        program.button("from bank a to bank b").click()
        warning = program.wait_for_dialog("Visual synchronize", 300)
        compared = time.monotonic()
        self.assertIn("synchronize 65280 visuals", " ".join(program.dialog_texts(warning)))
        program.press_button(warning, "Yes")
        # Reading only the end of the log does not slow the program down.
        last = f"folderIdx={FOLDERS - 1}&visualIdx={VISUALS}&".encode()
        wait_for(lambda: last in tail(destination.log),
                 "every visual to be ordered", 600, 0.5)
        ordered = time.monotonic()
        wait_for(program.is_idle, "the end of the synchronisation", 600, 0.2)
        end = time.monotonic()

        peak = program.memory_peak_megabytes()
        print(f"largest sync: comparison until the warning {compared - begin:.1f} s, "
              f"then until the last order {ordered - compared:.1f} s, "
              f"until the end {end - ordered:.1f} s, "
              f"peak memory {peak:.0f} MB ({before:.0f} MB before)")
        orders = destination.commands(1)
        self.assertEqual(len(set(orders)), FOLDERS * VISUALS)
        self.assertEqual(len(destination.commands(5)), renames)
        # The time is printed and not checked: it depends on the machine.
        if not SANITIZED:
            self.assertLess(peak, 150)
        self.end_program(program)


if __name__ == "__main__":
    unittest.main(verbosity=2)
