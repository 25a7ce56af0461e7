# SPDX-FileCopyrightText: The Brenvoka authors
# SPDX-License-Identifier: MIT

"""The work without a mouse: looking into a folder, and making one server equal to the other."""

import unittest

from fixtures.banks import FOLDERS, SLOTS, Bank
from fixtures.case import EndToEndCase, loopback
from fixtures.library import clips, lay_out
from fixtures.program import press
from fixtures.waiting import wait_for

LIST = ("list", "Library of bank A")
TRANSFER = ("push button", "Transfer from bank A to bank B")


class Keyboard(EndToEndCase):
    def set_up(self):
        lay_out(self.folder / "Left", {**clips(0, (1, 2)), **clips(1, (1, 200))})
        lay_out(self.folder / "Right", {**clips(0, (1,)), **clips(1, (7,))})
        self.left = self.serve(loopback(2), "Left")
        self.program = self.start_program()
        self.banks = Bank(self.program, 0), Bank(self.program, 1)
        wait_for(lambda: self.banks[0].server() == "Left", "Left in bank A", 60)
        self.right = self.serve(loopback(3), "Right")
        wait_for(lambda: self.banks[1].server() == "Right", "Right in bank B", 60)

    def wait_for_focus(self, place):
        wait_for(lambda: self.program.focus() == place, f"the focus on {place}")

    def wait_for_level(self, rows):
        for bank in self.banks:
            bank.wait_for_rows(rows)

    def tab_to(self, place):
        """Presses Tab until the focus is there, and each time waits until it has moved."""
        for _ in range(15):
            here = self.program.focus()
            if here == place:
                return
            press("Tab")
            wait_for(lambda: self.program.focus() not in (here, None), f"Tab to leave {here}")
        self.fail(f"Tab does not reach {place}")

    def test_open_a_folder_and_sync(self):
        self.set_up()
        self.wait_for_level(FOLDERS)
        self.wait_for_focus(LIST)
        press("Right")
        press("Return")
        self.wait_for_level(SLOTS)
        self.wait_for_focus(LIST)
        self.assertIn("200: Clip 200", self.banks[0].rows())
        self.keep_picture("folder")
        press("KP_Enter")
        self.wait_for_level(FOLDERS)
        self.wait_for_focus(LIST)
        press("Return")
        self.wait_for_level(SLOTS)
        press("alt+Left")
        self.wait_for_level(FOLDERS)
        self.wait_for_focus(LIST)

        before = self.left.files()
        self.assertNotEqual(self.right.files(), before)
        self.tab_to(TRANSFER)
        self.keep_picture("transfer")
        press("space")
        self.program.wait_for_dialog("Visual synchronize")
        self.wait_for_focus(("push button", "No"))
        self.tab_to(("push button", "Yes"))
        self.keep_picture("warning")
        press("Return")
        wait_for(lambda: self.right.document() == self.left.document(), "equal libraries", 60)
        self.program.wait_until_no_dialog()
        self.assertEqual(self.left.files(), before, "the source was changed")
        self.assertEqual(self.right.files(), before)
        wait_for(lambda: not self.program.out_of_sync(), "the out-of-sync sign to go")
        self.wait_for_focus(TRANSFER)
        self.end_program(self.program)

    def test_open_and_leave_the_menu(self):
        self.set_up()
        self.wait_for_focus(LIST)
        press("F10")
        press("Down")
        press("Return")
        self.program.wait_for_dialog("Preferences")
        self.wait_for_focus(("check box", "Warn before move operations"))
        press("Escape")
        self.program.wait_until_no_dialog()
        self.wait_for_focus(LIST)
        press("alt")
        press("Right")
        press("Down")
        press("Return")
        self.program.wait_for_dialog("About Zorvik Brenvoka 1.0.3")
        self.wait_for_focus(("push button", "OK"))
        press("Return")
        self.program.wait_until_no_dialog()
        self.wait_for_focus(LIST)
        self.end_program(self.program)


if __name__ == "__main__":
    unittest.main(verbosity=2)
