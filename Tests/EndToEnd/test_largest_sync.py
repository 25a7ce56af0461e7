# SPDX-FileCopyrightText: The Brenvoka authors
# SPDX-License-Identifier: MIT

"""The largest synchronisation that there can be: 256 folders of 255 visuals into an empty server."""

import time
import unittest

from stage.case import SANITIZED, EndToEndCase
from stage.waiting import wait_for

FOLDERS, VISUALS = 256, 255


class LargestSync(EndToEndCase):
    def full_library(self, folder):
        """As many tiny files as a library can hold, laid out as the rehearsal server keeps them."""
        for number in range(FOLDERS):
            for slot in range(1, VISUALS + 1):
                place = folder / f"{number:03d}" / f"{slot:03d}"
                place.mkdir(parents=True)
                (place / "Clip.bin").write_bytes(b"%d %d" % (number, slot))

    def test_65280_visuals_against_a_server_that_only_answers(self):
        self.full_library(self.folder / "Full")
        source = self.serve("127.70.2.2", "Full")
        destination = self.serve("127.70.2.3", "Answering", "--answer-only",
                                 "--generate", "5", "--folders", "1", "--visuals", "1")
        self.assertEqual(len(source.slots()), FOLDERS * VISUALS)
        program = self.start_program()
        self.show(program, source, destination)
        before = program.memory_peak_megabytes()

        begin = time.monotonic()
        program.button("from bank a to bank b").click()
        warning = program.wait_for_dialog("Visual synchronize", 300)
        compared = time.monotonic()
        self.assertIn("synchronize 65280 visuals", " ".join(program.dialog_texts(warning)))
        program.press_button(warning, "Yes")
        wait_for(lambda: len(destination.commands(1)) == FOLDERS * VISUALS,
                 "every visual to be ordered", 600, 0.5)
        wait_for(lambda: program.is_idle(), "the end of the synchronisation", 600, 0.2)
        end = time.monotonic()

        orders = destination.commands(1)
        self.assertEqual(len(set(orders)), FOLDERS * VISUALS)
        self.assertEqual(len(destination.commands(5)), FOLDERS - 1)
        peak = program.memory_peak_megabytes()
        print(f"largest sync: comparison until the warning {compared - begin:.1f} s, "
              f"from the answer to the end {end - compared:.1f} s, "
              f"peak memory {peak:.0f} MB ({before:.0f} MB before)")
        if not SANITIZED:
            self.assertLess(peak, 150)
            self.assertLess(end - begin, 30)
        self.end_program(program)


if __name__ == "__main__":
    unittest.main(verbosity=2)
