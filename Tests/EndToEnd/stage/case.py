# SPDX-FileCopyrightText: The Brenvoka authors
# SPDX-License-Identifier: MIT

"""The common ground of the end-to-end tests: a display, a scratch folder, servers, the program."""

import atexit
import functools
import os
import pathlib
import shutil
import tempfile
import unittest

from .banks import FOLDERS, Bank
from .display import Display
from .program import Program
from .servers import MediaServer
from .waiting import wait_for

BUILD = pathlib.Path(os.environ.get("BRENVOKA_BUILD", "build/dev")).resolve()
SANITIZED = bool(os.environ.get("BRENVOKA_SANITIZED"))
NETWORK = os.environ.get("BRENVOKA_LOOPBACK", "127.1.1")


def loopback(number):
    """An address, 1 to 254, that only this test program has."""
    return f"{NETWORK}.{number}"


@functools.cache
def the_display():
    """The one display of this process."""
    display = Display()
    atexit.register(display.close)
    return display


class EndToEndCase(unittest.TestCase):
    """Everything that a test starts is ended after it, in the reverse order."""

    @classmethod
    def setUpClass(cls):
        cls.display = the_display()

    def setUp(self):
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="brenvoka-e2e-"))
        self.addCleanup(shutil.rmtree, self.folder, ignore_errors=True)

    def _keep_a_picture_of_a_failure(self):
        outcome = self._outcome
        if outcome.result and any(test is self for test, _ in
                                  outcome.result.failures + outcome.result.errors):
            self.keep_picture("failed")

    def keep_picture(self, name):
        self.display.screenshot(BUILD / "e2e" / f"{self.id().split('.')[-1]}-{name}.png")

    # -- actors

    def serve(self, address, name, *options):
        server = MediaServer(BUILD / "media-server", address, name, self.folder / name, *options)
        self.addCleanup(server.close)
        return server.wait_until_up()

    def start_program(self):
        program = Program(BUILD / "brenvoka", self.folder / "home")
        self.addCleanup(program.close)
        self.addCleanup(self._keep_a_picture_of_a_failure)
        program.wait_for_window()
        return program

    def show(self, program, left, right):
        """Waits until both are listed, and puts them side by side."""
        banks = Bank(program, 0), Bank(program, 1)
        names = {left.name, right.name}
        wait_for(lambda: names <= set(banks[0].servers()), f"{names} to be listed", 60)
        banks[0].choose(left.name)
        wait_for(lambda: banks[0].server() == left.name, f"{left.name} in bank A")
        banks[1].choose(right.name)
        wait_for(lambda: banks[1].server() == right.name, f"{right.name} in bank B")
        for bank in banks:
            bank.wait_for_rows(FOLDERS)
        return banks

    def end_program(self, program):
        """Closes the window, and holds that the program ended well."""
        self.assertEqual(program.close_window(), 0, program.output())
