# SPDX-FileCopyrightText: The Brenvoka authors
# SPDX-License-Identifier: MIT

"""Ordinary ends at random moments: exit code 0, a complete log, settings written, soon gone."""

import os
import random
import shutil
import time
import unittest

from fixtures.case import BUILD, SANITIZED, EndToEndCase, loopback
from fixtures.display import close_by_window_manager
from fixtures.library import clips, lay_out
from fixtures.program import Program, press, write
from fixtures.trust import FULL, LOG_LINE, logs_below, report, size
from fixtures.waiting import wait_for

SEED = int(os.environ.get("BRENVOKA_SEED", "1"))
NO_WARNINGS, ALL_WARNINGS = 0, 0xFFFFFFFF
# Seconds. The short form shares the machine with other tests.
LONGEST_END = 1 if FULL and not SANITIZED else 10


class Exits(EndToEndCase):
    def setUp(self):
        super().setUp()
        self.home = self.folder / "home"
        self.settings = self.home / "config" / "Zorvik" / "Brenvoka" / "settings.ini"
        self.settings.parent.mkdir(parents=True)
        self.file = self.folder / "Clip.bin"
        self.file.write_bytes(bytes(400_000))
        slow = ("--announce-interval", "100", "--bandwidth", "200000", "--thumbnail-delay", "30")
        lay_out(self.folder / "Left", {(folder, slot): (f"Clip {slot}.bin", bytes(30_000 + slot))
                                       for folder in range(8) for slot in range(1, 41)})
        self.left = self.serve(loopback(2), "Left", *slow)
        self.right = self.serve(loopback(3), "Right", *slow, "--refuse", "1@2")

    def begin(self, warnings=NO_WARNINGS):
        self.settings.write_text(f"[General]\nwarningLevel={warnings}\n")
        shutil.rmtree(self.home / "cachethumbnails", ignore_errors=True)
        program = Program(BUILD / "brenvoka", self.home)
        self.addCleanup(program.close)
        return program

    @staticmethod
    def wait_for_log(program, text):
        wait_for(lambda: text in program.log_text(), f"{text!r} in the log", 60, 0.02)

    def wait_for_rows(self, program):
        """Waits until both banks are filled and the keyboard is in the list of bank A."""
        self.wait_for_log(program, "changed in bank A")
        self.wait_for_log(program, "changed in bank B")
        wait_for(lambda: (program.focus() or [None])[0] == "list item", "the focus on a row")


if __name__ == "__main__":
    unittest.main(verbosity=2)
