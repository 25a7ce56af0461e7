# SPDX-FileCopyrightText: The Brenvoka authors
# SPDX-License-Identifier: MIT

"""Ordinary ends at random moments: exit code 0, complete log and settings, soon gone."""

import collections
import itertools
import random
import shutil
import subprocess
import time
import unittest

from fixtures.banks import SLOTS, Bank
from fixtures.case import BUILD, SANITIZED, EndToEndCase, loopback
from fixtures.library import lay_out
from fixtures.program import Program, press
from fixtures.servers import MediaServer
from fixtures.trust import FULL, LOG_LINE, logs_below, report, size
from fixtures.waiting import wait_for

SEED = 1
ALL_WARNINGS = 0xFFFFFFFF
# Seconds. In the short form other tests run at the same time.
LONGEST_END = 1 if FULL and not SANITIZED else 10


class Exits(EndToEndCase):
    def setUp(self):
        super().setUp()
        self.home = self.folder / "home"
        self.settings = self.home / "config" / "Zorvik" / "Brenvoka" / "settings.ini"
        self.settings.parent.mkdir(parents=True)
        self.clip = self.folder / "Clip.bin"
        self.clip.write_bytes(bytes(20_000_000))
        for number, name in enumerate(("Left", "Right")):
            lay_out(self.folder / "drawn" / name,
                    {(folder, slot): (f"Clip {slot}.bin", bytes(20_000 + 999 * slot + number))
                     for folder in (0, 1) for slot in range(1, 21)})

    # -- one run

    def begin(self, warnings=0):
        """New servers, since a synchronisation of the last run may still be running on the old."""
        shutil.rmtree(self.home / "cache", ignore_errors=True)
        self.settings.write_text(f"[General]\nwarningLevel={warnings}\n")
        self.servers = []
        for number, name in enumerate(("Left", "Right")):
            library = shutil.copytree(self.folder / "drawn" / name, self.folder / name)
            self.servers.append(MediaServer(
                BUILD / "media-server", loopback(2 + number), name, library,
                "--announce-interval", "50", "--bandwidth", "20000", "--refuse", "1@2",
                "--thumbnail-delay", "200"))
            self.addCleanup(self.servers[-1].close)
        self.program = Program(BUILD / "brenvoka", self.home)
        self.addCleanup(self.program.close)
        for server in self.servers:
            server.wait_until_up()
        self.program.wait_for_keyboard()
        self.window, = self.program.windows()

    def wait_for_lists(self):
        wait_for(Bank(self.program, 1).server, "a server in bank B")
        wait_for(lambda: self.program.focus() == ("list", "Library of bank A"), "the focus")

    def wait_for_dialog(self):
        wait_for(lambda: self.program.windows() - {self.window}, "a dialog", 30, 0.01)

    # -- what the program does when it is ended

    def libraries(self):
        self.begin()

    def thumbnails(self):
        self.begin()
        self.wait_for_lists()
        press("Return")
        wait_for(self.thumbnail_requests, "the first request", 30, 0.02)

    def upload(self):
        self.begin()
        self.wait_for_lists()
        press("Return")
        for bank in (0, 1):
            Bank(self.program, bank).wait_for_rows(SLOTS)
        press("Right", "Right", "Right", "Insert")
        self.program.fill_in_file(self.clip)
        press("Return")
        self.program.wait_for_dialog("Uploading...")

    def sync(self):
        self.begin()
        self.wait_for_lists()
        self.program.button("from bank a to bank b").click()
        self.program.wait_for_dialog("Ongoing Transfers")

    def preferences(self):
        self.begin()
        press("ctrl+p")
        self.wait_for_dialog()

    def warning(self):
        self.begin(ALL_WARNINGS)
        self.wait_for_lists()
        press("Delete")
        self.wait_for_dialog()

    def error(self):
        self.begin()
        self.wait_for_lists()
        press("space", "Delete")
        self.program.wait_for_dialog("Error")

    # -- the end

    def end(self, by_button):
        """As an operator in a hurry. A modal dialog may receive the keys or block the window; then
        it is closed and the window as well. Returns the seconds of the end."""
        if self.program.windows() != {self.window}:
            self.display.press_close_button(self.window)
            press("ctrl+q", "Escape")
        while True:
            wait_for(self.is_ready_to_end, "the end of the dialogs", 60, 0.02)
            began = time.monotonic()
            if self.program.process.poll() is None:
                self.display.press_close_button(self.window) if by_button else press("ctrl+q")
            try:
                code = self.program.process.wait(LONGEST_END)
            except subprocess.TimeoutExpired:
                # A message that appears at the same moment receives the keys.
                self.assertTrue(self.program.windows() - {self.window}, "it does not end")
                continue
            self.assertEqual(code, 0, self.program.output())
            return time.monotonic() - began

    def is_ready_to_end(self):
        if self.program.process.poll() is not None or self.program.has_keyboard():
            return True
        press("Escape")
        return False

    def check(self):
        # Otherwise only reports of sanitizers and warnings of Qt are written there.
        self.assertEqual([line for line in self.program.output().splitlines()
                          if not line.startswith("Received discovery message")], [])
        self.assertRegex(self.settings.read_text(), r"^\[General\]\nselectedIconSize=1\n"
                         r"selectedViewMode=false\nwarningLevel=\d+\n$")
        for lines in logs_below(self.home):
            self.assertEqual(lines.pop(), "", "the last line is cut")
            for line in lines:
                self.assertRegex(line, LOG_LINE)
        # A request is logged before it is sent.
        self.assertLessEqual(self.thumbnail_requests(),
                             self.program.log_text().count("Downloading thumbnail from"))

    def thumbnail_requests(self):
        return sum("/thumbnails/" in line for server in self.servers for line in server.requests())

    def test_ordinary_ends(self):
        ways = itertools.cycle((self.libraries, self.thumbnails, self.upload, self.sync,
                                self.preferences, self.warning, self.error))
        numbers = random.Random(SEED)
        times = collections.defaultdict(list)
        for number, way in zip(range(size(7, 500)), ways):
            moment, by_button = numbers.random(), numbers.random() < 0.5
            try:
                way()
                time.sleep(moment)
                times[way.__name__].append(self.end(by_button))
                self.check()
            except BaseException:
                print(f"seed {SEED}, end {number}: during {way.__name__} at {moment}, "
                      f"by {'the button' if by_button else 'the keys'}")
                raise
            self.program.close()
            for server in self.servers:
                server.discard()
        longest = ", ".join(f"{name} {max(values):.2f}" for name, values in times.items())
        report(f"Exits{' with the sanitizers' if SANITIZED else ''}",
               f"{sum(map(len, times.values()))} ordinary ends, seed {SEED}: exit code 0, "
               f"log and settings complete; longest end in seconds: {longest}")


if __name__ == "__main__":
    unittest.main(verbosity=2)
