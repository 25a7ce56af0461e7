# SPDX-FileCopyrightText: The Brenvoka authors
# SPDX-License-Identifier: MIT

"""What a screen reader gets: the marks of the rows, the focus, and a name for every widget."""

import unittest

from fixtures.banks import SLOTS
from fixtures.case import EndToEndCase, loopback
from fixtures.library import clips, lay_out
from fixtures.focus import FocusLog
from fixtures.program import press
from fixtures.waiting import steady, wait_for

SAME, DIFFERS = "same on both servers", "differs"

# Containers and scroll bars.
STRUCTURE = {"filler", "panel", "layered pane", "menu bar", "popup menu", "scroll bar", "unknown"}


class Accessibility(EndToEndCase):
    def set_up(self):
        lay_out(self.folder / "Left", {**clips(0, (1, 2)), **clips(1, (1,))})
        lay_out(self.folder / "Right", {**clips(0, (1,)), **clips(1, (1,))})
        left = self.serve(loopback(2), "Left")
        right = self.serve(loopback(3), "Right")
        self.program = self.start_program()
        self.banks = self.show(self.program, left, right)

    @staticmethod
    @steady
    def descriptions(bank, *rows):
        return [bank.row(row).description for row in rows]

    def wait_for_descriptions(self, bank, *rows_and_texts):
        rows, texts = zip(*rows_and_texts)
        wait_for(lambda: self.descriptions(bank, *rows) == list(texts),
                 f"the descriptions {texts} of the rows {rows}")

    @staticmethod
    @steady
    def nameless(window):
        return [widget.role for widget in window.descendants()
                if not widget.name.strip() and widget.role not in STRUCTURE]

    def test_rows_describe_differences(self):
        self.set_up()
        for bank in self.banks:
            self.wait_for_descriptions(bank, (0, DIFFERS), (1, SAME), (255, SAME))
        self.banks[0].open(0)
        for bank in self.banks:
            bank.wait_for_rows(SLOTS)
            self.wait_for_descriptions(bank, (0, ""), (1, ""), (2, SAME), (3, DIFFERS), (4, SAME))
        self.banks[0].select(3)
        self.banks[0].remove()
        self.program.press_button(self.program.wait_for_dialog("Visual remove"), "Yes")
        self.wait_for_descriptions(self.banks[1], (3, SAME))
        self.end_program(self.program)

    def test_arrow_keys_report_the_new_row(self):
        self.set_up()
        focus = FocusLog(self.folder)
        self.addCleanup(focus.close)
        bank = self.banks[0]
        first, *others = bank.rows()
        bank.select(0)
        wait_for(lambda: bank.row(0).has_state("FOCUSED"), "the focus on the first row")
        press("Down")
        wait_for(lambda: focus.latest()[0] in others, "another row")
        self.assertEqual(focus.latest()[1], SAME)
        press("Up")
        wait_for(lambda: focus.latest() == (first, DIFFERS), "the first row again")
        self.end_program(self.program)

    def test_every_widget_has_a_name(self):
        self.set_up()
        self.assertEqual(self.nameless(self.program.main()), [])
        press("ctrl+p")
        preferences = self.program.wait_for_dialog("Preferences")
        self.assertEqual(self.nameless(preferences), [])
        self.program.press_button(preferences, "Cancel")
        self.program.wait_until_no_dialog()
        self.banks[1].open(0)
        self.banks[1].wait_for_rows(SLOTS)
        self.assertEqual(self.nameless(self.program.main()), [])
        self.banks[1].select(2)
        self.banks[1].remove()
        warning = self.program.wait_for_dialog("Visual remove")
        self.assertEqual(self.nameless(warning), [])
        self.program.press_button(warning, "No")
        self.program.wait_until_no_dialog()
        self.end_program(self.program)


if __name__ == "__main__":
    unittest.main(verbosity=2)
