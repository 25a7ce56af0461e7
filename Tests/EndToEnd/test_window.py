# SPDX-FileCopyrightText: The Brenvoka authors
# SPDX-License-Identifier: MIT

"""The window opens where it can be seen and reached, also on a small screen."""

import os
import re
import subprocess
import tempfile
import unittest
from unittest import mock

from fixtures.case import BUILD
from fixtures.display import Display
from fixtures.program import Program
from fixtures.waiting import wait_for

TITLE = "Zorvik Brenvoka"


def window_numbers(program):
    answer = subprocess.run(["xdotool", "search", "--onlyvisible", "--pid",
                             str(program.process.pid), "--name", TITLE],
                            capture_output=True, text=True, check=False)
    return answer.stdout.split()


def borders(window):
    """The borders of a window, as soon as the window manager has added them."""
    said = subprocess.run(["xprop", "-id", window, "_NET_FRAME_EXTENTS"], capture_output=True,
                          text=True, check=True).stdout
    return [int(number) for number in re.findall(r"\d+", said.partition("=")[2])]


def frame(window):
    """Left, top, right and bottom of a window with its borders."""
    left, right, top, bottom = wait_for(lambda: borders(window), "the border of the window")
    said = subprocess.run(["xwininfo", "-id", window], capture_output=True, text=True,
                          check=True).stdout
    place = [int(re.search(rf"{what}:\s+(-?\d+)", said).group(1))
             for what in ("Absolute upper-left X", "Absolute upper-left Y", "Width", "Height")]
    x, y, width, height = place
    return x - left, y - top, x + width + right, y + height + bottom


class Placing(unittest.TestCase):
    def place_on(self, width, height, scale):
        display = Display(f"{width}x{height}")
        self.addCleanup(display.close)
        with tempfile.TemporaryDirectory(prefix="brenvoka-e2e-") as home, \
                mock.patch.dict(os.environ, QT_SCALE_FACTOR=str(scale)):
            program = Program(BUILD / "brenvoka", home)
            try:
                wait_for(lambda: window_numbers(program), "the window on the display")
                return frame(window_numbers(program)[0])
            finally:
                program.close()

    def test_window_fits_on_a_large_screen(self):
        for size in ((1280, 720), (1366, 768)):
            with self.subTest(size=size):
                left, top, right, bottom = self.place_on(*size, 1)
                self.assertGreaterEqual(min(left, top), 0)
                self.assertLessEqual(right, size[0])
                self.assertLessEqual(bottom, size[1])
                self.assertGreaterEqual(right - left, 1163)

    def test_title_bar_is_reachable_on_a_small_screen(self):
        left, top, right, bottom = self.place_on(1366, 768, 1.25)
        self.assertEqual((left, top), (0, 0))
        self.assertGreater(bottom, 768)


if __name__ == "__main__":
    unittest.main()
