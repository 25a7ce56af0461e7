# SPDX-FileCopyrightText: The Brenvoka authors
# SPDX-License-Identifier: MIT

"""Thumbnails that arrive slowly or never."""

import unittest

from fixtures.banks import FOLDERS, SLOTS
from fixtures.case import EndToEndCase, loopback
from fixtures.library import CYAN, MAGENTA, clips, lay_out, picture
from fixtures.waiting import wait_for


class Thumbnails(EndToEndCase):
    def set_up(self, left, right, left_options=(), right_options=()):
        lay_out(self.folder / "Left", left)
        lay_out(self.folder / "Right", right)
        self.left = self.serve(loopback(2), "Left", *left_options)
        self.right = self.serve(loopback(3), "Right", *right_options)
        self.program = self.start_program()
        self.banks = self.show(self.program, self.left, self.right)

    @staticmethod
    def asked(server, thumbnail):
        return sum(f"/thumbnails/{thumbnail}.png" in line for line in server.requests())

    def test_cancel_slow_thumbnails(self):
        self.set_up({**clips(0, range(1, 61)), (1, 1): ("One.ppm", picture(MAGENTA))},
                   {(1, 1): ("Two.ppm", picture(CYAN))},
                   ("--thumbnail-delay", "1000", "--thumbnail-delay", "0@1/1"))
        left, right = self.banks
        left.open(0)
        downloading = self.program.wait_for_dialog("Downloading")
        self.assertFalse(left.list.enabled)
        bar = downloading.find("progress bar")
        wait_for(lambda: bar.percent > 0, "the first thumbnails")
        self.keep_picture("downloading")
        self.program.press_button(downloading, "Cancel")
        self.program.wait_until_no_dialog()
        for bank in self.banks:
            wait_for(lambda: bank.list.enabled, "the banks")
        self.keep_picture("cancelled")
        # The rows of the folder never appeared; its "Back" is where the first row is.
        left.open(0)
        for bank in self.banks:
            bank.wait_for_rows(FOLDERS)
        left.open(1)
        for bank in self.banks:
            bank.wait_for_rows(SLOTS)
        wait_for(lambda: self.display.count_pixels(MAGENTA) > 500, "the picture of another folder")
        self.end_program(self.program)

    def test_failure_of_the_last_thumbnail_disables_the_panel(self):
        self.set_up({(0, 1): ("One.ppm", picture(MAGENTA))},
                   {**clips(0, (1, 2, 3)), (1, 1): ("Two.ppm", picture(CYAN))},
                   right_options=("--fail-thumbnail", "0/3", "--thumbnail-delay", "700@0/3"))
        self.serve(loopback(4), "Spare", "--generate", "3", "--folders", "1", "--visuals", "1")
        left, right = self.banks
        wait_for(lambda: "Spare" in left.servers(), "the third server")
        left.open(0)
        left.wait_for_rows(SLOTS)
        self.wait_for_failures(1)
        self.assertFalse(right.list.enabled)
        self.assertEqual(len(right.rows()), FOLDERS)
        self.keep_picture("disabled")
        # Another choice in bank B loads again, and the same thumbnail fails.
        left.choose("Spare")
        self.wait_for_failures(2)
        self.assertEqual(self.asked(self.right, "0/1"), 1)
        self.assertFalse(right.list.enabled)
        # Once the server itself is chosen on the other side, the panel is free for another, which
        # goes to the shown folder.
        left.choose("Right")
        wait_for(lambda: right.list.enabled, "the panel without its server")
        self.assertEqual(right.rows(), [])
        right.choose("Left")
        right.wait_for_rows(SLOTS)
        right.open(0)
        right.wait_for_rows(FOLDERS)
        right.open(1)
        for bank in self.banks:
            bank.wait_for_rows(SLOTS)
        self.keep_picture("enabled")
        self.end_program(self.program)

    def wait_for_failures(self, count):
        wait_for(lambda: self.program.log_text().count("Error while getting thumbnail") == count,
                 f"{count} failures in the log")


if __name__ == "__main__":
    unittest.main(verbosity=2)
